// Name lookup table and its worker thread; see Resolver.h.
#include "net/Resolver.h"

#include <strings.h>

#include "platform/Socket.h"

namespace lh::net {

Resolver::Resolver() : Resolver(LookupFunction(platform::lookupHostName)) {}

Resolver::Resolver(LookupFunction function) : shared(std::make_shared<Shared>()) {
    shared->lookupFunction = std::move(function);
}

Resolver::~Resolver() {
    {
        std::lock_guard<std::mutex> lock(shared->quitLock);
        shared->quitting.store(true);
    }
    if (!worker.joinable()) return;
    // A worker that is done is collected; one still inside a lookup is left
    // to finish by itself, so that quitting never waits on the network.
    if (shared->stopped.load(std::memory_order_acquire)) {
        worker.join();
    } else {
        worker.detach();
    }
}

Resolver::Answer Resolver::lookup(const std::string& fullName, uint32_t& address) {
    if (platform::parseIpv4(fullName, address)) return Answer::Known;
    std::string name = fullName.substr(0, 255);  // as the table keeps it
    // The stamp only orders uses; it is the "time of last use" of the table.
    uint64_t now = ++useClock;
    for (Entry& e : shared->entries) {
        int state = e.state.load(std::memory_order_acquire);
        if (state == Free || strcasecmp(e.name.c_str(), name.c_str()) != 0) continue;
        e.lastUsed = now;
        if (state == Pending) {
            ensureWorker();
            return Answer::Pending;
        }
        if (e.failed) return Answer::Failed;
        address = e.address;
        return Answer::Known;
    }
    // A free entry, else the finished one used longest ago. Pending entries
    // belong to the worker and are never taken.
    Entry* slot = nullptr;
    for (Entry& e : shared->entries) {
        int state = e.state.load(std::memory_order_acquire);
        if (state == Free) {
            slot = &e;
            break;
        }
        if (state == Done && (!slot || e.lastUsed < slot->lastUsed)) slot = &e;
    }
    if (!slot) return Answer::Failed;
    slot->name = name;
    slot->address = 0;
    slot->failed = false;
    slot->lastUsed = now;
    slot->state.store(Pending, std::memory_order_release);
    ensureWorker();
    return Answer::Pending;
}

void Resolver::ensureWorker() {
    if (worker.joinable()) {
        if (!shared->stopped.load(std::memory_order_acquire)) return;
        worker.join();
    }
    shared->stopped.store(false, std::memory_order_relaxed);
    worker = std::thread([s = shared] { workerPass(s); });
}

void Resolver::workerPass(const std::shared_ptr<Shared>& s) {
    for (Entry& e : s->entries) {
        if (s->quitting.load(std::memory_order_relaxed)) break;
        if (e.state.load(std::memory_order_acquire) != Pending) continue;
        uint32_t address = 0;
        e.failed = !s->lookupFunction(e.name, address);
        e.address = address;
        e.state.store(Done, std::memory_order_release);
        std::lock_guard<std::mutex> lock(s->quitLock);
        if (!s->quitting.load(std::memory_order_relaxed) && s->onDone) s->onDone();
    }
    s->stopped.store(true, std::memory_order_release);
}

}  // namespace lh::net
