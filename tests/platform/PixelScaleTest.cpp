// Window points and drawable pixels: a HiDPI window of twice and one and a
// half times as many pixels, and the sizes that leave a point a pixel.
#include <gtest/gtest.h>

#include "platform/PixelScale.h"

namespace lh::platform {
namespace {

TEST(PixelScale, PointsBecomePixelsAndBackOnScaledScreensOnly) {
    struct Row {
        PixelScale scale;
        int x, y;        // window points
        int px, py;      // drawable pixels
    };
    const Row rows[] = {
        {{1024, 768, 2048, 1536}, 512, 384, 1024, 768},  // twice
        {{1024, 768, 2048, 1536}, 1023, 767, 2046, 1534},
        {{1024, 768, 1536, 1152}, 101, 33, 151, 49},     // one and a half, truncated
        {{1024, 768, 1024, 768}, 700, 500, 700, 500},    // the same size
        {{0, 0, 2048, 1536}, 700, 500, 700, 500},        // unknown sizes leave it alone
        {{1024, 768, 0, 0}, 700, 500, 700, 500},
        {{1024, 768, 2048, 1536}, -10, -4, -20, -8},     // outside, held by the capture
    };
    for (const Row& r : rows) {
        int x = r.x, y = r.y;
        r.scale.toPixels(x, y);
        EXPECT_EQ(x, r.px) << r.x;
        EXPECT_EQ(y, r.py) << r.y;
    }
    // A cursor moved by the program to a pixel lands on the point that shows it.
    PixelScale twice{1280, 800, 2560, 1600};
    int x = 2001, y = 999;
    twice.toPoints(x, y);
    EXPECT_EQ(x, 1000);
    EXPECT_EQ(y, 499);
    EXPECT_TRUE(twice.scaled());
    EXPECT_FALSE((PixelScale{1280, 800, 1280, 800}.scaled()));
}

}  // namespace
}  // namespace lh::platform
