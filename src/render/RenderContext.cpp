// Two-dimensional drawing through the device's pipeline.
#include "render/RenderContext.h"

#include <cmath>
#include <cstdlib>

#include "render/Bitmap.h"
#include "render/Color.h"
#include "render/GraphicsDevice.h"
#include "render/LineClip.h"

namespace lh::render {

namespace {

constexpr float kTwoPi = 6.28318f;

Pipeline2D& pipe() {
    return GraphicsDevice::Get().pipeline();
}

Rect cut(const Rect& a, const Rect* b) {
    return b ? intersect(a, *b) : a;
}

}  // namespace

RenderContext::RenderContext() = default;

RenderContext::RenderContext(bool isTarget, int32_t w, int32_t h)
    : registered(true), target(isTarget), width(w), height(h), clipRect{0, 0, w, h} {
    GraphicsDevice::Get().Register(this);
    ready = GraphicsDevice::Get().IsCreated();
}

RenderContext::~RenderContext() {
    if (registered) GraphicsDevice::Get().Unregister(this);
}

bool RenderContext::usable() const {
    return registered && ready && pipe().isReady();
}

void RenderContext::OnDeviceLost() {
    ready = false;
}

void RenderContext::OnDeviceReset() {
    ready = GraphicsDevice::Get().IsCreated();
}

void RenderContext::BeginScene() {
    GraphicsDevice::Get().BeginScene();
    BeginSprites();
}

void RenderContext::EndScene() {
    EndSprites();
    GraphicsDevice::Get().EndScene();
}

void RenderContext::BeginSprites() {
    if (usable()) pipe().begin2D();
}

void RenderContext::EndSprites() {
    if (usable()) pipe().flush();
}

void RenderContext::DrawBitmap(Bitmap& bitmap, int32_t x, int32_t y, uint32_t argb, const Rect* clip) {
    DrawBitmapPart(bitmap, bitmap.Bounds(), x, y, argb, clip);
}

void RenderContext::DrawBitmapPart(Bitmap& bitmap, const Rect& source, int32_t x, int32_t y, uint32_t argb,
                                   const Rect* clip) {
    if (!usable()) return;
    Rect src = intersect(source, bitmap.Bounds());
    if (src.isEmpty()) return;
    // Where the whole source would land, then what of it survives the clips.
    int32_t dx = x + (src.left - source.left), dy = y + (src.top - source.top);
    Rect placed{dx, dy, dx + src.width(), dy + src.height()};
    Rect piece = cut(intersect(placed, clipRect), clip);
    if (piece.isEmpty()) return;
    unsigned texture = bitmap.Texture();
    if (!texture) return;
    float u0 = float(src.left + piece.left - dx), v0 = float(src.top + piece.top - dy);
    pipe().addSprite(texture, float(piece.left), float(piece.top), float(piece.right), float(piece.bottom),
                     u0, v0, u0 + float(piece.width()), v0 + float(piece.height()), argb,
                     bitmap.IsOpaque() && (argb >> 24) == 0xFF);
}

void RenderContext::DrawBitmapTiled(Bitmap& bitmap, const Rect& source, const Rect& target, uint32_t argb,
                                    const Rect* clip) {
    if (!usable()) return;
    if (source.isEmpty() || intersect(source, bitmap.Bounds()).isEmpty()) return;
    Rect piece = cut(intersect(target, clipRect), clip);
    if (piece.isEmpty()) return;
    unsigned texture = bitmap.Texture();
    if (!texture) return;
    const float pattern[4] = {float(source.left), float(source.top), float(source.width()), float(source.height())};
    pipe().addTiledSprite(texture, float(piece.left), float(piece.top), float(piece.right), float(piece.bottom),
                          float(piece.left - target.left), float(piece.top - target.top), pattern, argb);
}

int RenderContext::DrawLine(float x1, float y1, float x2, float y2, uint32_t bgr, float lineWidth,
                            const Rect* clip) {
    if (!usable()) return 0;
    // The centre line decides whether and how far the line is drawn; its
    // width then stays inside the clip too, so a wide line along a clip
    // edge does not paint over its neighbour.
    const Rect bounds = cut(clipRect, clip);
    if (!clipLine(x1, y1, x2, y2, bounds)) return 1;
    // Coordinates name pixel centres, which sit half a pixel in.
    pipe().addLine(x1 + 0.5f, y1 + 0.5f, x2 + 0.5f, y2 + 0.5f, lineWidth, lineColorToArgb(bgr), &bounds);
    return 1;
}

int RenderContext::DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr,
                            bool filled) {
    if (!usable()) return 0;
    if (filled) {
        // One line along the middle as wide as the rectangle is high: it
        // covers exactly the rectangle. It is not cut to the clip rectangle.
        pipe().addFill(float(left), float(top), float(right), float(bottom), lineColorToArgb(bgr));
        return 1;
    }
    std::vector<PointF> outline{{float(left), float(top)},
                                {float(left), float(bottom - 1)},
                                {float(right - 1), float(bottom - 1)},
                                {float(right - 1), float(top)},
                                {float(left), float(top)}};
    uint32_t opaque = bgr & 0x00FFFFFFu;
    for (size_t i = 0; i + 1 < outline.size(); ++i) {
        pipe().addLine(outline[i].x + 0.5f, outline[i].y + 0.5f, outline[i + 1].x + 0.5f,
                       outline[i + 1].y + 0.5f, 1.0f, lineColorToArgb(opaque));
    }
    return 1;
}

