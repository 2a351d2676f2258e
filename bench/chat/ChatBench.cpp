// The chat between real processes on loopback, through the program as host.
//
// Latency: a player's line, from the moment its CHATQ leaves his machine to
// the moment another player's program has put it on its screen (the frame
// that shows it presented). Lines go either back to back, each as soon as
// the one before is shown, or a pause apart as people type, so that each
// finds the programs idle rather than still drawing the line before. The
// host and that other player are the real program, headless; the sender is
// this process speaking the session protocol with the bytes a player's
// Return sends. The other player's trace runs into a pipe that this process
// reads, so the moment of "chat drawn" is seen as it is written. Median and
// 99th percentile in microseconds over 1000 lines, after 20 that are not
// counted (the programs' first frames of a new line build the software
// rasteriser's shaders for it and settle the join), both onto the screen and
// into the other player's chat (its trace line on adding it, before the
// frame), with the CPU each line costs the host and the other player.
//
// The floor under both: one byte from this process through two others and
// back, each passing it on as it wakes, over Unix sockets with nothing else
// done. A line makes the same trip (player, host, other player, and its
// trace back here), so what the machine takes to wake three processes from
// idle is a part of every line that no program of ours can cut.
//
// Load: 16 players (sessions in this process) send 20 lines a second each
// for 30 s. Every player must receive every line, each sender's in the order
// sent; lines lost or out of order are counted, and the host's CPU over the
// run is reported as a share of one core.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "chat/ChatWire.h"
#include "net/ClientLogin.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Socket.h"

using namespace lh;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kStartLimitMs = 120000;  // start-up and join on a loaded machine
constexpr int kLineLimitMs = 10000;
constexpr int kWarmUpLines = 20;

uint16_t freePort() {
    net::Session probe;
    probe.openListener(0, 0x7F000001);
    return probe.listenPort();
}

// A folder of its own for each program and for this process's clients.
std::filesystem::path benchFolder(const std::string& name) {
    auto path = std::filesystem::temp_directory_path() /
                ("lorehaven-chat-bench-" + std::to_string(getpid())) / name;
    std::filesystem::create_directories(path);
    return path;
}

// Median, 99th percentile and maximum of samples in microseconds, as
// counters whose names start with `prefix`.
void putPercentiles(benchmark::State& state, std::vector<double> samples, const std::string& prefix) {
    if (samples.empty()) return;
    std::sort(samples.begin(), samples.end());
    auto at = [&](double q) { return samples[std::min(samples.size() - 1, size_t(q * double(samples.size())))]; };
    state.counters[prefix + "p50_us"] = at(0.50);
    state.counters[prefix + "p99_us"] = at(0.99);
    state.counters[prefix + "max_us"] = samples.back();
}

// The program, headless, its output kept in a log in its folder; ended by
// SIGTERM through its exit path.
class Program {
public:
    Program(const std::filesystem::path& work, std::vector<std::string> args, const std::string& trace = {}) {
        std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
        std::string log = (work / "program.log").string();
        args.insert(args.begin(), {program, "--workdir", work.string()});
        pid = fork();
        if (pid == 0) {
            int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (fd >= 0) dup2(fd, 1), dup2(fd, 2);
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            setenv("LOREHAVEN_CONFIG_DIR", work.c_str(), 1);
            if (!trace.empty()) setenv("LOREHAVEN_TRACE", trace.c_str(), 1);
            std::vector<char*> argv;
            for (std::string& a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(program.c_str(), argv.data());
            _exit(127);
        }
    }
    ~Program() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            int status = 0;
            waitpid(pid, &status, 0);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool running() const { return pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0; }
    pid_t id() const { return pid; }

private:
    pid_t pid = -1;
};

// Time on a CPU of every thread of a process, in seconds (the scheduler's
// own count).
double cpuSeconds(pid_t pid) {
    double total = 0;
    std::error_code ec;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", ec)) {
        std::ifstream in(task.path() / "schedstat");
        unsigned long long ns = 0;
        if (in >> ns) total += double(ns) / 1e9;
    }
    return total;
}

