// Idle CPU of the running program: starts it headless, waits for its first
// frame in its trace (start-up is not idle time), then reports the share of
// one core that the whole process (every thread) used while nothing
// happened. CPU time is the scheduler's own count in nanoseconds, summed over
// the threads (/proc/PID/task/TID/schedstat); /proc/PID/stat's clock ticks
// are sampled at 10 ms and stand in only where schedstat is missing.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

// User plus system time of a process and all its threads, in seconds, from
// clock ticks.
double cpuSecondsFromStat(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(in, line);
    size_t close = line.rfind(')');
    if (close == std::string::npos || close + 2 > line.size()) return 0;
    std::istringstream fields(line.substr(close + 2));
    std::string skip;
    for (int i = 3; i < 14; ++i) fields >> skip;  // fields 3..13
    long utime = 0, stime = 0;
    fields >> utime >> stime;
    return double(utime + stime) / double(sysconf(_SC_CLK_TCK));
}

// Time on a CPU of every thread of the process, in seconds.
double cpuSeconds(pid_t pid) {
    std::filesystem::path tasks = "/proc/" + std::to_string(pid) + "/task";
    std::error_code ec;
    double total = 0;
    bool any = false;
    for (const auto& task : std::filesystem::directory_iterator(tasks, ec)) {
        std::ifstream in(task.path() / "schedstat");
        unsigned long long ns = 0;
        if (in >> ns) {
            total += double(ns) / 1e9;
            any = true;
        }
    }
    // Threads that ended between two readings take their time with them;
    // the program's threads (renderer, resolver) live as long as it does.
    return any ? total : cpuSecondsFromStat(pid);
}

// Polls the trace file until it holds `text` (bounded; the program may fail).
bool waitForTrace(const std::filesystem::path& trace, const std::string& text, pid_t pid) {
    auto until = std::chrono::steady_clock::now() + 120s;
    while (std::chrono::steady_clock::now() < until) {
        std::ifstream in(trace);
        std::stringstream all;
        all << in.rdbuf();
        if (all.str().find(text) != std::string::npos) return true;
        if (waitpid(pid, nullptr, WNOHANG) == pid) return false;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

// Runs the program with `args`, waits for `readyLine` in its trace, then
// measures `seconds` of idling.
void measureIdle(benchmark::State& state, const std::vector<std::string>& args, const std::string& readyLine) {
    const int seconds = int(state.range(0));
    std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
    std::filesystem::path work = std::filesystem::temp_directory_path() / ("lorehaven-idle-bench-" + std::to_string(getpid()));
    std::filesystem::remove_all(work);
    std::filesystem::create_directories(work);
    std::filesystem::path trace = work / "trace.txt";
    for (auto _ : state) {
        std::filesystem::remove(trace);
        pid_t pid = fork();
        if (pid == 0) {
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            setenv("LOREHAVEN_TRACE", trace.c_str(), 1);
            setenv("LOREHAVEN_CONFIG_DIR", work.c_str(), 1);
            std::vector<char*> argv{program.data()};
            std::vector<std::string> full = {"--workdir", work.string()};
            full.insert(full.end(), args.begin(), args.end());
            for (std::string& a : full) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(program.c_str(), argv.data());
            _exit(127);
        }
        bool ready = readyLine.empty() || waitForTrace(trace, readyLine, pid);
        if (readyLine.empty()) std::this_thread::sleep_for(3s);  // no trace line to wait for
        std::this_thread::sleep_for(1s);  // let the first frame's after-work settle
        double before = cpuSeconds(pid);
        auto start = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        double cpu = cpuSeconds(pid) - before;
        double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        state.SetIterationTime(wall);
        state.counters["cpu_percent_of_core"] = 100.0 * cpu / wall;
        state.counters["cpu_ms"] = 1000.0 * cpu;
        if (!ready) state.SkipWithError("the program showed no first frame");
        else if (!WIFEXITED(status)) state.SkipWithError("the program did not end through its exit path");
    }
    std::filesystem::remove_all(work);
}

// A host with a Campaign and nobody joined.
void BM_IdleCpuHost(benchmark::State& state) {
    measureIdle(state, {"--host", "--campaign", "Idle", "--gm", "GM"}, " frame\n");
}

// The launcher's first dialog, waiting for a person who does nothing.
void BM_IdleCpuLauncher(benchmark::State& state) { measureIdle(state, {}, ""); }

}  // namespace

BENCHMARK(BM_IdleCpuHost)->Arg(60)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_IdleCpuLauncher)->Arg(20)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK_MAIN();
