// The target of all two-dimensional drawing: bitmaps tinted by a colour,
// antialiased lines, rectangles, ellipses, arcs and text, each cut to the
// context's clip rectangle, drawn in call order.
//
// Made with a size, it draws through the device's 2D pipeline into whatever
// target is bound (the back buffer, or a render-target bitmap). Made without
// one, it holds no GL objects and can still measure text. The drawing
// operations are virtual so that RecordingRenderContext can stand in for it
// where tests want the calls rather than the pixels.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "render/DeviceResource.h"
#include "render/Font.h"
#include "render/Rect.h"

namespace lh::render {

class Bitmap;

struct PointF {
    float x, y;
};

class RenderContext : public DeviceResource {
public:
    // A context that measures text only.
    RenderContext();
    // A context for drawing into a target of width x height; `target` says
    // it draws into a render-target bitmap rather than the back buffer.
    RenderContext(bool target, int32_t width, int32_t height);
    ~RenderContext() override;
    RenderContext(const RenderContext&) = delete;
    RenderContext& operator=(const RenderContext&) = delete;

    const Rect& ClipRect() const { return clipRect; }
    void SetClipRect(const Rect& clip) { clipRect = clip; }
    int32_t Width() const { return width; }
    int32_t Height() const { return height; }
    bool IsRegistered() const { return registered; }
    bool IsTarget() const { return target; }

    // Scenes nest: the outermost pair begins and ends the device scene.
    virtual void BeginScene();
    virtual void EndScene();
    virtual void BeginSprites();
    virtual void EndSprites();

    // Draws the bitmap at (x, y), cut to the clip rectangle and to `clip`,
    // texel for texel, multiplied by the colour 0xAARRGGBB.
    virtual void DrawBitmap(Bitmap& bitmap, int32_t x, int32_t y, uint32_t argb, const Rect* clip = nullptr);
    // The part `source` of the bitmap with its top left corner at (x, y).
    virtual void DrawBitmapPart(Bitmap& bitmap, const Rect& source, int32_t x, int32_t y, uint32_t argb,
                                const Rect* clip = nullptr);
    // Colours below are 0x00BBGGRR with alpha 0 meaning opaque. Coordinates
    // name pixel centres. Return 0 when nothing could be drawn.
    // `source` repeated from the top-left corner of `target` over all of
    // it, cut at its right and bottom edges, at `clip` and the clip
    // rectangle; texel for texel, multiplied by `argb`. One quad, however
    // small the source.
    virtual void DrawBitmapTiled(Bitmap& bitmap, const Rect& source, const Rect& target, uint32_t argb,
                                 const Rect* clip = nullptr);
    virtual int DrawLine(float x1, float y1, float x2, float y2, uint32_t bgr, float lineWidth,
                         const Rect* clip = nullptr);
    virtual int DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr, bool filled);
    void DrawPolyline(const PointF* points, int32_t count, uint32_t bgr, float lineWidth,
                      const Rect* clip = nullptr);
    void DrawEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t bgr, float lineWidth,
                     const Rect* clip = nullptr);
    // Angles in radians, 0 up, growing clockwise.
    void DrawArc(float cx, float cy, float radius, float start, float end, uint32_t bgr, float lineWidth,
                 const Rect* clip = nullptr);

    // Text in the current font; nothing (or 0) without a loaded one.
    void SetFont(Font* font) { current = font; }
    Font* GetFont() const { return current; }
    void PushFont();
    void PopFont();
    virtual void DrawText(int32_t x, int32_t y, const char* text, int32_t length, const Rect* clip = nullptr);
    // The same in colour `argb` (0xAARRGGBB) instead of the font's own: every
    // glyph is multiplied by it, as it would be by the font's colour.
    virtual void DrawTextInColor(int32_t x, int32_t y, const char* text, int32_t length, uint32_t argb,
                                 const Rect* clip = nullptr);
    // For a font drawing its glyphs: the colour to multiply them by, which is
    // the font's own `fontColor` unless the text goes in another colour.
    uint32_t GlyphColor(uint32_t fontColor) const { return textColor.value_or(fontColor); }
    TextSize MeasureText(const char* text, int32_t length) const;
    int32_t HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const;
    // How many characters from the start fit in `maxWidth` pixels.
    int32_t FitText(const char* text, int32_t length, int32_t maxWidth) const;
    int32_t LineHeight() const;

    void OnDeviceLost() override;
    void OnDeviceReset() override;

protected:
    // The segments of DrawPolyline, DrawEllipse and DrawArc end here: each
    // cut as DrawLine cuts, or with `uncut` all drawn as they are.
    virtual void drawSegments(const std::vector<PointF>& points, uint32_t bgr, float lineWidth,
                              const Rect* clip, bool uncut);
    bool usable() const;

private:
    bool registered = false;
    bool target = false;
    bool ready = false;  // the device's pipeline is there to draw with
    int32_t width = 0, height = 0;
    Rect clipRect;
    Font* current = nullptr;
    std::optional<uint32_t> textColor;  // during DrawTextInColor
    std::vector<Font*> fontStack;
};

}  // namespace lh::render
