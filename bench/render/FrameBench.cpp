// Frame time on the real device: a whole 1024 x 768 frame of 500 sprites and
// 200 lines of text, against a frame whose dirty rectangle is 64 x 64.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/render/bench_render
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/Frame.h"
#include "ui/FrameLayers.h"
#include "render/Bitmap.h"
#include "render/FreeTypeFont.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"

namespace {

using namespace lh;

struct Scene {
    bench::BenchDevice device;
    std::vector<std::unique_ptr<render::Bitmap>> sprites;
    render::Bitmap desktop;
    std::unique_ptr<render::FreeTypeFont> font;
    std::vector<std::string> lines;
    bool ok = false;
    platform::Subscription layer;

    Scene() {
        if (!device.ok()) return;
        // A few different pictures, so the batch changes texture as a table does.
        for (uint32_t k = 0; k < 8; ++k) {
            std::vector<uint32_t> px(32 * 32);
            for (uint32_t i = 0; i < px.size(); ++i)
                px[i] = 0xC0000000u | (k * 0x1F2F3Fu + i * 0x010203u) % 0xFFFFFFu;
            auto b = std::make_unique<render::Bitmap>();
            b->LoadFromPixels(32, 32, px.data());
            sprites.push_back(std::move(b));
        }
        std::vector<uint32_t> tile(128 * 128);
        for (uint32_t i = 0; i < tile.size(); ++i) tile[i] = 0xFF203040u + (i % 128) * 0x010000u;
        desktop.LoadFromPixels(128, 128, tile.data());
        render::FreeTypeFont::Options options;
        options.pixelSize = 12;
        options.color = 0xFFE0E0E0u;
        font = render::FreeTypeFont::Open(options);
        for (int i = 0; i < 200; ++i) {
            char text[128];
            std::snprintf(text, sizeof text, "Line %03d: The party rolls for initiative; the goblin sneers.",
                          i);
            lines.push_back(text);
        }
        app::setDesktopImage(&desktop);
        layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [this](render::RenderContext& c) {
            for (int i = 0; i < 500; ++i) {
                c.DrawBitmap(*sprites[size_t(i) % sprites.size()], (i * 53) % (bench::kWidth - 32),
                             (i * 37) % (bench::kHeight - 32), 0xFFFFFFFFu);
            }
            c.SetFont(font.get());
            for (int i = 0; i < 200; ++i) {
                c.DrawText((i / 50) * 256, (i % 50) * 15, lines[size_t(i)].c_str(),
                           int32_t(lines[size_t(i)].size()));
            }
        });
        ok = font != nullptr;
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void BM_FullFrame(benchmark::State& state) {
    if (!scene().ok) {
        state.SkipWithError("no OpenGL device");
        return;
    }
    for (auto _ : state) bench::redrawAndWait();
}
BENCHMARK(BM_FullFrame)->Unit(benchmark::kMillisecond);

void BM_SmallDirtyRect(benchmark::State& state) {
    if (!scene().ok) {
        state.SkipWithError("no OpenGL device");
        return;
    }
    render::Rect small{480, 350, 544, 414};
    for (auto _ : state) bench::redrawAndWait(&small);
}
BENCHMARK(BM_SmallDirtyRect)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
