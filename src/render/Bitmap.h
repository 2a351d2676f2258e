// A picture on the graphics device: 32-bit ARGB (bytes B, G, R, A in
// memory), top row first, straight alpha. Four kinds:
//   1 loaded from a picture, 2 made empty for pixel writes: a texture plus a
//     CPU copy, which survive resets and are uploaded again into a new context;
//   3 render target: a texture with its own FBO, lost at a reset and made
//     anew empty, so its owner draws it again;
//   4 dynamic, in system memory only: never drawn;
//   5 streamed: a texture with no CPU copy, written a box at a time from
//     the owner's memory, for owners that can make any part of their
//     picture again (map tiles). Lost at a reset and made anew empty:
//     ContentLost() tells the owner to write all of it again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "render/DeviceResource.h"
#include "render/Rect.h"

namespace lh::render {

class RenderContext;

class Bitmap : public DeviceResource {
public:
    enum State : int { Empty = 0, Loaded = 1, Writable = 2, RenderTarget = 3, SystemMemory = 4, Streamed = 5 };

    Bitmap();
    ~Bitmap() override;
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    // A decoded picture: width x height pixels of 0xAARRGGBB, top row first.
    // Picture decoders end here. False (and the bitmap empty) on a bad size.
    bool LoadFromPixels(uint32_t width, uint32_t height, const uint32_t* argb);
    // Transparent black pixels; `dynamic` keeps them in system memory only.
    bool CreateEmpty(uint32_t width, uint32_t height, bool dynamic);
    bool CreateRenderTarget(uint32_t width, uint32_t height);
    bool CreateStreamed(uint32_t width, uint32_t height);
    // Streamed: writes `box` of the bitmap from `argb`, whose pixel (x, y)
    // of the box is argb[(y - box.top) * stride + (x - box.left)]. Only the
    // box goes to the device.
    void WriteBox(const Rect& box, const uint32_t* argb, int32_t stride);
    // Streamed: the texture does not hold what was written (it was never
    // made, or the device was reset). A write of the whole bitmap ends it.
    bool ContentLost() const { return state == Streamed && lost; }
    void Release();

    uint32_t GetWidth() const { return width; }
    uint32_t GetHeight() const { return height; }
    int GetState() const { return state; }
    bool IsEmpty() const { return state == Empty; }
    Rect Bounds() const { return Rect{0, 0, int32_t(width), int32_t(height)}; }

    // Pixel access. A render target is read back on Lock; Unlock sends the
    // pixels to the texture.
    bool Lock();
    void Unlock();
    bool IsLocked() const { return locked; }
    // Colour in the platform form 0x00BBGGRR; alpha is kept.
    void SetPixelRgb(uint32_t x, uint32_t y, uint32_t bgr);
    void SetPixelAlpha(uint32_t x, uint32_t y, uint8_t alpha);
    uint8_t GetPixelAlpha(uint32_t x, uint32_t y) const;
    // 0xAARRGGBB, or 0x00RRGGBB without alpha.
    uint32_t GetPixel(uint32_t x, uint32_t y, bool withAlpha) const;
    void SetAllAlpha(uint8_t alpha);
    // The CPU copy (valid while locked, and always for kinds 1, 2, 4).
    const std::vector<uint32_t>& Pixels() const { return pixels; }
    std::vector<uint32_t>& Pixels() { return pixels; }

    // PNG files of the picture (a render target is read back for it):
    // colour with alpha, or the alpha alone as grey. False on failure.
    bool SavePng(const std::filesystem::path& path);
    bool SaveGrayscalePng(const std::filesystem::path& path);

    // Drawing into a render target: binds its FBO and hands out its context,
    // made once and kept; EndRender binds back what was bound before.
    RenderContext* BeginRender();
    void EndRender();
    // A render target back to transparent black, as it was made; for an
    // owner that paints its picture anew over the whole of it.
    void ClearTarget();

    // Every pixel's alpha is 255: drawn in a colour of full alpha it covers
    // what lies under it, so it needs no blending. Known once the pixels are
    // on the device; a render target never counts as opaque.
    bool IsOpaque() const { return opaque; }

    // A render target's GL framebuffer; 0 for the other kinds.
    unsigned TargetFramebuffer() const { return state == RenderTarget ? framebuffer : 0; }

    // GL texture name; 0 when there is nothing to draw. A picture filled
    // before the device existed gets its texture here, on first use.
    unsigned Texture();

    void OnDeviceLost() override;
    void OnDeviceReset() override;

private:
    bool makeTexture();
    void upload();
    void findOpaque();
    void releaseGl();

    unsigned texture = 0;
    unsigned framebuffer = 0;
    uint32_t width = 0, height = 0;
    int state = Empty;
    bool locked = false;
    bool opaque = false;
    bool lost = false;
    std::vector<uint32_t> pixels;
    std::unique_ptr<RenderContext> renderContext;
};

}  // namespace lh::render
