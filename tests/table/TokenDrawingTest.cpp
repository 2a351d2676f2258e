// The atlas of token pictures and the drawing of a window's tokens, on a
// recording context: every packed picture lands whole on one page without
// overlap; tokens draw from the page (shadow, then picture) in their order,
// and turned copies and pictures too big to pack draw from their own.
#include <gtest/gtest.h>

#include "render/RecordingRenderContext.h"
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