// A trace written into a pipe, read line by line as it comes. This side
// holds a writer of its own too, so the pipe never reads as ended while the
// program starts or between its writes.
class TracePipe {
public:
    explicit TracePipe(const std::filesystem::path& path) : path(path.string()) {
        mkfifo(this->path.c_str(), 0600);
        reader = open(this->path.c_str(), O_RDONLY | O_NONBLOCK);
        keeper = open(this->path.c_str(), O_WRONLY | O_NONBLOCK);
    }
    ~TracePipe() {
        if (keeper >= 0) close(keeper);
        if (reader >= 0) close(reader);
    }
    TracePipe(const TracePipe&) = delete;
    TracePipe& operator=(const TracePipe&) = delete;

    // Waits until a line holding `text` comes; false after `limitMs`.
    bool awaitLine(const std::string& text, int limitMs) {
        const auto until = Clock::now() + std::chrono::milliseconds(limitMs);
        for (;;) {
            for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
                if (keep) seen.append(pending, 0, end + 1);
                bool found = pending.compare(0, end, text) == 0 || pending.substr(0, end).find(text) != std::string::npos;
                pending.erase(0, end + 1);
                if (found) return true;
            }
            const int left = int(std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count());
            if (left <= 0) return false;
            pollfd p{reader, POLLIN, 0};
            if (poll(&p, 1, left) <= 0) continue;
            char buffer[4096];
            ssize_t got = read(reader, buffer, sizeof buffer);
            if (got > 0) pending.append(buffer, size_t(got));
        }
    }

    std::string path;
    // With LOREHAVEN_BENCH_KEEP set, every line read, for a look afterwards.
    bool keep = std::getenv("LOREHAVEN_BENCH_KEEP") != nullptr;
    std::string seen;

private:
    int reader = -1, keeper = -1;
    std::string pending;
};

// A player speaking the session protocol from this process.
class Player {
public:
    bool join(uint16_t port, const std::string& user) {
        net::ClientLoginHooks hooks;
        hooks.wait = [this](int timeoutMs) {
            std::vector<platform::WatchedFd> fds;
            session->collectWatchedFds(fds);
            platform::waitForSockets(fds, timeoutMs);
            return true;
        };
        hooks.askPassword = [](std::string&) { return false; };
        return net::connectToHost(*session, "127.0.0.1", port, user, "", hooks) == net::kLoggedIn;
    }

    // Joins, trying again while the program starts up.
    bool joinWhileStarting(const Program& host, uint16_t port, const std::string& user) {
        const auto until = Clock::now() + std::chrono::milliseconds(kStartLimitMs);
        while (host.running() && Clock::now() < until) {
            if (join(port, user)) return true;
            session = std::make_unique<net::Session>();
            std::vector<platform::WatchedFd> none;
            platform::waitForSockets(none, 100);
        }
        return false;
    }

    // What Return sends for plain speech under an Identity.
    void say(const std::string& speaker, const std::string& text) {
        chat::ChatMessage line;
        line.speaker = speaker;
        line.font = "chatfont";
        line.text = text;
        session->sendToHost(chat::encodeChat(net::tags::CHATQ, line));
    }

    std::unique_ptr<net::Session> session = std::make_unique<net::Session>();
};

