// The atlas of token pictures and the drawing of a window's tokens, on a
// recording context: every packed picture lands whole on one page without
// overlap; tokens draw from the page (shadow, then picture) in their order,
// and turned copies and pictures too big to pack draw from their own. On
// the real device: a crowd of tokens costs one draw call per page however
// many there are, and looks exactly as when each picture is drawn alone;
// the squares a pointer lights, however many, cost one draw too.
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <utility>

#include "render/GlFixture.h"
#include "render/Pipeline2D.h"
#include "render/RecordingRenderContext.h"
#include "render/RenderContext.h"
#include "table/PointerDrawing.h"
#include "table/TokenDrawing.h"

using namespace lh::table;
using lh::render::DrawCall;
using lh::render::Rect;

namespace {

// The whole window is one control, its origin the window's top left.
class OpenPlace : public TokenPlace {
public:
    bool sharable() const override { return false; }
    Rect windowRect() const override { return {100, 50, 900, 650}; }
    int32_t controlCount() const override { return 1; }
    Rect controlRect(int32_t) const override { return {0, 0, 800, 600}; }
    void origin(int32_t, int32_t& x, int32_t& y) const override { x = 100, y = 50; }
    void changed() override {}
};

TokenDef& picture(TokenLibrary& lib, int n, uint32_t w, uint32_t h) {
    std::vector<uint32_t> px(size_t(w) * h);
    for (size_t i = 0; i < px.size(); ++i) px[i] = 0xFF000000u | uint32_t(n) << 16 | uint32_t(i & 0xFFFF);
    auto b = std::make_unique<lh::render::Bitmap>();
    b->LoadFromPixels(w, h, px.data());
    return lib.insert("data/tokens/" + std::to_string(n) + ".png", std::move(b), false, true);
}

}  // namespace

TEST(TokenDrawing, OnePageHoldsThePicturesAndServesEveryToken) {
    TokenLibrary lib;
    std::vector<TokenDef*> defs;
    for (int i = 0; i < 40; ++i) defs.push_back(&picture(lib, i, 48 - uint32_t(i % 3) * 10, 30 + uint32_t(i % 5) * 7));
    TokenDef& big = picture(lib, 99, 300, 40);
    TokenAtlas atlas;
    atlas.refresh(lib);
    ASSERT_EQ(atlas.pageCount(), 1u);
    EXPECT_EQ(atlas.slotOf(big).page, nullptr);

    // Each picture whole, texel for texel, and no two overlapping.
    std::vector<Rect> taken;
    for (TokenDef* d : defs) {
        TokenAtlas::Slot s = atlas.slotOf(*d);
        ASSERT_NE(s.page, nullptr);
        EXPECT_EQ(s.source.width(), d->width());
        EXPECT_EQ(s.source.height(), d->height());
        const auto& page = s.page->Pixels();
        const auto& own = d->bitmap->Pixels();
        for (int32_t y = 0; y < d->height(); y += 7)
            for (int32_t x = 0; x < d->width(); x += 5)
                ASSERT_EQ(page[size_t(s.source.top + y) * s.page->GetWidth() + size_t(s.source.left + x)],
                          own[size_t(y) * size_t(d->width()) + size_t(x)]);
        for (const Rect& r : taken) EXPECT_TRUE(lh::render::intersect(r, s.source).isEmpty());
        taken.push_back(s.source);
    }

    // Tokens of every kind on a window: shadow then picture, the packed
    // ones from the page.
    TokenBoard board(lib);
    OpenPlace place;
    const WindowKey key{"imagewindow", "00001"};
    board.Open(key, place);
    for (int i = 0; i < 6; ++i) board.AddToken(key, *defs[size_t(i)], 10 * i, 20, 0);
    board.AddToken(key, big, 400, 300, 0);
    board.RotateToken(key, 2, 1);
    lh::render::RecordingRenderContext rc;
    drawWindowTokens(board, key, atlas, rc, 0xFFFFFFFF);
    ASSERT_EQ(rc.calls.size(), 14u);
    const auto* page = atlas.slotOf(*defs[0]).page;
    for (size_t i = 0; i < rc.calls.size(); ++i) {
        const DrawCall& call = rc.calls[i];
        const Token& t = *(*board.tokensOf(key))[i / 2];
        const bool shadow = i % 2 == 0;
        EXPECT_EQ(call.color, shadow ? 0x7F000000u : 0xFFFFFFFFu);
        if (t.rotated) {
            EXPECT_EQ(call.bitmap, t.rotated.get());
        } else if (t.def == &big) {
            EXPECT_EQ(call.bitmap, big.bitmap.get());
        } else {
            EXPECT_EQ(call.bitmap, page);
            EXPECT_EQ(call.source, atlas.slotOf(*t.def).source);
            EXPECT_EQ(call.x1, float(100 + t.shownX + (shadow ? 1 : 0)));
            EXPECT_EQ(call.y1, float(50 + t.shownY + (shadow ? 2 : 0)));
        }
    }

    // A picture that arrives later is packed at the next refresh.
    TokenDef& late = picture(lib, 100, 20, 20);
    atlas.refresh(lib);
    EXPECT_NE(atlas.slotOf(late).page, nullptr);
}

