// What a 16384 x 16384 map costs in memory, from its PNG on disk to every
// tile drawn once on the real device (llvmpipe keeps its textures in the
// process): the resident size after the open, after a mask polygon and a
// stroke, after a pan over the whole picture, and the peak. Two pictures:
// one whose every pixel differs from its neighbours (a painted map) and one
// of a single colour (a blank map to draw on). "opening" is the wall time
// in seconds from the open of the PNG to its first frame on the screen.
// Each runs alone, in a
// process of its own, since the peak is the process's:
//   SDL_VIDEODRIVER=offscreen ./bench/table/bench_map_memory --benchmark_filter=Painted
//   SDL_VIDEODRIVER=offscreen ./bench/table/bench_map_memory --benchmark_filter=Blank
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "platform/Paths.h"
#include "render/PngWriter.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "table/ImageValue.h"
#include "ui/FrameLayers.h"

namespace {

using namespace lh;
namespace fs = std::filesystem;

constexpr int32_t kMapSide = 16384;

// A field of /proc/self/status in MiB: VmRSS now, VmHWM the peak.
double statusMiB(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind(field, 0) == 0) return std::atof(line.c_str() + std::string(field).size() + 1) / 1024.0;
    }
    return 0;
}

// The peak starts again from what is resident now.
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

void writeMap(const fs::path& file, bool painted) {
    std::vector<uint32_t> argb(size_t(kMapSide) * kMapSide, 0xFF4A6B3Cu);
    if (painted) {
        for (int32_t y = 0; y < kMapSide; ++y)
            for (int32_t x = 0; x < kMapSide; ++x)
                argb[size_t(y) * kMapSide + size_t(x)] =
                    0xFF000000u | (uint32_t(x + 3 * y) & 0xFF) << 16 | (uint32_t(x * 5 + y) & 0xFF) << 8 | (uint32_t(x ^ y) & 0xFF);
    }
    render::writePng(file, kMapSide, kMapSide, argb.data(), render::PngLayout::Rgb);
}

void measure(benchmark::State& state, bool painted) {
    bench::BenchDevice device;
    if (!device.ok()) return state.SkipWithError(device.failure());
    std::string pattern = (fs::temp_directory_path() / "lh_mapmemory_XXXXXX").string();
    if (!mkdtemp(pattern.data())) return state.SkipWithError("no scratch folder");
    fs::path scratch = pattern;
    platform::setWorkingDirectory(scratch);
    db::setSessionMode(db::SessionMode::Host);
    db::campaign().name.set("Bench");
    fs::create_directories(scratch / "campaigns/Bench/images");
    writeMap(platform::diskPath("campaigns\\Bench\\images\\map.png"), painted);
    for (auto _ : state) {
        resetPeak();
        const double before = statusMiB("VmRSS:");
        const auto opening = std::chrono::steady_clock::now();
        table::ImageValue map;
        map.setImagePath("campaigns\\Bench\\images\\map.png");
        map.grid = {64, 0, 0};
        if (!map.Open(nullptr)) {
            state.SkipWithError("the map did not open");
            break;
        }
        state.counters["open"] = statusMiB("VmRSS:") - before;
        map.CreateMask();
        map.ApplyPolygon({table::packPoint(100, 100), table::packPoint(900, 120), table::packPoint(500, 700)});
        map.ApplyStroke({{table::packPoint(10, 10), 255}, {table::packPoint(800, 600), 255}});
        int32_t viewX = 0, viewY = 0;
        platform::Subscription layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [&](render::RenderContext& c) {
            map.DrawLayers(c, viewX, viewY, 0xFFFFFFFF, {0, 0, bench::kWidth, bench::kHeight});
        });
        auto frame = [&](int32_t x, int32_t y) {
            viewX = x;
            viewY = y;
            bench::redrawAndWait();
        };
        frame(0, 0);
        state.counters["opening"] = std::chrono::duration<double>(std::chrono::steady_clock::now() - opening).count();
        state.counters["layers"] = statusMiB("VmRSS:") - before;
        // Every tile of the picture comes on the screen once.
        for (int32_t y = 0; y < kMapSide; y += bench::kHeight)
            for (int32_t x = 0; x < kMapSide; x += bench::kWidth) frame(-x, -y);
        state.counters["panned"] = statusMiB("VmRSS:") - before;
        state.counters["peak"] = statusMiB("VmHWM:") - before;
        map.Close(nullptr);
    }
    fs::remove_all(scratch);
}

void BM_MapMemoryPainted(benchmark::State& state) { measure(state, true); }
void BM_MapMemoryBlank(benchmark::State& state) { measure(state, false); }
BENCHMARK(BM_MapMemoryPainted)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_MapMemoryBlank)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
