// Maps at sizes beyond one texture, on the real device (llvmpipe when run
// headless): a frame of a 16384 x 16384 map panned by 37 pixels, the next
// frame after a mask polygon and after a 4000-point stroke (on a drawing
// layer that is already there), and the fetch
// of a 100 MB map from a host on loopback (MB/s).
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/table/bench_maps
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "net/FileExchange.h"
#include "net/FileServer.h"
#include "net/Session.h"
#include "platform/Socket.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "table/ImageValue.h"
#include "ui/FrameLayers.h"

namespace {

using namespace lh;
namespace fs = std::filesystem;

constexpr int32_t kMapSide = 16384;

struct Scene {
    bench::BenchDevice device;
    table::ImageValue map;
    int32_t viewX = 0, viewY = 0;
    platform::Subscription layer;
    bool ok = false;

    Scene() {
        if (!device.ok()) return;
        db::setSessionMode(db::SessionMode::Host);
        // A map with a texture of its own: no two tiles alike.
        map.base.reset(kMapSide, kMapSide, 0xFF000000u);
        std::vector<uint32_t> row(kMapSide);
        for (int32_t y = 0; y < kMapSide; ++y) {
            for (int32_t x = 0; x < kMapSide; ++x) row[size_t(x)] = 0xFF000000u | (uint32_t(x * 7 ^ y * 13) & 0xFFFFFF);
            map.base.writeRow(y, 0, kMapSide, row.data());
        }
        map.width = map.height = kMapSide;
        map.grid = {64, 0, 0};
        map.Open(nullptr);
        map.CreateMask();
        layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [this](render::RenderContext& c) {
            map.DrawLayers(c, viewX, viewY, 0xFFFFFFFF, {0, 0, bench::kWidth, bench::kHeight});
        });
        // The drawing layer is made by the first ink (a quarter of the
        // picture's own memory, at once); the stroke measured is a later one.
        map.ApplyStroke({{table::packPoint(10, 10), 255}, {table::packPoint(20, 12), 255}});
        bench::redrawAndWait();  // the first frame writes the tiles on the screen
        ok = true;
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void BM_PanBigMap(benchmark::State& state) {
    Scene& s = scene();
    if (!s.ok) return state.SkipWithError("no OpenGL device");
    for (auto _ : state) {
        s.viewX = -((-s.viewX + 37) % (kMapSide - bench::kWidth));
        s.viewY = -((-s.viewY + 23) % (kMapSide - bench::kHeight));
        bench::redrawAndWait();
    }
}
BENCHMARK(BM_PanBigMap)->Unit(benchmark::kMillisecond);

void BM_PolygonToNextFrame(benchmark::State& state) {
    Scene& s = scene();
    if (!s.ok) return state.SkipWithError("no OpenGL device");
    int32_t at = 0;
    for (auto _ : state) {
        int32_t x = -s.viewX + 100 + at % 400, y = -s.viewY + 100;
        s.map.ApplyPolygon({table::packPoint(x, y), table::packPoint(x + 300, y + 20),
                            table::packPoint(x + 250, y + 400), table::packPoint(x - 40, y + 300)});
        bench::redrawAndWait();
        at += 7;
    }
}
BENCHMARK(BM_PolygonToNextFrame)->Unit(benchmark::kMillisecond);

void BM_StrokeToNextFrame(benchmark::State& state) {
    Scene& s = scene();
    if (!s.ok) return state.SkipWithError("no OpenGL device");
    std::mt19937 gen(3);
    std::vector<table::StrokePoint> stroke(4000);
    for (auto _ : state) {
        state.PauseTiming();
        int32_t x = -s.viewX + 200, y = -s.viewY + 200;
        for (auto& p : stroke) {
            x = std::clamp<int32_t>(x + int32_t(gen() % 9) - 4, -s.viewX, -s.viewX + bench::kWidth - 1);
            y = std::clamp<int32_t>(y + int32_t(gen() % 9) - 4, -s.viewY, -s.viewY + bench::kHeight - 1);
            p = {table::packPoint(x, y), 255};
        }
        state.ResumeTiming();
        s.map.ApplyStroke(stroke);
        bench::redrawAndWait();
    }
}
BENCHMARK(BM_StrokeToNextFrame)->Unit(benchmark::kMillisecond);

// Section: the fetch of a big map.

void waitOn(net::Session& s, net::FileExchange* files, int timeoutMs) {
    std::vector<platform::WatchedFd> fds;
    s.collectWatchedFds(fds);
    if (files) files->collectWatchedFds(fds);
    platform::waitForSockets(fds, timeoutMs);
}

void BM_FetchMap100MB(benchmark::State& state) {
    constexpr size_t kSize = 100u * 1000 * 1000;
    std::string pattern = (fs::temp_directory_path() / "lh_mapbench_XXXXXX").string();
    if (!mkdtemp(pattern.data())) return state.SkipWithError("no scratch folder");
    fs::path scratch = pattern, hostRoot = scratch / "host", clientRoot = scratch / "client";
    fs::create_directories(hostRoot / "campaigns/Bench/images");
    fs::create_directories(clientRoot);
    {
        std::mt19937 gen(5);
        std::string bytes(kSize, '\0');
        for (char& c : bytes) c = char(gen());
        std::ofstream(hostRoot / "campaigns/Bench/images/huge.png", std::ios::binary)
            .write(bytes.data(), long(bytes.size()));
    }
    net::Session host, client;
    net::installFileService(host, hostRoot);
    host.openListener(0, 0x7F000001);
    client.connectToHost("127.0.0.1", host.listenPort());
    while (host.users().empty()) {
        host.poll();
        client.poll();
        waitOn(host, nullptr, 10);
    }
    host.users()[0]->name = "player";
    net::FileExchange files(client, clientRoot);
    bool done = false;
    files.setEndHandler(net::FetchKind::Image, [&](net::FileFetch& f, int result) {
        done = result > 0 && f.received() == kSize;
    });
    std::atomic<bool> stop{false};
    std::thread hostThread([&] {
        while (!stop) {
            host.poll();
            waitOn(host, nullptr, 10);
        }
    });
    for (auto _ : state) {
        done = false;
        files.fetchFromHost("campaigns\\Bench\\images\\huge.png", net::FetchKind::Image, {}, "image.00001.image");
        while (files.pendingDownloads()) {
            files.stepDownloads();
            waitOn(client, &files, 10);
        }
        if (!done) {
            state.SkipWithError("the map did not arrive whole");
            break;
        }
    }
    stop = true;
    hostThread.join();
    state.counters["MB"] =
        benchmark::Counter(double(state.iterations()) * kSize / 1e6, benchmark::Counter::kIsRate);
    fs::remove_all(scratch);
}
BENCHMARK(BM_FetchMap100MB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
