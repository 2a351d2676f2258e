// Launch to first frame: the program started headless as a host on the
// default Ruleset, until its first frame is on the screen and it ends.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

void BM_LaunchToFirstFrame(benchmark::State& state) {
    std::string program = std::string(LOREHAVEN_BINARY_DIR) + "/lorehaven";
    std::filesystem::path work = std::filesystem::temp_directory_path() / "lorehaven-launch-bench";
    std::filesystem::remove_all(work);
    std::filesystem::create_directories(work);
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        pid_t pid = fork();
        if (pid == 0) {
            setenv("SDL_VIDEODRIVER", "offscreen", 1);
            execl(program.c_str(), program.c_str(), "--workdir", work.c_str(), "--host", "--campaign", "Bench",
                  "--gm", "GM", "--ruleset", "Lorehaven", "--quit-after-first-frame", static_cast<char*>(nullptr));
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("the program did not end cleanly");
    }
    std::filesystem::remove_all(work);
}

}  // namespace

BENCHMARK(BM_LaunchToFirstFrame)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
