// The default Ruleset's load from the built resource archive on a live
// device: parse, every picture decoded and uploaded, every glyph font packed.
// And the cost of drawing its window frame over the whole client area.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/ui/bench_ui
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "platform/Paths.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"

namespace {

using namespace lh;

struct Scene {
    bench::BenchDevice device;

    Scene() {
        // An empty working directory: everything comes from the archive.
        platform::setWorkingDirectory(std::filesystem::temp_directory_path());
        ui::ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void BM_LoadDefaultRuleset(benchmark::State& state) {
    if (!scene().device.ok()) return state.SkipWithError(scene().device.failure());
    for (auto _ : state) {
        ui::clearRuleset();
        benchmark::DoNotOptimize(ui::LoadRuleset("Lorehaven", db::SessionMode::Host));
        bench::waitForFrame();
    }
    state.counters["fonts"] = double(ui::ruleset().fonts.size());
    state.counters["frames"] = double(ui::ruleset().frameDefs.size());
}
BENCHMARK(BM_LoadDefaultRuleset)->Unit(benchmark::kMillisecond);

void BM_DrawWindowFrameFullScreen(benchmark::State& state) {
    if (!scene().device.ok()) return state.SkipWithError(scene().device.failure());
    if (ui::ruleset().frameDefs.empty()) ui::LoadRuleset("Lorehaven", db::SessionMode::Host);
    ui::FrameDef* frame = ui::findFrame("windowframe");
    int calls = 0;
    for (auto _ : state) {
        render::Rect all{0, 0, bench::kWidth, bench::kHeight};
        render::GraphicsDevice::Get().BeginFrame(all);
        {
            render::RenderContext context(false, bench::kWidth, bench::kHeight);
            context.BeginScene();
            calls = frame ? frame->Draw(context, all, 0xFFFFFFFFu, nullptr) : 0;
            context.EndScene();
        }
        render::GraphicsDevice::Get().Present(all);
        bench::waitForFrame();
    }
    state.counters["draws"] = double(calls);
}
BENCHMARK(BM_DrawWindowFrameFullScreen)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
