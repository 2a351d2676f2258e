// Round trip of a small message between two processes on loopback, with
// the real program as host: it runs headless, hosting a Campaign, and this
// process is a client speaking the session protocol. The figure is what a
// player's machine sees: the host's main loop, its waits and its drawing
// are all in it, which the one-process benchmark beside this leaves out.
//
// The message is a login with a wrong password: the host decodes it, checks
// it and answers with a refusal of a few bytes, and the client may ask
// again, so every round trip meets the same work and leaves no state behind.
// Median and 99th percentile in microseconds.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "net/LoginMessages.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Socket.h"

using namespace lh::net;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kStartLimit = std::chrono::seconds(60);  // start-up on a loaded machine
constexpr int kAnswerLimitMs = 10000;

void waitOn(Session& s, int timeoutMs) {
    std::vector<lh::platform::WatchedFd> fds;
    s.collectWatchedFds(fds);
    lh::platform::waitForSockets(fds, timeoutMs);
}

// A loopback port that nothing listens on at the moment of asking.
uint16_t freePort() {
    Session probe;
    probe.openListener(0, 0x7F000001);
    return probe.listenPort();
}

// The program hosting a Campaign headless in a working directory of its own,
// its output kept in a log there. Ended by SIGTERM, through its exit path.
class HostProgram {
public:
    HostProgram(uint16_t port) {
        work = std::filesystem::temp_directory_path() / ("lorehaven-rtt-bench-" + std::to_string(getpid()));
        std::filesystem::create_directories(work);
        std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
        std::string log = (work / "host.log").string();
        std::string portToken = "p" + std::to_string(port);
        pid = fork();
        if (pid == 0) {
            int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (fd >= 0) dup2(fd, 1), dup2(fd, 2);
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            setenv("LOREHAVEN_CONFIG_DIR", work.c_str(), 1);
            execl(program.c_str(), program.c_str(), "--workdir", work.c_str(), "--host", "--campaign", "Bench",
                  "--gm", "GM", "--password", "open sesame", portToken.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~HostProgram() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            int status = 0;
            waitpid(pid, &status, 0);
        }
        std::error_code ignored;
        std::filesystem::remove_all(work, ignored);
    }
    bool running() const { return pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0; }

private:
    pid_t pid = -1;
    std::filesystem::path work;
};

class Client {
public:
    // Connects, trying again while the program starts up; false when it
    // never answered.
    bool connect(const HostProgram& host, uint16_t port) {
        auto deadline = Clock::now() + kStartLimit;
        while (Clock::now() < deadline && host.running()) {
            session = std::make_unique<Session>();
            session->setHandler(tags::CONNR, [this](SessionPeer*, const NetMessage&) {
                answered = true;
                return HandlerResult::Handled;
            });
            session->connectToHost("127.0.0.1", port);
            if (roundTrip() >= 0.0) return true;
            // Refused: not listening yet. Ask again shortly.
            std::vector<lh::platform::WatchedFd> none;
            lh::platform::waitForSockets(none, 50);
        }
        return false;
    }

    // Sends the login and waits for the refusal; microseconds, or -1 when
    // the host went away or did not answer in time.
    double roundTrip() {
        auto start = Clock::now();
        answered = false;
        session->sendToHost(encodeConnectRequest({"bench", "not the password"}));
        session->poll();
        auto limit = start + std::chrono::milliseconds(kAnswerLimitMs);
        while (!answered && !session->hostLost() && Clock::now() < limit) {
            waitOn(*session, 30);
            session->poll();
        }
        if (!answered) return -1.0;
        return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }

private:
    std::unique_ptr<Session> session;
    bool answered = false;
};

void BM_SmallRoundTripToTheProgram(benchmark::State& state) {
    uint16_t port = freePort();
    HostProgram host(port);
    Client client;
    if (!client.connect(host, port)) {
        state.SkipWithError("the program did not start hosting");
        for (auto _ : state) {
        }
        return;
    }
    std::vector<double> samples;
    samples.reserve(state.max_iterations);
    for (auto _ : state) {
        double us = client.roundTrip();
        if (us < 0.0) {
            state.SkipWithError("the program stopped answering");
            break;
        }
        samples.push_back(us);
    }
    if (samples.empty()) return;
    std::sort(samples.begin(), samples.end());
    auto at = [&](double q) { return samples[std::min(samples.size() - 1, size_t(q * double(samples.size())))]; };
    state.counters["p50_us"] = at(0.50);
    state.counters["p99_us"] = at(0.99);
    state.counters["max_us"] = samples.back();
}
BENCHMARK(BM_SmallRoundTripToTheProgram)->Iterations(2000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
