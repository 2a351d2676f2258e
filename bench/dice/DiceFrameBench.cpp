// A frame of a 30-dice roll on the real device at 1024 x 768: three steps of
// the simulation (a 60th of a second), the Desktop picture, the dice lit and
// textured, and their shadows, read back so the GPU (or llvmpipe) finishes;
// redrawn around the dice as the program does, and redrawn whole.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/dice/bench_dice_frame
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "app/Frame.h"
#include "dice/DiceDrawing.h"
#include "dice/DiceWorld.h"
#include "dice/DieMeshes.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "ui/FrameLayers.h"

namespace {

using namespace lh;

struct Table {
    bench::BenchDevice device;
    render::Bitmap desktop;
    std::unique_ptr<render::DiceRenderer> renderer;
    dice::DiceWorld world;
    render::DiceCamera camera = render::diceCamera(bench::kWidth, bench::kHeight);
    dice::DiceDirtyBoxes boxes;
    platform::Subscription layer;
    bool ok = false;

    Table() {
        if (!device.ok()) return;
        std::vector<uint32_t> tile(128 * 128);
        for (uint32_t i = 0; i < tile.size(); ++i) tile[i] = 0xFF302010u + (i % 128) * 0x000100u;
        desktop.LoadFromPixels(128, 128, tile.data());
        app::setDesktopImage(&desktop);
        renderer = std::make_unique<render::DiceRenderer>();
        dice::DiceArt art = dice::makeDiceArt();
        renderer->SetContent(std::move(art.meshes), std::move(art.numerals));
        world.viewBounds = {-19.5f, 15.234375f, 19.5f, -13.9921875f};
        world.rollBounds = {-19.119f, 2.666f, -2.361f, -10.283f};
        layer = ui::drawOnFrameStep(ui::FrameStep::DiceScene, [this](render::RenderContext&) {
            std::vector<render::DieDrawItem> items = dice::drawItemsOf(world, true);
            renderer->Draw(camera, items);
        });
        ok = renderer->IsReady();
    }

    void clear() {
        while (world.dice().size() > 0) world.Remove(world.dice().back().get());
    }
    void throwThirty() {
        clear();
        for (int j = 0; j < 30; ++j) {
            float fj = float(j);
            dice::ThrowStart s;
            s.shape = j % dice::kShapeCount;
            s.orientation = dice::rotationYawPitchRoll(0.7f * fj, 1.1f + 0.4f * fj, 0.0f);
            s.center = dice::Vec3{-17.0f + 0.5f * float(j % 10), -8.0f + 1.5f * float(j / 10), -5.0f};
            s.velocity = dice::Vec3{0.5f - 0.02f * fj, 0.35f, 0.0f};
            world.AddThrown(s);
        }
    }
    bool moving() const {
        for (const auto& d : world.dice())
            if (!d->atRest) return true;
        return false;
    }
};

Table& table() {
    static Table t;
    return t;
}

// The frame as the program draws it: only around the dice that moved, where
// they were and where they are, over the kept picture. With `full`, the
// whole client area instead, as every frame of a roll once was.
void frameOfThirtyDice(benchmark::State& state, bool full) {
    Table& t = table();
    if (!t.ok) return state.SkipWithError("no OpenGL device");
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    auto invalidate = [&device](const render::Rect& r) { device.Invalidate(&r); };
    t.throwThirty();
    bench::redrawAndWait();
    int64_t pixels = 0;
    for (auto _ : state) {
        // Only the first seconds of a roll, while every die still moves.
        if (!t.moving() || t.world.dice().front()->stepCount > 300) t.throwThirty();
        for (int s = 0; s < 3; ++s) t.world.Step();
        if (full)
            device.Invalidate(nullptr);
        else
            t.boxes.Mark(t.world, true, t.camera, invalidate);
        pixels += int64_t(device.DirtyRect().width()) * device.DirtyRect().height();
        bench::drawAndWait();
    }
    // How much of the 1024 x 768 picture a frame redrew, on average.
    state.counters["redrawn"] = benchmark::Counter(double(pixels) / double(bench::kWidth * bench::kHeight),
                                                   benchmark::Counter::kAvgIterations);
}

void BM_FrameOfThirtyDiceRolling(benchmark::State& state) {
    frameOfThirtyDice(state, false);
}
BENCHMARK(BM_FrameOfThirtyDiceRolling)->Unit(benchmark::kMillisecond);

void BM_FrameOfThirtyDiceRollingRedrawingAll(benchmark::State& state) {
    frameOfThirtyDice(state, true);
}
BENCHMARK(BM_FrameOfThirtyDiceRollingRedrawingAll)->Unit(benchmark::kMillisecond);

// The same frame with no dice, to tell what the dice add.
void BM_FrameWithoutDice(benchmark::State& state) {
    Table& t = table();
    if (!t.ok) return state.SkipWithError("no OpenGL device");
    t.clear();
    for (auto _ : state) bench::redrawAndWait();
}
BENCHMARK(BM_FrameWithoutDice)->Unit(benchmark::kMillisecond);

// Neither dice nor the Desktop picture: what the frame costs by itself (the
// clears, the copy to the window, the read-back).
void BM_FrameEmpty(benchmark::State& state) {
    Table& t = table();
    if (!t.ok) return state.SkipWithError("no OpenGL device");
    t.clear();
    app::setDesktopImage(nullptr);
    for (auto _ : state) bench::redrawAndWait();
    app::setDesktopImage(&t.desktop);
}
BENCHMARK(BM_FrameEmpty)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
