// Frames: corners once, bands tiled and cut, small targets, empty parts.
#include <gtest/gtest.h>

#include "ui/FrameGeometry.h"

using namespace lh::ui;

namespace {

std::array<Rect, kFrameParts> nineParts(int corner, int edge) {
    std::array<Rect, kFrameParts> s;
    for (int p = 0; p < kFrameParts; ++p) {
        bool isCorner = p == TopLeft || p == TopRight || p == BottomLeft || p == BottomRight;
        int size = isCorner ? corner : edge;
        s[size_t(p)] = {p * 40, 0, p * 40 + size, size};
    }
    return s;
}

}  // namespace

TEST(FrameGeometry, CornersOnceAndBandsTiledAndCut) {
    auto src = nineParts(10, 30);
    auto pieces = layoutFrame(src, {0, 0, 120, 120});
    ASSERT_EQ(pieces.size(), 9u);
    EXPECT_EQ(pieces[0].part, TopLeft);
    EXPECT_EQ(pieces[3].part, BottomRight);
    EXPECT_EQ(pieces[3].target.left, 110);
    EXPECT_EQ(pieces[3].target.top, 110);
    // The top band runs from 10 to 110: 100 pixels of a 30-pixel piece make
    // four tiles, the last cut to 10.
    const FramePiece& top = pieces[4];
    EXPECT_EQ(top.part, Top);
    auto tiles = tilesOf(top);
    ASSERT_EQ(tiles.size(), 4u);
    EXPECT_EQ(tiles[3].left, 100);
    EXPECT_EQ(tiles[3].width(), 10);
    EXPECT_EQ(pieces[8].part, Middle);
    EXPECT_EQ(tilesOf(pieces[8]).size(), 8u);  // 100 x 60 in 30 x 30
}

TEST(FrameGeometry, SmallTargetsAndMissingParts) {
    auto src = nineParts(10, 30);
    // Smaller than the corners: corners overlap in full, bands are empty.
    auto pieces = layoutFrame(src, {0, 0, 15, 15});
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[1].target.left, 5);
    EXPECT_EQ(pieces[1].target.width(), 10);
    // An empty source rectangle draws nothing.
    src[Middle] = {};
    src[Top] = {};
    EXPECT_EQ(layoutFrame(src, {0, 0, 200, 200}).size(), 7u);
    EXPECT_TRUE(tilesOf({Top, {0, 0, 0, 5}, {0, 0, 100, 5}}).empty());
}
