// The recording render context.
#include "render/RecordingRenderContext.h"

#include "render/Bitmap.h"

namespace lh::render {

std::vector<std::string> RecordingRenderContext::kinds() const {
    static const char* names[] = {"beginScene", "endScene", "beginSprites", "endSprites", "bitmap",
                                  "tiledBitmap", "line",   "rect",         "text"};
    std::vector<std::string> out;
    for (const DrawCall& c : calls) out.push_back(names[c.kind]);
    return out;
}

void RecordingRenderContext::DrawBitmapPart(render::Bitmap& bitmap, const render::Rect& source, int32_t x,
                                            int32_t y, uint32_t argb, const render::Rect* clip) {
    DrawCall c(DrawCall::Bitmap);
    c.bitmap = &bitmap;
    c.source = source;
    c.x1 = float(x);
    c.y1 = float(y);
    c.color = argb;
    c.clipped = clip != nullptr;
    calls.push_back(c);
}

void RecordingRenderContext::DrawBitmapTiled(render::Bitmap& bitmap, const render::Rect& source,
                                             const render::Rect& target, uint32_t argb, const render::Rect* clip) {
    DrawCall c(DrawCall::TiledBitmap);
    c.bitmap = &bitmap;
    c.source = source;
    c.x1 = float(target.left);
    c.y1 = float(target.top);
    c.x2 = float(target.right);
    c.y2 = float(target.bottom);
    c.color = argb;
    c.clipped = clip != nullptr;
    calls.push_back(c);
}

int RecordingRenderContext::DrawLine(float x1, float y1, float x2, float y2, uint32_t bgr, float lineWidth,
                                     const render::Rect* clip) {
    DrawCall c(DrawCall::Line);
    c.x1 = x1;
    c.y1 = y1;
    c.x2 = x2;
    c.y2 = y2;
    c.color = bgr;
    c.width = lineWidth;
    c.clipped = clip != nullptr;
    calls.push_back(c);
    return 1;
}

int RecordingRenderContext::DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr,
                                     bool filled) {
    DrawCall c(DrawCall::Rect);
    c.x1 = float(left);
    c.y1 = float(top);
    c.x2 = float(right);
    c.y2 = float(bottom);
    c.color = bgr;
    c.filled = filled;
    calls.push_back(c);
    return 1;
}

void RecordingRenderContext::DrawText(int32_t x, int32_t y, const char* text, int32_t length,
                                      const render::Rect* clip) {
    DrawCall c(DrawCall::Text);
    c.x1 = float(x);
    c.y1 = float(y);
    if (text && length > 0) c.text.assign(text, size_t(length));
    c.clipped = clip != nullptr;
    calls.push_back(c);
}

void RecordingRenderContext::DrawTextInColor(int32_t x, int32_t y, const char* text, int32_t length,
                                             uint32_t argb, const render::Rect* clip) {
    DrawText(x, y, text, length, clip);
    calls.back().color = argb;
}

void RecordingRenderContext::drawSegments(const std::vector<PointF>& points, uint32_t bgr, float lineWidth,
                                          const render::Rect* clip, bool) {
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        DrawLine(points[i].x, points[i].y, points[i + 1].x, points[i + 1].y, bgr, lineWidth, clip);
    }
}

}  // namespace lh::render