void BM_LineFromPlayerToAnothersScreen(benchmark::State& state) {
    const uint16_t port = freePort();
    const std::string portToken = "p" + std::to_string(port);
    const bool keep = std::getenv("LOREHAVEN_BENCH_KEEP") != nullptr;
    Program host(benchFolder("host"), {"--host", "--campaign", "Bench", "--gm", "GM", portToken},
                 keep ? (benchFolder("host") / "trace.txt").string() : std::string());
    // The sender joins first: that waits out the host's start-up, which the
    // other player's program would not.
    std::filesystem::current_path(benchFolder("ann"));
    Player ann;
    if (!ann.joinWhileStarting(host, port, "ann")) {
        state.SkipWithError("the sending player did not join");
        return;
    }
    TracePipe trace(benchFolder("bea") / "trace.pipe");
    Program bea(benchFolder("bea"), {"--join", "127.0.0.1", "--user", "bea", portToken, "--identity", "Bea"},
                trace.path);
    if (!trace.awaitLine("received IDENR", kStartLimitMs)) {
        state.SkipWithError("the other player did not join");
        return;
    }
    // Two moments of each line: in the other player's chat (the network
    // and both event loops), and on the screen (a frame drawn after that).
    std::vector<double> samples, inChat;
    samples.reserve(state.max_iterations);
    inChat.reserve(state.max_iterations);
    int n = 0;
    const auto pause = std::chrono::milliseconds(state.range(0));
    // One line: the pause, then from Return to the other screen. False when
    // it did not arrive.
    auto sendLine = [&](bool timed) {
        if (pause.count() > 0) {
            if (timed) state.PauseTiming();
            const auto until = Clock::now() + pause;
            for (auto left = pause; left.count() > 0;
                 left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now())) {
                std::vector<platform::WatchedFd> fds;
                ann.session->collectWatchedFds(fds);
                platform::waitForSockets(fds, int(left.count()));
                ann.session->poll();
            }
            if (timed) state.ResumeTiming();
        }
        const std::string text = "Line " + std::to_string(++n) + " of the bench";
        const auto start = Clock::now();
        ann.say("Ann", text);
        ann.session->poll();
        if (!trace.awaitLine("chat chatfont [Ann:] " + text, kLineLimitMs)) {
            state.SkipWithError("a line did not reach the other player");
            return false;
        }
        const auto added = Clock::now();
        if (!trace.awaitLine("chat drawn " + text, kLineLimitMs)) {
            state.SkipWithError("a line did not reach the other screen");
            return false;
        }
        if (timed) {
            inChat.push_back(std::chrono::duration<double, std::micro>(added - start).count());
            samples.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
        ann.session->poll();  // the echo and whatever else came meanwhile
        return true;
    };
    for (int i = 0; i < kWarmUpLines; ++i) {
        if (!sendLine(false)) return;
    }
    // The CPU both programs spend on the lines: on a machine shared with
    // other work, the latency is mostly waiting for a core, and this says
    // how much of a core each line really takes.
    const double hostCpuBefore = cpuSeconds(host.id()), beaCpuBefore = cpuSeconds(bea.id());
    for (auto _ : state) {
        if (!sendLine(true)) break;
    }
    if (keep) std::ofstream(benchFolder("bea") / "trace.txt") << trace.seen;
    if (samples.empty()) return;
    putPercentiles(state, samples, "");
    putPercentiles(state, inChat, "in_chat_");
    const double lines = double(samples.size());
    state.counters["host_cpu_us_per_line"] = (cpuSeconds(host.id()) - hostCpuBefore) * 1e6 / lines;
    state.counters["receiver_cpu_us_per_line"] = (cpuSeconds(bea.id()) - beaCpuBefore) * 1e6 / lines;
}
// The argument: the pause between lines in milliseconds.
BENCHMARK(BM_LineFromPlayerToAnothersScreen)
    ->Arg(0)
    ->Arg(40)
    ->ArgName("pause_ms")
    ->Iterations(1000)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

// A child that passes each byte it reads on to the next socket.
pid_t relayChild(int in, int out) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    for (char c;;) {
        pollfd p{in, POLLIN, 0};
        if (poll(&p, 1, -1) < 0 || read(in, &c, 1) != 1 || write(out, &c, 1) != 1) _exit(0);
    }
}

void BM_ByteThroughTwoIdleProcesses(benchmark::State& state) {
    int first[2], second[2], back[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, first) != 0 || socketpair(AF_UNIX, SOCK_STREAM, 0, second) != 0 ||
        socketpair(AF_UNIX, SOCK_STREAM, 0, back) != 0) {
        state.SkipWithError("no sockets");
        return;
    }
    const pid_t a = relayChild(first[1], second[0]), b = relayChild(second[1], back[0]);
    const auto pause = std::chrono::milliseconds(state.range(0));
    std::vector<double> samples;
    for (auto _ : state) {
        state.PauseTiming();
        pollfd none{-1, 0, 0};
        if (pause.count() > 0) poll(&none, 0, int(pause.count()));
        state.ResumeTiming();
        const auto start = Clock::now();
        char c = 'x';
        pollfd p{back[1], POLLIN, 0};
        if (write(first[0], &c, 1) != 1 || poll(&p, 1, kLineLimitMs) != 1 || read(back[1], &c, 1) != 1) {
            state.SkipWithError("the byte did not come back");
            break;
        }
        samples.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    // Each child holds every socket too, so none of them ends by closing.
    for (pid_t child : {a, b}) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    for (int fd : {first[0], first[1], second[0], second[1], back[0], back[1]}) close(fd);
    putPercentiles(state, samples, "");
}
// The argument: the pause between bytes in milliseconds, as between lines.
BENCHMARK(BM_ByteThroughTwoIdleProcesses)
    ->Arg(0)
    ->Arg(40)
    ->ArgName("pause_ms")
    ->Iterations(1000)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

