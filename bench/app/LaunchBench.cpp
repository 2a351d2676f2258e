// Launch to first frame: the program started headless as a host on the
// default Ruleset, timed from the fork until its trace says "frame" (the
// first frame is on the screen), not until the process ends. The counter
// "own_ms" is the program's own stamp on that line (its clock starts with
// the process's static start-up, after the loader).
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

// The stamp of the trace's "frame" line, or -1 when there is none yet.
long frameStamp(const std::filesystem::path& trace) {
    std::ifstream in(trace);
    std::string line;
    while (std::getline(in, line)) {
        size_t blank = line.find(' ');
        if (blank != std::string::npos && line.compare(blank + 1, std::string::npos, "frame") == 0)
            return std::atol(line.c_str());
    }
    return -1;
}

void BM_LaunchToFirstFrame(benchmark::State& state) {
    std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
    std::filesystem::path work = std::filesystem::temp_directory_path() / ("lorehaven-launch-bench-" + std::to_string(getpid()));
    std::filesystem::remove_all(work);
    std::filesystem::create_directories(work);
    std::filesystem::path trace = work / "trace.txt";
    double ownMs = 0;
    for (auto _ : state) {
        std::filesystem::remove(trace);
        auto start = std::chrono::steady_clock::now();
        pid_t pid = fork();
        if (pid == 0) {
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            setenv("LOREHAVEN_TRACE", trace.c_str(), 1);
            execl(program.c_str(), program.c_str(), "--workdir", work.c_str(), "--host", "--campaign", "Bench",
                  "--gm", "GM", "--ruleset", "Lorehaven", static_cast<char*>(nullptr));
            _exit(127);
        }
        // Watch the trace grow: a stat a millisecond costs the program nothing
        // that it would notice, and a line is whole once it is there.
        long stamp = -1;
        off_t seen = 0;
        auto until = start + 120s;
        while (std::chrono::steady_clock::now() < until) {
            struct stat st {};
            if (stat(trace.c_str(), &st) == 0 && st.st_size != seen) {
                seen = st.st_size;
                stamp = frameStamp(trace);
                if (stamp >= 0) break;
            }
            if (waitpid(pid, nullptr, WNOHANG) == pid) break;
            std::this_thread::sleep_for(1ms);
        }
        double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(elapsed);
        ownMs += double(stamp);
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
        if (stamp < 0) state.SkipWithError("the program showed no first frame");
    }
    state.counters["own_ms"] = ownMs / double(state.iterations());
    std::filesystem::remove_all(work);
}

}  // namespace

BENCHMARK(BM_LaunchToFirstFrame)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
