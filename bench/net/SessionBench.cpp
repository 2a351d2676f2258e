// Session speed on loopback, host and client each on a thread of its own
// and each waiting on its sockets as the main loop does:
//  - round trip of a small chat line client -> host -> client (the host's
//    relay), p50 and p99;
//  - throughput of 1 MiB bodies host -> client, while chat lines still make
//    the round trip beside them.
// ProgramRoundTripBench.cpp measures a round trip between two processes,
// with the program itself as host.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"
#include "platform/Socket.h"

using namespace lh::net;
using Clock = std::chrono::steady_clock;

namespace {

constexpr size_t kBigBody = 1u << 20;
// The host keeps at most this much in flight to the client, as a file
// sender reads ahead only while the connection drains.
constexpr size_t kInFlight = 256u << 10;

void waitOn(Session& s, int timeoutMs) {
    std::vector<lh::platform::WatchedFd> fds;
    s.collectWatchedFds(fds);
    lh::platform::waitForSockets(fds, timeoutMs);
}

class HostThread {
public:
    HostThread() {
        host.openListener(0, 0x7F000001);
        host.setHandler(tags::CONNQ, [](SessionPeer* from, const NetMessage& m) {
            MessageReader r(m);
            r.skip(20);
            from->name = r.text(255);
            return r.ok() ? HandlerResult::Handled : HandlerResult::Rejected;
        });
        host.setHandler(tags::CHATQ, [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; });
        big.body.assign(kBigBody, 0x5A);
        thread = std::thread([this] { run(); });
    }
    ~HostThread() {
        stop = true;
        thread.join();
    }
    uint16_t port() const { return host.listenPort(); }
    std::atomic<bool> streaming{false};

private:
    void run() {
        while (!stop) {
            if (streaming) {
                for (auto& peer : host.users()) {
                    while (!peer->name.empty() && host.pendingBytes(*peer) < kInFlight) host.sendTo(big, *peer);
                }
            }
            waitOn(host, 30);
            host.poll();
        }
    }

    Session host;
    NetMessage big{tags::DATAR};
    std::atomic<bool> stop{false};
    std::thread thread;
};

struct Client {
    Session session;
    bool echoed = false;
    size_t bigBytes = 0;

    explicit Client(uint16_t port) {
        session.setHandler(tags::CHATR, [this](SessionPeer*, const NetMessage&) {
            echoed = true;
            return HandlerResult::Handled;
        });
        session.setHandler(tags::DATAR, [this](SessionPeer*, const NetMessage& m) {
            bigBytes += m.body.size();
            return HandlerResult::Handled;
        });
        session.connectToHost("127.0.0.1", port);
        NetMessage login(tags::CONNQ);
        login.body.assign(20, 0);
        MessageWriter(login).text("bench").text("");
        session.sendToHost(login);
    }
    // Sends a chat line and waits for its relay; microseconds.
    double roundTrip() {
        NetMessage chat(tags::CHATQ);
        MessageWriter(chat).u32(0).text("ping");
        auto start = Clock::now();
        echoed = false;
        session.sendToHost(chat);
        session.poll();
        while (!echoed && !session.hostLost()) {
            waitOn(session, 30);
            session.poll();
        }
        return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }
};

void reportPercentiles(benchmark::State& state, std::vector<double> samples, const char* prefix) {
    if (samples.empty()) return;
    std::sort(samples.begin(), samples.end());
    auto at = [&](double q) { return samples[std::min(samples.size() - 1, size_t(q * double(samples.size())))]; };
    state.counters[std::string(prefix) + "p50_us"] = at(0.50);
    state.counters[std::string(prefix) + "p99_us"] = at(0.99);
    state.counters[std::string(prefix) + "max_us"] = samples.back();
}

void BM_SmallRoundTrip(benchmark::State& state) {
    HostThread host;
    Client client(host.port());
    client.roundTrip();  // connect and log in first
    std::vector<double> samples;
    for (auto _ : state) samples.push_back(client.roundTrip());
    reportPercentiles(state, samples, "");
}
BENCHMARK(BM_SmallRoundTrip)->Iterations(5000)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_BigBodiesWithChat(benchmark::State& state) {
    HostThread host;
    Client client(host.port());
    client.roundTrip();
    host.streaming = true;
    std::vector<double> samples;
    size_t total = 0;
    for (auto _ : state) {
        // 64 MiB per iteration, with a chat line every 4 MiB received.
        size_t goal = client.bigBytes + (64u << 20);
        size_t nextChat = client.bigBytes;
        while (client.bigBytes < goal && !client.session.hostLost()) {
            if (client.bigBytes >= nextChat) {
                samples.push_back(client.roundTrip());
                nextChat = client.bigBytes + (4u << 20);
            }
            waitOn(client.session, 30);
            client.session.poll();
        }
        total += 64u << 20;
    }
    host.streaming = false;
    state.SetBytesProcessed(int64_t(total));
    reportPercentiles(state, samples, "chat_");
}
BENCHMARK(BM_BigBodiesWithChat)->Iterations(16)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
