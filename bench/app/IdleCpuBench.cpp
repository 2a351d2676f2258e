// Idle CPU of the running program: starts it headless, lets start-up settle,
// then reports the share of one core that it used while sitting idle.
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

namespace {

// User plus system time of a process, in clock ticks, from /proc.
double cpuSeconds(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(in, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string skip;
    for (int i = 3; i < 14; ++i) fields >> skip;  // fields 3..13
    long utime = 0, stime = 0;
    fields >> utime >> stime;
    return double(utime + stime) / double(sysconf(_SC_CLK_TCK));
}

void BM_IdleCpu(benchmark::State& state) {
    const int seconds = int(state.range(0));
    std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
    std::filesystem::path work = std::filesystem::temp_directory_path() / "lorehaven-idle-bench";
    std::filesystem::create_directories(work);
    for (auto _ : state) {
        pid_t pid = fork();
        if (pid == 0) {
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            execl(program.c_str(), program.c_str(), "--workdir", work.c_str(), "--host", "--campaign", "Idle", "--gm", "GM",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::seconds(5));  // start-up is not idle time
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
        if (!WIFEXITED(status)) state.SkipWithError("the program did not end through its exit path");
    }
    std::filesystem::remove_all(work);
}

}  // namespace

BENCHMARK(BM_IdleCpu)->Arg(10)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK_MAIN();
