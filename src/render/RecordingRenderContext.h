// A render context that draws nothing and writes down what it was asked to
// draw, in order: for tests of drawing order and of what a component draws,
// without a GL context.
#pragma once

#include <string>
#include <vector>

#include "render/RenderContext.h"

namespace lh::render {

struct DrawCall {
    enum Kind { BeginScene, EndScene, BeginSprites, EndSprites, Bitmap, TiledBitmap, Line, Rect, Text };
    explicit DrawCall(Kind k) : kind(k) {}
    Kind kind;
    const render::Bitmap* bitmap = nullptr;
    render::Rect source;                   // bitmap part drawn (before clipping)
    float x1 = 0, y1 = 0, x2 = 0, y2 = 0;  // position, or line ends, or rectangle
    uint32_t color = 0;
    float width = 0;
    bool filled = false;
    std::string text;
    bool clipped = false;  // an extra clip rectangle was given
};

class RecordingRenderContext : public RenderContext {
public:
    RecordingRenderContext() = default;

    std::vector<DrawCall> calls;
    // A label for every call, for quick order checks ("bitmap", "line", ...).
    std::vector<std::string> kinds() const;

    void BeginScene() override { calls.push_back(DrawCall(DrawCall::BeginScene)); }
    void EndScene() override { calls.push_back(DrawCall(DrawCall::EndScene)); }
    void BeginSprites() override { calls.push_back(DrawCall(DrawCall::BeginSprites)); }
    void EndSprites() override { calls.push_back(DrawCall(DrawCall::EndSprites)); }
    void DrawBitmapTiled(render::Bitmap& bitmap, const render::Rect& source, const render::Rect& target,
                         uint32_t argb, const render::Rect* clip = nullptr) override;
    void DrawBitmapPart(render::Bitmap& bitmap, const render::Rect& source, int32_t x, int32_t y,
                        uint32_t argb, const render::Rect* clip = nullptr) override;
    int DrawLine(float x1, float y1, float x2, float y2, uint32_t bgr, float lineWidth,
                 const render::Rect* clip = nullptr) override;
    int DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr,
                 bool filled) override;
    void DrawText(int32_t x, int32_t y, const char* text, int32_t length,
                  const render::Rect* clip = nullptr) override;
    // Written down as text with `color` set to `argb`.
    void DrawTextInColor(int32_t x, int32_t y, const char* text, int32_t length, uint32_t argb,
                         const render::Rect* clip = nullptr) override;

protected:
    void drawSegments(const std::vector<PointF>& points, uint32_t bgr, float lineWidth,
                      const render::Rect* clip, bool uncut) override;
};

}  // namespace lh::render
