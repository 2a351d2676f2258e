// Looks host names up on a worker thread of its own, so that connecting by
// name never blocks the main thread. A table of 64 names is shared with the
// worker without a lock: the state of an entry is published last.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace lh::net {

class Resolver {
public:
    static constexpr int kEntries = 64;
    // A blocking lookup, run on the worker thread: true with the address.
    using LookupFunction = std::function<bool(const std::string& name, uint32_t& address)>;

    Resolver();  // uses the system's name lookup
    explicit Resolver(LookupFunction lookupFunction);
    ~Resolver();
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;

    enum class Answer { Known = 0, Pending = 1, Failed = 2 };
    // Main thread only. A dotted address is answered at once.
    Answer lookup(const std::string& name, uint32_t& address);

    // Runs on the worker thread after each finished name, e.g. to wake the
    // main loop; never once the destructor has returned. Set it before the
    // first lookup.
    void setOnDone(std::function<void()> callback) { shared->onDone = std::move(callback); }

private:
    enum EntryState : int { Free, Pending, Done };
    struct Entry {
        std::atomic<int> state{Free};  // written last by whoever fills the entry
        uint64_t lastUsed = 0;         // main thread only
        std::string name;
        uint32_t address = 0;
        bool failed = false;
    };
    // What the worker touches. A system lookup can hang for a long time and
    // cannot be interrupted, so a resolver that goes away while one runs
    // leaves the worker behind with this, and the worker ends on its own.
    struct Shared {
        LookupFunction lookupFunction;
        std::function<void()> onDone;
        std::array<Entry, kEntries> entries;
        std::atomic<bool> stopped{true};
        std::mutex quitLock;  // held while onDone runs and while quitting is set
        std::atomic<bool> quitting{false};
    };

    void ensureWorker();
    static void workerPass(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> shared;
    uint64_t useClock = 0;
    std::thread worker;
};

}  // namespace lh::net
