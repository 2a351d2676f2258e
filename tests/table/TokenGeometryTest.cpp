// The tables of token and pointer arithmetic: rotation wrap, turned size,
// glide steps, arrow heads, lit squares and labels.
#include <gtest/gtest.h>

#include <algorithm>

#include "table/PointerGeometry.h"
#include "table/TokenGeometry.h"

using namespace lh::table;

TEST(TokenGeometry, RotationWraps) {
    EXPECT_EQ(wrapRotation(8), 0);
    EXPECT_EQ(wrapRotation(-1), 7);
    EXPECT_EQ(wrapRotation(7), 7);
    EXPECT_EQ(wrapRotation(0), 0);
    // Any byte off the wire lands in 0..7.
    for (int b = -128; b <= 127; ++b) {
        int r = wrapRotation(b);
        EXPECT_TRUE(r >= 0 && r < 8) << b;
        EXPECT_EQ((r - b) % 8, 0) << b;
    }
}

TEST(TokenGeometry, TurnedCopy) {
    uint32_t w = 0, h = 0;
    turnedSize(40, 20, 0, w, h);
    EXPECT_EQ(w, 44u);
    EXPECT_EQ(h, 24u);
    turnedSize(40, 20, 2, w, h);  // a quarter turn swaps the sides
    EXPECT_EQ(w, 24u);
    EXPECT_EQ(h, 44u);
    turnedSize(32, 32, 1, w, h);  // corners floored to -23..22 and 0..45, plus the margins
    EXPECT_EQ(w, 49u);
    EXPECT_EQ(h, 49u);

    // A 2x1 picture turned half round: the margin stays transparent and
    // both pixels are there, mirrored.
    const uint32_t pic[2] = {0xFF0000FFu, 0xFFFF0000u};
    TurnedPicture t = turnPicture(pic, 2, 1, 4);
    EXPECT_EQ(t.width, 6u);
    EXPECT_EQ(t.height, 5u);
    EXPECT_EQ(std::count(t.pixels.begin(), t.pixels.end(), pic[0]), 1);
    EXPECT_EQ(std::count(t.pixels.begin(), t.pixels.end(), pic[1]), 1);
    EXPECT_EQ(t.pixels[0], 0u);
    auto at = [&](uint32_t x, uint32_t y) { return t.pixels[y * t.width + x]; };
    size_t blue = size_t(std::find(t.pixels.begin(), t.pixels.end(), pic[0]) - t.pixels.begin());
    EXPECT_EQ(at(uint32_t(blue % t.width) - 1, uint32_t(blue / t.width)), pic[1]);  // red now left of blue
}

TEST(TokenGeometry, GlideSteps) {
    int32_t x = 0, y = 0;
    // 100 px to the right: 30, 60, 90, then the snap.
    std::vector<int32_t> seen;
    for (int i = 0; i < 10 && glideStep(x, y, 100, 0); ++i) seen.push_back(x);
    EXPECT_EQ(seen, (std::vector<int32_t>{30, 60, 90, 100}));
    // A diagonal truncates each axis: d = 141, 100 * 30 / 141 = 21.
    x = y = 0;
    ASSERT_TRUE(glideStep(x, y, 100, -100));
    EXPECT_EQ(x, 21);
    EXPECT_EQ(y, -21);
    x = 5;
    y = 5;
    EXPECT_FALSE(glideStep(x, y, 5, 5));
    ASSERT_TRUE(glideStep(x, y, 35, 5));  // exactly 30: arrives
    EXPECT_EQ(x, 35);
}

TEST(PointerGeometry, ArrowHeads) {
    // Right: c 1, s 0.
    EXPECT_EQ(arrowHead({0, 0}, {100, 0}),
              (std::vector<IntPoint>{{95, 5}, {102, 0}, {95, -5}}));
    // Left: the direction flips.
    EXPECT_EQ(arrowHead({100, 0}, {0, 0}), (std::vector<IntPoint>{{5, -5}, {-2, 0}, {5, 5}}));
    // Straight down and up: the special case, c 0.
    EXPECT_EQ(arrowHead({10, 0}, {10, 50}), (std::vector<IntPoint>{{5, 45}, {10, 52}, {15, 45}}));
    EXPECT_EQ(arrowHead({10, 50}, {10, 0}), (std::vector<IntPoint>{{15, 5}, {10, -2}, {5, 5}}));
}

TEST(PointerGeometry, LitCellsAgreeWithTheScan) {
    GridView grid{20, 0, 0, 0, 0, 400, 300};
    std::vector<IntPoint> ends = {{60, 0}, {0, -70}, {45, 45}, {-33, 12}, {3, 1}, {200, 10}};
    for (int32_t kind : {kCircle, kCone, kSquare}) {
        for (GridView g : {grid, GridView{20, 7, 13, -35, -50, 400, 300}, GridView{7, 3, 0, -100, 0, 150, 90}}) {
            for (IntPoint e : ends) {
                IntPoint s{150, 120};
                IntPoint end{s.x + e.x, s.y + e.y};
                auto fast = litCells(g, kind, s, end), all = litCellsByScan(g, kind, s, end);
                auto order = [](const IntPoint& a, const IntPoint& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; };
                std::sort(fast.begin(), fast.end(), order);
                std::sort(all.begin(), all.end(), order);
                EXPECT_EQ(fast, all) << "kind " << kind << " end " << e.x << "," << e.y << " grid " << g.gridSize;
            }
        }
    }
    // A circle of radius 20 about a cell centre on a 20 grid lights the
    // centre cell and its four neighbours.
    auto lit = litCells(GridView{20, 0, 0, 0, 0, 200, 200}, kCircle, {50, 50}, {70, 50});
    EXPECT_EQ(lit.size(), 5u);
    EXPECT_TRUE(litCells(grid, kArrow, {0, 0}, {100, 100}).empty());
    EXPECT_TRUE(litCells(grid, 0, {0, 0}, {100, 100}).empty());
    EXPECT_TRUE(litCells(grid, 9, {0, 0}, {100, 100}).empty());
    EXPECT_TRUE(litCells(GridView{0, 0, 0, 0, 0, 200, 200}, kCircle, {0, 0}, {100, 100}).empty());
}

TEST(PointerGeometry, LengthsAndLabels) {
    EXPECT_EQ(lengthLabel(pointerLength(kArrow, {0, 0}, {0, 70}), 20), "3.5");
    EXPECT_EQ(lengthLabel(pointerLength(kCircle, {0, 0}, {30, -40}), 20), "2.0");  // R = max(|dx|,|dy|)
    EXPECT_EQ(lengthLabel(pointerLength(kSquare, {0, 0}, {30, 40}), 20), "5.0");  // twice r
    EXPECT_EQ(labelPosition(kArrow, {100, 100}, {100, 0}), (IntPoint{100, 130}));  // 30 px behind
    EXPECT_EQ(labelPosition(kCircle, {100, 100}, {100, 0}), (IntPoint{100, 100}));
    auto k = squareCorners({0, 0}, {0, -10});  // end straight up: the top side's middle
    EXPECT_EQ(k[0], (IntPoint{-10, -10}));
    EXPECT_EQ(k[1], (IntPoint{10, -10}));
}
