// Rectangles, line clipping, colour forms and the dice camera: plain
// arithmetic, no GL.
#include <gtest/gtest.h>

#include "render/Camera.h"
#include "render/Color.h"
#include "render/LineClip.h"
#include "render/Rect.h"

namespace lh::render {
namespace {

TEST(Geometry, RectanglesUniteAndIntersect) {
    Rect a{10, 10, 20, 20}, b{15, 5, 30, 12};
    EXPECT_EQ(unite(a, b), (Rect{10, 5, 30, 20}));
    EXPECT_EQ(intersect(a, b), (Rect{15, 10, 20, 12}));
    EXPECT_TRUE(intersect(a, Rect{20, 20, 30, 30}).isEmpty());  // touching edges share no pixel
    EXPECT_EQ(unite(Rect{}, a), a);
    EXPECT_EQ(unite(a, Rect{5, 5, 5, 9}), a);  // an empty rectangle adds nothing
}

TEST(Geometry, CohenSutherlandClipping) {
    Rect clip{0, 0, 100, 50};
    EXPECT_EQ(outCode(-1, 10, clip), OutLeft);
    EXPECT_EQ(outCode(100, 10, clip), OutRight);
    EXPECT_EQ(outCode(10, 50, clip), OutBottom);  // y grows downwards
    EXPECT_EQ(outCode(10, -1, clip), OutTop);
    EXPECT_EQ(outCode(-5, -5, clip), OutLeft | OutTop);
    EXPECT_EQ(outCode(99, 49, clip), 0);  // last row and column are inside

    float x1 = -50, y1 = 25, x2 = 150, y2 = 25;
    ASSERT_TRUE(clipLine(x1, y1, x2, y2, clip));
    EXPECT_FLOAT_EQ(x1, 0);
    EXPECT_FLOAT_EQ(x2, 99);
    EXPECT_FLOAT_EQ(y1, 25);

    x1 = -10, y1 = -10, x2 = 60, y2 = 60;  // diagonal through the top left corner
    ASSERT_TRUE(clipLine(x1, y1, x2, y2, clip));
    EXPECT_FLOAT_EQ(x1, 0);
    EXPECT_FLOAT_EQ(y1, 0);
    EXPECT_FLOAT_EQ(x2, 49);
    EXPECT_FLOAT_EQ(y2, 49);

    x1 = -10, y1 = 60, x2 = 200, y2 = 70;  // wholly below
    EXPECT_FALSE(clipLine(x1, y1, x2, y2, clip));
    x1 = 120, y1 = -20, x2 = 60, y2 = -1;  // outside, across two regions
    EXPECT_FALSE(clipLine(x1, y1, x2, y2, clip));
    x1 = 5, y1 = 5, x2 = 6, y2 = 6;
    EXPECT_FALSE(clipLine(x1, y1, x2, y2, Rect{}));
}

TEST(Geometry, LineColoursSwapBytesAndReadAlphaZeroAsOpaque) {
    EXPECT_EQ(lineColorToArgb(0x000000FF), 0xFFFF0000u);  // red in the low byte
    EXPECT_EQ(lineColorToArgb(0x800000FF), 0x80FF0000u);
    EXPECT_EQ(lineColorToArgb(0x00123456), 0xFF563412u);
    EXPECT_EQ(opaqueLineColorToArgb(0x20FF0000), 0xFF0000FFu);
}

TEST(Geometry, DiceCameraProjection) {
    // 1024 x 800 is the symmetric case.
    DiceCamera c = diceCamera(1024, 800);
    EXPECT_FLOAT_EQ(c.projection[0][0], 2.0f * 130.0f / 39.0f);
    EXPECT_FLOAT_EQ(c.projection[1][1], 2.0f * 130.0f / 30.46875f);
    EXPECT_FLOAT_EQ(c.projection[2][0], 0.0f);
    EXPECT_FLOAT_EQ(c.projection[2][1], 0.0f);
    EXPECT_FLOAT_EQ(c.projection[2][2], 150.0f / 20.0f);
    EXPECT_FLOAT_EQ(c.projection[2][3], 1.0f);
    EXPECT_FLOAT_EQ(c.projection[3][2], 130.0f * 150.0f / -20.0f);

    // At 1024 x 768 the near plane's corners land on the window's corners:
    // left -19.5, bottom -15.234375 - (768 - 800) * 39/1024 = -14.015625.
    c = diceCamera(1024, 768);
    glm::mat4 world(1.0f);
    glm::vec3 s = projectPoint({-19.5f, -14.015625f, -20.0f}, c.viewport, c.projection, c.view, world);
    EXPECT_NEAR(s.x, 0.0f, 1e-3);
    EXPECT_NEAR(s.y, 768.0f, 1e-3);
    EXPECT_NEAR(s.z, 0.0f, 1e-5);
    s = projectPoint({19.5f, 15.234375f, -20.0f}, c.viewport, c.projection, c.view, world);
    EXPECT_NEAR(s.x, 1024.0f, 1e-3);
    EXPECT_NEAR(s.y, 0.0f, 1e-3);
    // The table z = 0 is the far plane.
    s = projectPoint({0.0f, 0.0f, 0.0f}, c.viewport, c.projection, c.view, world);
    EXPECT_NEAR(s.z, 1.0f, 1e-5);
    glm::vec3 back = unprojectPoint({300.0f, 200.0f, 1.0f}, c.viewport, c.projection, c.view, world);
    EXPECT_NEAR(back.z, 0.0f, 1e-3);
    glm::vec3 again = projectPoint(back, c.viewport, c.projection, c.view, world);
    EXPECT_NEAR(again.x, 300.0f, 1e-2);
    EXPECT_NEAR(again.y, 200.0f, 1e-2);

    // A wider window grows to the right only: the top left stays.
    DiceCamera wide = diceCamera(1280, 768);
    s = projectPoint({-19.5f, 15.234375f, -20.0f}, wide.viewport, wide.projection, wide.view, world);
    EXPECT_NEAR(s.x, 0.0f, 1e-3);
    EXPECT_NEAR(s.y, 0.0f, 1e-3);
}

TEST(Geometry, GlClipSpaceFlipsYShiftsHalfAPixelAndSpreadsDepth) {
    DiceCamera c = diceCamera(1024, 768);
    glm::mat4 gl = glClipFromD3D(c.projection * c.view, 1024, 768);
    // Top left of the near plane: D3D NDC (-1, 1, 0).
    glm::vec4 p = gl * glm::vec4(-19.5f, 15.234375f, -20.0f, 1.0f);
    glm::vec3 ndc = glm::vec3(p) / p.w;
    EXPECT_NEAR(ndc.x, -1.0f + 1.0f / 1024.0f, 1e-5);
    EXPECT_NEAR(ndc.y, -1.0f + 1.0f / 768.0f, 1e-5);  // our top row is GL's first row
    EXPECT_NEAR(ndc.z, -1.0f, 1e-5);
    p = gl * glm::vec4(0.0f, 0.0f, 0.0f, 1.0f);  // the table, on the far plane
    EXPECT_NEAR(p.z / p.w, 1.0f, 1e-5);
}

}  // namespace
}  // namespace lh::render
