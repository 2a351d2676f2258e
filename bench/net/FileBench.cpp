// The file exchange on loopback: a joining client fetches 50 MB of Ruleset
// files (five files of 10 MB) from a host running on a thread of its own,
// both waiting on their sockets as the main loop does. Reports MB/s as
// bytes_per_second. The client's copies are removed before each round so
// that every round fetches the whole list.
#include <benchmark/benchmark.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "db/Campaign.h"
#include "net/FileExchange.h"
#include "net/FileServer.h"
#include "net/Session.h"
#include "platform/Socket.h"

using namespace lh::net;
namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 5;
constexpr size_t kFileSize = 10u * 1000 * 1000;

fs::path scratchFolder() {
    std::string pattern = (fs::temp_directory_path() / "lh_filebench_XXXXXX").string();
    return mkdtemp(pattern.data()) ? fs::path(pattern) : fs::path();
}

void waitOn(Session& s, FileExchange* files, int timeoutMs) {
    std::vector<lh::platform::WatchedFd> fds;
    s.collectWatchedFds(fds);
    if (files) files->collectWatchedFds(fds);
    lh::platform::waitForSockets(fds, timeoutMs);
}

void BM_FetchRulesetFiles(benchmark::State& state) {
    fs::path scratch = scratchFolder();
    fs::path hostRoot = scratch / "host", clientRoot = scratch / "client";
    fs::create_directories(clientRoot);
    std::mt19937 gen(7);
    std::string bytes(kFileSize, '\0');
    lh::db::campaign().rulesetFiles.clear();
    for (int i = 0; i < kFiles; ++i) {
        for (char& c : bytes) c = char(gen());
        std::string name = "rulesets\\Bench\\graphics\\part" + std::to_string(i) + ".bin";
        fs::path disk = hostRoot / "rulesets/Bench/graphics" / ("part" + std::to_string(i) + ".bin");
        fs::create_directories(disk.parent_path());
        std::ofstream(disk, std::ios::binary).write(bytes.data(), long(bytes.size()));
        lh::db::campaign().rulesetFiles.push_back(name);
    }

    Session host, client;
    installFileService(host, hostRoot);
    host.openListener(0, 0x7F000001);
    client.connectToHost("127.0.0.1", host.listenPort());
    while (host.users().empty()) {
        host.poll();
        client.poll();
        waitOn(host, nullptr, 10);
    }
    host.users()[0]->name = "player";
    FileExchange files(client, clientRoot);

    std::atomic<bool> stop{false};
    std::thread hostThread([&] {
        while (!stop) {
            host.poll();
            waitOn(host, nullptr, 10);
        }
    });
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(clientRoot / "rulesets");
        state.ResumeTiming();
        files.requestFileList();
        while (files.stepFileList()) waitOn(client, &files, 10);
        if (!files.view().done || files.view().fetchedBytes != kFiles * kFileSize) {
            state.SkipWithError("the list was not fetched whole");
            break;
        }
    }
    stop = true;
    hostThread.join();
    state.SetBytesProcessed(int64_t(state.iterations()) * kFiles * int64_t(kFileSize));
    state.counters["MB"] = benchmark::Counter(double(state.iterations()) * kFiles * kFileSize / 1e6,
                                                benchmark::Counter::kIsRate);
    fs::remove_all(scratch);
}

}  // namespace

BENCHMARK(BM_FetchRulesetFiles)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK_MAIN();
