// A map crowded with tokens on the real device (llvmpipe when run
// headless): 2,000 tokens over a 1024 x 768 window, 200 of them gliding to
// new places, one glide step and one full frame per iteration. Reported:
// the time of such a frame and the draw calls the tokens took in it, with
// the library packed into the atlas and, for comparison, without it (each
// picture its own texture), and the same frame with no tokens drawn at all.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/table/bench_tokens
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "db/SessionMode.h"
#include "render/GraphicsDevice.h"
#include "render/Pipeline2D.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "table/TokenBoard.h"
#include "table/TokenDrawing.h"
#include "ui/FrameLayers.h"

namespace {

using namespace lh;

constexpr int kTokens = 2000, kGliding = 200, kPictures = 24, kSide = 48;

// The whole client area is the window; its one control is the map.
class BenchPlace final : public table::TokenPlace {
public:
    bool sharable() const override { return false; }
    render::Rect windowRect() const override { return {0, 0, bench::kWidth, bench::kHeight}; }
    int32_t controlCount() const override { return 1; }
    render::Rect controlRect(int32_t) const override {
        return {24, 52, bench::kWidth - 24, bench::kHeight - 24};
    }
    void origin(int32_t index, int32_t& x, int32_t& y) const override {
        x = index == 1 ? 24 : 0;
        y = index == 1 ? 52 : 0;
    }
    void changed() override {}
};

// A round figure in its own colour on a clear ground, as token pictures are.
std::unique_ptr<render::Bitmap> figure(int n) {
    std::vector<uint32_t> px(size_t(kSide) * kSide, 0);
    const uint32_t colour = 0xFF000000u | (uint32_t(n * 0x3A5F17) & 0xFFFFFF);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
            if (std::hypot(x - kSide / 2 + 0.5, y - kSide / 2 + 0.5) < kSide / 2 - 1) px[size_t(y) * kSide + x] = colour;
    auto b = std::make_unique<render::Bitmap>();
    b->LoadFromPixels(kSide, kSide, px.data());
    return b;
}

struct Scene {
    bench::BenchDevice device;
    table::TokenLibrary library;
    table::TokenBoard board{library};
    BenchPlace place;
    const table::WindowKey key{"imagewindow", "bench"};
    table::TokenAtlas packed, unpacked;  // the second is never filled
    table::TokenAtlas* atlas = &packed;  // null: the tokens are not drawn
    platform::Subscription layer;
    std::mt19937 gen{11};
    uint64_t tokenDraws = 0;
    bool ok = false;

    Scene() {
        if (!device.ok()) return;
        db::setSessionMode(db::SessionMode::Host);
        std::vector<table::TokenDef*> defs;
        for (int i = 0; i < kPictures; ++i)
            defs.push_back(&library.insert("data/tokens/bench/" + std::to_string(i) + ".png", figure(i), false, true));
        packed.refresh(library);
        board.Open(key, place);
        for (int i = 0; i < kTokens; ++i) {
            auto [x, y] = spot();
            board.AddToken(key, *defs[size_t(i) % defs.size()], x, y, 1);
        }
        layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [this](render::RenderContext& c) {
            render::Pipeline2D& pipe = render::GraphicsDevice::Get().pipeline();
            pipe.flush();
            const uint64_t before = pipe.drawCalls();
            if (atlas) table::drawWindowTokens(board, key, *atlas, c, 0xFFFFFFFF);
            pipe.flush();
            tokenDraws += pipe.drawCalls() - before;
        });
        bench::redrawAndWait();
        ok = true;
    }

    std::pair<int32_t, int32_t> spot() {
        return {int32_t(gen() % (bench::kWidth - 48 - kSide)),
                int32_t(gen() % (bench::kHeight - 76 - kSide))};
    }

    // The first kGliding tokens that stand still set off somewhere new;
    // then one tick of gliding.
    void step() {
        auto* list = board.tokensOf(key);
        for (int i = 0; i < kGliding; ++i) {
            table::Token& t = *(*list)[size_t(i)];
            if (t.shownX != t.rect.left || t.shownY != t.rect.top) continue;
            auto [x, y] = spot();
            board.MoveToken(key, x, y, t.id, false, 1);
        }
        board.Glide();
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void BM_TwoThousandTokensFrame(benchmark::State& state) {
    Scene& s = scene();
    if (!s.ok) return state.SkipWithError("no OpenGL device");
    const char* labels[] = {"a texture per picture", "atlas", "no tokens drawn"};
    table::TokenAtlas* atlases[] = {&s.unpacked, &s.packed, nullptr};
    s.atlas = atlases[state.range(0)];
    s.tokenDraws = 0;
    for (auto _ : state) {
        s.step();
        bench::redrawAndWait();
    }
    state.counters["draws"] = double(s.tokenDraws) / double(state.iterations());
    state.SetLabel(labels[state.range(0)]);
}
BENCHMARK(BM_TwoThousandTokensFrame)->Arg(1)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
