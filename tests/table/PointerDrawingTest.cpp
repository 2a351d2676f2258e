// What a pointer draws, written down by a recording context: each of the
// four shapes goes twice, its shadow first, one pixel right and two down,
// black and three pixels wide under the arrow, half-dark and thin under the
// others, then the same segments in the pointer's colour; a kind without a
// shape draws nothing; the label goes as shadow then colour, centred.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "render/RecordingRenderContext.h"
#include "table/PointerDrawing.h"

using namespace lh::table;
using lh::render::DrawCall;

TEST(PointerDrawing, EveryShapeGoesAsShadowThenColour) {
    const lh::render::Rect clip{0, 0, 1000, 1000};
    const IntPoint s{300, 300};
    const uint32_t green = 0x0000E21Fu;
    // Ends straight up (a vertical arrow), along a slant, and to the left.
    for (IntPoint e : {IntPoint{300, 200}, IntPoint{370, 260}, IntPoint{220, 310}}) {
        for (int32_t kind : {kArrow, kCircle, kCone, kSquare}) {
            lh::render::RecordingRenderContext rc;
            drawPointerShape(rc, kind, s, e, green, clip);
            const std::vector<DrawCall>& calls = rc.calls;
            ASSERT_FALSE(calls.empty()) << kind;
            ASSERT_EQ(calls.size() % 2, 0u) << kind;
            const size_t half = calls.size() / 2;
            for (size_t i = 0; i < half; ++i) {
                const DrawCall &shadow = calls[i], &body = calls[half + i];
                ASSERT_EQ(shadow.kind, DrawCall::Line);
                EXPECT_EQ(shadow.color, kind == kArrow ? 0u : 0x7F000000u) << kind;
                EXPECT_EQ(body.color, green) << kind;
                EXPECT_EQ(shadow.width, kind == kArrow ? 3.0f : 1.0f) << kind;
                EXPECT_EQ(body.width, shadow.width);
                EXPECT_NEAR(shadow.x1, body.x1 + 1, 1e-3) << kind << " segment " << i;
                EXPECT_NEAR(shadow.y1, body.y1 + 2, 1e-3) << kind << " segment " << i;
                EXPECT_NEAR(shadow.x2, body.x2 + 1, 1e-3) << kind << " segment " << i;
                EXPECT_NEAR(shadow.y2, body.y2 + 2, 1e-3) << kind << " segment " << i;
            }
            const DrawCall& first = calls[half];
            if (kind == kArrow) {
                // The line from S to E, then the head's two strokes at E.
                ASSERT_EQ(half, 3u);
                EXPECT_EQ(first.x1, float(s.x));
                EXPECT_EQ(first.y1, float(s.y));
                EXPECT_EQ(first.x2, float(e.x));
                EXPECT_EQ(first.y2, float(e.y));
                const auto head = arrowHead(IntPoint{s.x + 1, s.y + 2}, IntPoint{e.x + 1, e.y + 2});
                EXPECT_EQ(calls[half + 1].x1, float(head[0].x - 1));
                EXPECT_EQ(calls[half + 1].y1, float(head[0].y - 2));
                EXPECT_EQ(calls[half + 2].x2, float(head[2].x - 1));
                EXPECT_EQ(calls[half + 2].y2, float(head[2].y - 2));
            } else if (kind == kSquare) {
                // Four sides, closed, around S.
                ASSERT_EQ(half, 4u);
                EXPECT_EQ(calls[half + 3].x2, first.x1);
                EXPECT_EQ(calls[half + 3].y2, first.y1);
            } else {
                // The rim keeps its distance from S: R for the circle (the
                // larger of |dx| and |dy|), r for the cone's arc.
                const float dx = float(e.x - s.x), dy = float(e.y - s.y);
                const float radius = kind == kCircle ? std::max(std::abs(dx), std::abs(dy))
                                                     : float(int32_t(std::sqrt(dx * dx + dy * dy)));
                const size_t rim = kind == kCone ? half - 2 : half;
                ASSERT_GT(rim, 8u);
                for (size_t i = 0; i < rim; ++i) {
                    const DrawCall& c = calls[half + i];
                    EXPECT_NEAR(std::hypot(c.x1 - float(s.x), c.y1 - float(s.y)), radius, 1.5f) << kind;
                }
                if (kind == kCone) {
                    // Its two sides from S.
                    EXPECT_EQ(calls[calls.size() - 2].x1, float(s.x));
                    EXPECT_EQ(calls[calls.size() - 1].y1, float(s.y));
                }
            }
        }
    }
    // Kinds without a shape.
    for (int32_t kind : {0, 5, -1}) {
        lh::render::RecordingRenderContext rc;
        drawPointerShape(rc, kind, s, IntPoint{350, 350}, green, clip);
        EXPECT_TRUE(rc.calls.empty()) << kind;
    }
}

TEST(PointerDrawing, TheLabelGoesAsShadowThenColour) {
    lh::render::RecordingRenderContext rc;
    drawPointerLabel(rc, "3.5", IntPoint{200, 100}, 0x0000E21Fu, lh::render::Rect{0, 0, 400, 400});
    ASSERT_EQ(rc.calls.size(), 2u);
    EXPECT_EQ(rc.calls[0].text, "3.5");
    EXPECT_EQ(rc.calls[0].color, 0x7F000000u);
    EXPECT_EQ(rc.calls[1].color, 0xFF1FE200u);  // the colour as a tint, opaque
    EXPECT_EQ(rc.calls[0].x1, rc.calls[1].x1 + 1);
    EXPECT_EQ(rc.calls[0].y1, rc.calls[1].y1 + 1);
}