void RenderContext::DrawPolyline(const PointF* points, int32_t count, uint32_t bgr, float lineWidth,
                                 const Rect* clip) {
    if (!points || count < 2) return;
    // Without a clip the whole line goes in one call, uncut.
    drawSegments(std::vector<PointF>(points, points + count), bgr, lineWidth, clip, clip == nullptr);
}

void RenderContext::drawSegments(const std::vector<PointF>& points, uint32_t bgr, float lineWidth,
                                 const Rect* clip, bool uncut) {
    if (uncut) {
        if (!usable()) return;
        uint32_t argb = lineColorToArgb(bgr);
        for (size_t i = 0; i + 1 < points.size(); ++i) {
            pipe().addLine(points[i].x + 0.5f, points[i].y + 0.5f, points[i + 1].x + 0.5f,
                           points[i + 1].y + 0.5f, lineWidth, argb);
        }
        return;
    }
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        DrawLine(points[i].x, points[i].y, points[i + 1].x, points[i + 1].y, bgr, lineWidth, clip);
    }
}

void RenderContext::DrawEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr,
                                float lineWidth, const Rect* clip) {
    int32_t rx = std::abs(right - left) / 2, ry = std::abs(bottom - top) / 2;
    int32_t cx = (left + right) / 2, cy = (top + bottom) / 2;
    int32_t n = std::max(rx, ry) / 3;
    if (n < 20) n = 20;
    std::vector<PointF> points;
    points.reserve(size_t(n) + 1);
    points.push_back({float(cx), float(cy - ry)});
    for (int32_t k = 1; k <= n; ++k) {
        float angle = float(k) * kTwoPi / float(n);
        points.push_back({float(cx) + float(rx) * std::sin(angle), float(cy) - float(ry) * std::cos(angle)});
    }
    drawSegments(points, bgr, lineWidth, clip, false);
}

void RenderContext::DrawArc(float cx, float cy, float radius, float start, float end, uint32_t bgr,
                            float lineWidth, const Rect* clip) {
    if (end < start) end += kTwoPi;
    int32_t r3 = int32_t(radius) / 3;
    int32_t n = int32_t((end - start) * 15.9155f * float(r3) * 0.01f);
    if (n < 10) n = 10;
    std::vector<PointF> points;
    points.reserve(size_t(n) + 1);
    for (int32_t k = 0; k <= n; ++k) {
        float angle = start + (end - start) * float(k) / float(n);
        points.push_back({cx + radius * std::sin(angle), cy - radius * std::cos(angle)});
    }
    drawSegments(points, bgr, lineWidth, clip, false);
}

void RenderContext::PushFont() {
    fontStack.push_back(current);
}

void RenderContext::PopFont() {
    if (fontStack.empty()) return;
    current = fontStack.back();
    fontStack.pop_back();
}

void RenderContext::DrawText(int32_t x, int32_t y, const char* text, int32_t length, const Rect* clip) {
    if (!current || !current->IsLoaded() || !text || length <= 0) return;
    current->DrawText(*this, x, y, text, length, clip);
}

void RenderContext::DrawTextInColor(int32_t x, int32_t y, const char* text, int32_t length, uint32_t argb,
                                    const Rect* clip) {
    const std::optional<uint32_t> outer = textColor;
    textColor = argb;
    DrawText(x, y, text, length, clip);
    textColor = outer;
}

TextSize RenderContext::MeasureText(const char* text, int32_t length) const {
    if (!current || !current->IsLoaded() || !text || length <= 0) return {};
    return current->MeasureText(text, length);
}

int32_t RenderContext::HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const {
    extent = 0;
    if (!current || !current->IsLoaded() || !text || length <= 0) return 0;
    return current->HitTestText(text, length, x, extent);
}

int32_t RenderContext::FitText(const char* text, int32_t length, int32_t maxWidth) const {
    int32_t extent = 0;
    return HitTestText(text, length, maxWidth, extent);
}

int32_t RenderContext::LineHeight() const {
    if (!current || !current->IsLoaded()) return 0;
    return current->LineHeight();
}

}  // namespace lh::render
