// The default Ruleset's load from the built resource archive on a live
// device: parse, every picture decoded and uploaded, every glyph font packed.
// And the cost of drawing its window frame over the whole client area.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/ui/bench_ui
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/Paths.h"
#include "platform/Platform.h"
#include "platform/Window.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"

namespace {

using namespace lh;

constexpr int kWidth = 1024, kHeight = 768;

struct Device {
    std::unique_ptr<platform::Window> window;
    bool ok = false;

    Device() {
        std::string error;
        if (!platform::initialize(error)) return;
        window.reset(platform::Window::create("bench", kWidth, kHeight));
        ok = window && render::GraphicsDevice::Get().Create(*window) == 0;
        // An empty working directory: everything comes from the archive.
        platform::setWorkingDirectory(std::filesystem::temp_directory_path());
        ui::ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    }
};

Device& device() {
    static Device d;
    return d;
}

void finish() {
    std::vector<uint32_t> px;
    render::GraphicsDevice::Get().ReadBackBuffer({0, 0, 1, 1}, px);
}

void BM_LoadDefaultRuleset(benchmark::State& state) {
    if (!device().ok) {
        state.SkipWithError("no OpenGL device");
        return;
    }
    for (auto _ : state) {
        ui::clearRuleset();
        benchmark::DoNotOptimize(ui::LoadRuleset("Lorehaven", db::SessionMode::Host));
        finish();
    }
    state.counters["fonts"] = double(ui::ruleset().fonts.size());
    state.counters["frames"] = double(ui::ruleset().frameDefs.size());
}
BENCHMARK(BM_LoadDefaultRuleset)->Unit(benchmark::kMillisecond);

void BM_DrawWindowFrameFullScreen(benchmark::State& state) {
    if (!device().ok) {
        state.SkipWithError("no OpenGL device");
        return;
    }
    if (ui::ruleset().frameDefs.empty()) ui::LoadRuleset("Lorehaven", db::SessionMode::Host);
    ui::FrameDef* frame = ui::findFrame("windowframe");
    int calls = 0;
    for (auto _ : state) {
        render::Rect all{0, 0, kWidth, kHeight};
        render::GraphicsDevice::Get().BeginFrame(all);
        {
            render::RenderContext context(false, kWidth, kHeight);
            context.BeginScene();
            calls = frame ? frame->Draw(context, all, 0xFFFFFFFFu, nullptr) : 0;
            context.EndScene();
        }
        render::GraphicsDevice::Get().Present(all);
        finish();
    }
    state.counters["draws"] = double(calls);
}
BENCHMARK(BM_DrawWindowFrameFullScreen)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