// 16 players each sending `rate` lines a second for `seconds`.
void BM_SixteenPlayersTalking(benchmark::State& state) {
    constexpr int kPlayers = 16;
    const int rate = int(state.range(0)), seconds = int(state.range(1));
    const int perPlayer = rate * seconds;
    const uint16_t port = freePort();
    const bool keep = std::getenv("LOREHAVEN_BENCH_KEEP") != nullptr;
    Program host(benchFolder("crowd-host"), {"--host", "--campaign", "Crowd", "--gm", "GM", "p" + std::to_string(port)},
                 keep ? (benchFolder("crowd-host") / "trace.txt").string() : std::string());
    std::filesystem::current_path(benchFolder("crowd"));
    std::vector<std::unique_ptr<Player>> players;
    // For each receiver and sender: the next number expected, and faults.
    std::vector<std::vector<int>> expected(kPlayers, std::vector<int>(kPlayers, 0));
    long outOfOrder = 0, received = 0;
    for (int p = 0; p < kPlayers; ++p) {
        auto player = std::make_unique<Player>();
        if (!player->joinWhileStarting(host, port, "player" + std::to_string(p))) {
            state.SkipWithError("a player did not join");
            return;
        }
        player->session->setHandler(net::tags::CHATR, [&, p](net::SessionPeer*, const net::NetMessage& m) {
            std::string error;
            std::optional<chat::ChatMessage> line = chat::decodeChat(m, error);
            int from = -1, number = -1;
            if (line && std::sscanf(line->text.c_str(), "c%d n%d", &from, &number) == 2 && from >= 0 &&
                from < kPlayers) {
                ++received;
                if (number != expected[size_t(p)][size_t(from)]) ++outOfOrder;
                expected[size_t(p)][size_t(from)] = number + 1;
            }
            return net::HandlerResult::Handled;
        });
        players.push_back(std::move(player));
    }
    double hostCpu = 0, wall = 0;
    for (auto _ : state) {
        const double cpuBefore = cpuSeconds(host.id());
        const auto start = Clock::now();
        const auto gap = std::chrono::microseconds(1000000 / rate);
        for (int round = 0; round < perPlayer; ++round) {
            // The players' lines of one round are spread over its gap.
            for (int p = 0; p < kPlayers; ++p) {
                const auto due = start + gap * round + gap * p / kPlayers;
                for (;;) {
                    std::vector<platform::WatchedFd> fds;
                    for (auto& pl : players) pl->session->collectWatchedFds(fds);
                    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(due - Clock::now());
                    if (left.count() <= 0) break;
                    platform::waitForSockets(fds, int(left.count()));
                    for (auto& pl : players) pl->session->poll();
                }
                players[size_t(p)]->say("P" + std::to_string(p),
                                        "c" + std::to_string(p) + " n" + std::to_string(round));
                players[size_t(p)]->session->poll();
            }
        }
        // Every line's echo, or the limit.
        const long all = long(kPlayers) * kPlayers * perPlayer;
        const auto until = Clock::now() + std::chrono::milliseconds(kLineLimitMs);
        while (received < all && Clock::now() < until) {
            std::vector<platform::WatchedFd> fds;
            for (auto& pl : players) pl->session->collectWatchedFds(fds);
            platform::waitForSockets(fds, 50);
            for (auto& pl : players) pl->session->poll();
        }
        wall = std::chrono::duration<double>(Clock::now() - start).count();
        hostCpu = cpuSeconds(host.id()) - cpuBefore;
        state.counters["lines_sent"] = double(kPlayers * perPlayer);
        state.counters["lines_lost"] = double(all - received);
        state.counters["out_of_order"] = double(outOfOrder);
        state.counters["host_cpu_pct"] = 100.0 * hostCpu / wall;
    }
}
BENCHMARK(BM_SixteenPlayersTalking)->Args({20, 30})->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    const auto root = std::filesystem::temp_directory_path() / ("lorehaven-chat-bench-" + std::to_string(getpid()));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ignored;
    std::filesystem::current_path(std::filesystem::temp_directory_path(), ignored);
    if (std::getenv("LOREHAVEN_BENCH_KEEP")) {
        std::printf("kept %s\n", root.c_str());
    } else {
        std::filesystem::remove_all(root, ignored);
    }
    return 0;
}
