// The lit squares of a pointer; see PointerDrawing.h.
#include "table/PointerDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "render/Color.h"
#include "render/RenderContext.h"

namespace lh::table {

namespace {

constexpr uint32_t kShadeSide = 8;
constexpr uint32_t kShade = 0x40000000u;  // black at a quarter

}  // namespace

bool LitSquares::draw(render::RenderContext& context, int32_t gridSize, int32_t x, int32_t y,
                      const std::vector<IntPoint>& cells, const render::Rect& clip) {
    if (gridSize <= 0) return false;
    if (!shade) {
        shade = std::make_unique<render::Bitmap>();
        const std::vector<uint32_t> pixels(size_t(kShadeSide) * kShadeSide, kShade);
        made = shade->LoadFromPixels(kShadeSide, kShadeSide, pixels.data());
    }
    if (!made) return false;
    const render::Rect source = shade->Bounds();
    for (IntPoint cell : cells) {
        const render::Rect square{x + cell.x, y + cell.y, x + cell.x + gridSize, y + cell.y + gridSize};
        context.DrawBitmapTiled(*shade, source, square, 0xFFFFFFFF, &clip);
    }
    return true;
}

void drawPointerShape(render::RenderContext& context, int32_t kind, IntPoint s, IntPoint e, uint32_t color,
                      const render::Rect& clip) {
    for (int pass = 0; pass < 2; ++pass) {
        const int32_t d = pass == 0 ? 1 : 0, dy = pass == 0 ? 2 : 0;
        const IntPoint S{s.x + d, s.y + dy}, E{e.x + d, e.y + dy};
        const uint32_t c = pass == 0 ? (kind == kArrow ? 0x000000u : 0x7F000000u) : color;
        switch (kind) {
            case kArrow: {
                context.DrawLine(float(S.x), float(S.y), float(E.x), float(E.y), c, 3, &clip);
                // The body's head is the shadow's less (1, 2).
                auto head = arrowHead(IntPoint{s.x + 1, s.y + 2}, IntPoint{e.x + 1, e.y + 2});
                render::PointF pts[3];
                for (int i = 0; i < 3; ++i) pts[i] = {float(head[size_t(i)].x - 1 + d), float(head[size_t(i)].y - 2 + dy)};
                context.DrawPolyline(pts, 3, c, 3, &clip);
                break;
            }
            case kCircle: {
                int32_t r = std::max(std::abs(e.x - s.x), std::abs(e.y - s.y));
                context.DrawEllipse(S.x - r, S.y - r, S.x + r, S.y + r, c, 1, &clip);
                break;
            }
            case kCone: {
                float a1 = 0, a2 = 0;
                coneAngles(s, e, a1, a2);
                float r = float(pointerRadius(s, e));
                context.DrawArc(float(S.x), float(S.y), r, a1, a2, c, 1, &clip);
                context.DrawLine(float(S.x), float(S.y), float(int32_t(float(S.x) + r * std::sin(a1))),
                                 float(int32_t(float(S.y) - r * std::cos(a1))), c, 1, &clip);
                context.DrawLine(float(S.x), float(S.y), float(int32_t(float(S.x) + r * std::sin(a2))),
                                 float(int32_t(float(S.y) - r * std::cos(a2))), c, 1, &clip);
                break;
            }
            case kSquare: {
                auto k = squareCorners(S, E);
                render::PointF pts[5];
                for (int i = 0; i < 5; ++i) pts[i] = {float(k[size_t(i % 4)].x), float(k[size_t(i % 4)].y)};
                context.DrawPolyline(pts, 5, c, 1, &clip);
                break;
            }
            default:
                break;
        }
    }
}

void drawPointerLabel(render::RenderContext& context, const std::string& label, IntPoint at, uint32_t color,
                      const render::Rect& clip) {
    const int32_t length = int32_t(label.size());
    const render::TextSize size = context.MeasureText(label.c_str(), length);
    const int32_t x = at.x - size.width / 2, y = at.y - size.height / 2;
    context.DrawTextInColor(x + 1, y + 1, label.c_str(), length, 0x7F000000u, &clip);
    context.DrawTextInColor(x, y, label.c_str(), length, render::opaqueLineColorToArgb(color), &clip);
}

}  // namespace lh::table