namespace {

// Tokens on the whole 160 x 120 test window.
class ScreenPlace : public TokenPlace {
public:
    bool sharable() const override { return false; }
    Rect windowRect() const override { return {0, 0, 160, 120}; }
    int32_t controlCount() const override { return 0; }
    Rect controlRect(int32_t) const override { return {}; }
    void origin(int32_t, int32_t& x, int32_t& y) const override { x = y = 0; }
    void changed() override {}
};

class TokenDrawingOnDevice : public lh::test::GlTest {
protected:
    TokenLibrary lib;
    TokenBoard board{lib};
    ScreenPlace place;
    const WindowKey key{"imagewindow", "crowd"};

    void SetUp() override {
        GlTest::SetUp();
        board.Open(key, place);
    }
    void TearDown() override {
        board.Close(key);
        lib.clear();
        GlTest::TearDown();
    }

    // `count` tokens of the pictures in turn, scattered over the window.
    void scatter(const std::vector<TokenDef*>& defs, int count) {
        for (int i = 0; i < count; ++i)
            board.AddToken(key, *defs[size_t(i) % defs.size()], (i * 37) % (kWidth - 8), (i * 53) % (kHeight - 8), 0);
    }

    // One frame of what `draw` draws; the draw calls it took, from what
    // `ground` drew before it apart.
    uint64_t countedFrame(const std::function<void(lh::render::RenderContext&)>& draw,
                          const std::function<void(lh::render::RenderContext&)>& ground = {}) {
        auto& device = lh::render::GraphicsDevice::Get();
        const Rect all{0, 0, kWidth, kHeight};
        uint64_t draws = 0;
        device.BeginFrame(all);
        {
            lh::render::RenderContext context(false, kWidth, kHeight);
            context.SetClipRect(all);
            context.BeginScene();
            device.SetDepthTest(false);
            if (ground) ground(context);
            device.pipeline().flush();
            const uint64_t before = device.pipeline().drawCalls();
            draw(context);
            device.pipeline().flush();
            draws = device.pipeline().drawCalls() - before;
            context.EndScene();
        }
        device.Present(all);
        return draws;
    }

    // One frame of the window's tokens; the draw calls they took.
    uint64_t drawTokens(TokenAtlas& atlas) {
        return countedFrame([&](lh::render::RenderContext& c) { drawWindowTokens(board, key, atlas, c, 0xFFFFFFFF); });
    }
};

}  // namespace

TEST_F(TokenDrawingOnDevice, ACrowdCostsADrawPerPageAndLooksAsEachPictureAlone) {
    // Two dozen figures, each its own colour with clear corners.
    std::vector<TokenDef*> defs;
    for (int n = 0; n < 24; ++n) {
        std::vector<uint32_t> px(12 * 12);
        for (int i = 0; i < 144; ++i) {
            const int x = i % 12, y = i / 12;
            const bool corner = (x < 2 || x > 9) && (y < 2 || y > 9);
            px[size_t(i)] = corner ? 0 : 0xFF000000u | (uint32_t(n * 0x0A3B17 + i * 0x010203) & 0xFFFFFFu);
        }
        auto b = std::make_unique<lh::render::Bitmap>();
        b->LoadFromPixels(12, 12, px.data());
        defs.push_back(&lib.insert("data/tokens/f" + std::to_string(n) + ".png", std::move(b), false, true));
    }
    TokenAtlas packed, unpacked;  // the second stays empty: each picture alone
    packed.refresh(lib);
    ASSERT_EQ(packed.pageCount(), 1u);

    scatter(defs, 500);
    EXPECT_EQ(drawTokens(packed), 1u);
    const auto fromAtlas = screen();
    EXPECT_GE(drawTokens(unpacked), 500u);
    EXPECT_EQ(screen(), fromAtlas);

    // Four times the tokens, still one draw; a turned one in the middle
    // draws from its own copy between two runs of the page.
    scatter(defs, 1500);
    EXPECT_EQ(drawTokens(packed), 1u);
    board.RotateToken(key, 1000, 2);
    EXPECT_EQ(drawTokens(packed), 3u);
    const auto turnedFromAtlas = screen();
    drawTokens(unpacked);
    EXPECT_EQ(screen(), turnedFromAtlas);
}

TEST_F(TokenDrawingOnDevice, PicturesOverManyPagesCostADrawPerPage) {
    // 250 x 250 pictures: sixteen to a page, so 20 need two.
    std::vector<TokenDef*> defs;
    for (int n = 0; n < 20; ++n) {
        auto b = lh::test::solidBitmap(250, 250, 0xFF000000u | uint32_t(n * 0x0C0B0A));
        defs.push_back(&lib.insert("data/tokens/big" + std::to_string(n) + ".png", std::move(b), false, true));
    }
    TokenAtlas packed;
    packed.refresh(lib);
    ASSERT_EQ(packed.pageCount(), 2u);
    // Stacked page by page: one draw each, however many tokens.
    for (int round = 0; round < 2; ++round)
        for (TokenDef* d : defs)
            if ((packed.slotOf(*d).page == packed.slotOf(*defs[0]).page) == (round == 0))
                for (int i = 0; i < 10; ++i) board.AddToken(key, *d, i * 7, i * 5, 0);
    EXPECT_EQ(drawTokens(packed), 2u);
}

TEST_F(TokenDrawingOnDevice, ThePointersLitSquaresCostOneDraw) {
    // A grid of 10 pixels over the whole window, the shapes drawn from its
    // middle; a grey ground shows the shade.
    const GridView grid{10, 0, 0, 0, 0, kWidth, kHeight};
    const std::pair<int32_t, IntPoint> shapes[] = {{kCircle, {105, 60}}, {kCone, {80, 20}}, {kSquare, {80, 95}}};
    LitSquares squares;
    for (const auto& [kind, end] : shapes) {
        const std::vector<IntPoint> cells = litCells(grid, kind, IntPoint{80, 60}, end);
        ASSERT_GT(cells.size(), 4u) << kind;
        const Rect all{0, 0, kWidth, kHeight};
        bool drawn = false;
        const uint64_t draws = countedFrame(
            [&](lh::render::RenderContext& c) { drawn = squares.draw(c, grid.gridSize, 0, 0, cells, all); },
            [](lh::render::RenderContext& c) { c.DrawRect(0, 0, kWidth, kHeight, 0x808080, true); });
        ASSERT_TRUE(drawn);
        EXPECT_EQ(draws, 1u) << kind << ": " << cells.size() << " squares";

        // Each lit square is shaded to its edges, and nothing else is.
        const auto px = screen();
        std::set<std::pair<int, int>> lit;
        for (IntPoint c : cells) lit.insert({c.x, c.y});
        for (int y = 0; y < kHeight; y += 10)
            for (int x = 0; x < kWidth; x += 10) {
                const bool shaded = lit.count({x, y}) != 0;
                for (auto [dx, dy] : {std::pair{0, 0}, {9, 9}, {5, 2}}) {
                    const uint32_t p = at(px, x + dx, y + dy) & 0xFFFFFF;
                    EXPECT_EQ(p < 0x707070u, shaded) << kind << " at " << x + dx << "," << y + dy << std::hex << " " << p;
                }
            }
    }
}
