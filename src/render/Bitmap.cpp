// Bitmaps as GL textures with CPU copies.
#include "render/Bitmap.h"

#include <epoxy/gl.h>

#include <algorithm>

#include "render/BitmapLimits.h"
#include "render/GraphicsDevice.h"
#include "render/PngWriter.h"
#include "render/RenderContext.h"

namespace lh::render {

namespace {

bool validSize(uint32_t w, uint32_t h) { return bitmapSizeAllowed(w, h); }

bool deviceUp() {
    return GraphicsDevice::Get().IsCreated() && !GraphicsDevice::Get().IsContextLost();
}

}  // namespace

Bitmap::Bitmap() {
    GraphicsDevice::Get().Register(this);
}

Bitmap::~Bitmap() {
    Release();
    GraphicsDevice::Get().Unregister(this);
}

void Bitmap::releaseGl() {
    if (deviceUp()) {
        // Quads of this texture may wait in the batch: they go first.
        if (texture) GraphicsDevice::Get().pipeline().flush();
        if (framebuffer) glDeleteFramebuffers(1, &framebuffer);
        if (texture) glDeleteTextures(1, &texture);
    }
    framebuffer = texture = 0;
}

void Bitmap::Release() {
    renderContext.reset();
    releaseGl();
    pixels.clear();
    pixels.shrink_to_fit();
    width = height = 0;
    state = Empty;
    locked = false;
    opaque = false;
}

bool Bitmap::LoadFromPixels(uint32_t w, uint32_t h, const uint32_t* argb) {
    Release();
    if (!validSize(w, h) || !argb) return false;
    width = w;
    height = h;
    pixels.assign(argb, argb + size_t(w) * h);
    state = Loaded;
    if (deviceUp()) makeTexture();
    return true;
}

bool Bitmap::CreateEmpty(uint32_t w, uint32_t h, bool dynamic) {
    Release();
    if (!validSize(w, h)) return false;
    width = w;
    height = h;
    pixels.assign(size_t(w) * h, 0);
    state = dynamic ? SystemMemory : Writable;
    if (state == Writable && deviceUp()) makeTexture();
    return true;
}

bool Bitmap::CreateRenderTarget(uint32_t w, uint32_t h) {
    Release();
    if (!validSize(w, h) || !deviceUp()) return false;
    width = w;
    height = h;
    state = RenderTarget;
    if (!makeTexture()) {
        Release();
        return false;
    }
    return true;
}

bool Bitmap::CreateStreamed(uint32_t w, uint32_t h) {
    Release();
    if (!validSize(w, h)) return false;
    width = w;
    height = h;
    state = Streamed;
    lost = true;
    if (deviceUp()) makeTexture();
    return true;
}

void Bitmap::WriteBox(const Rect& box, const uint32_t* argb, int32_t stride) {
    if (state != Streamed || !argb) return;
    const Rect part = intersect(box, Bounds());
    if (part.isEmpty()) return;
    argb += ptrdiff_t(part.top - box.top) * stride + (part.left - box.left);
    if (!texture && deviceUp()) makeTexture();
    if (!texture) return;
    // Opaque when every pixel written so far is: a box that covers the
    // whole bitmap decides alone, a smaller one can only take it away.
    bool boxOpaque = true;
    for (int32_t y = 0; y < part.height() && boxOpaque; ++y) {
        const uint32_t* row = argb + ptrdiff_t(y) * stride;
        for (int32_t x = 0; x < part.width(); ++x) {
            if (row[x] < 0xFF000000u) {
                boxOpaque = false;
                break;
            }
        }
    }
    const bool whole = part == Bounds();
    opaque = boxOpaque && (whole || (opaque && !lost));
    if (whole) lost = false;
    GraphicsDevice::Get().pipeline().flush();
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, stride);
    glTexSubImage2D(GL_TEXTURE_2D, 0, part.left, part.top, part.width(), part.height(), GL_BGRA,
                    GL_UNSIGNED_INT_8_8_8_8_REV, argb);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
}

bool Bitmap::makeTexture() {
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    // One level and no mipmaps: the filters must not ask for any, or the
    // texture is incomplete and samples black.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    findOpaque();
    const void* data = state == RenderTarget || state == Streamed ? nullptr : pixels.data();
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, GLsizei(width), GLsizei(height), 0, GL_BGRA,
                 GL_UNSIGNED_INT_8_8_8_8_REV, data);
    glBindTexture(GL_TEXTURE_2D, 0);
    if (state != RenderTarget) return true;

    glGenFramebuffers(1, &framebuffer);
    GraphicsDevice::Get().PushRenderTarget(framebuffer, int(width), int(height));
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    if (complete) {
        // A new render target is empty: transparent black.
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    GraphicsDevice::Get().PopRenderTarget();
    if (!complete) releaseGl();
    return complete;
}

void Bitmap::upload() {
    if (state == SystemMemory || state == Empty || pixels.empty() || !deviceUp()) return;
    if (!texture && state != RenderTarget) {
        makeTexture();
        return;
    }
    GraphicsDevice::Get().pipeline().flush();
    findOpaque();
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, GLsizei(width), GLsizei(height), GL_BGRA,
                    GL_UNSIGNED_INT_8_8_8_8_REV, pixels.data());
    glBindTexture(GL_TEXTURE_2D, 0);
}

void Bitmap::findOpaque() {
    opaque = state != RenderTarget && !pixels.empty();
    for (uint32_t p : pixels) {
        if (p < 0xFF000000u) {
            opaque = false;
            break;
        }
    }
}

bool Bitmap::Lock() {
    // A streamed bitmap has no pixels here to hand out.
    if (state == Empty || state == Streamed || locked) return false;
    if (state == RenderTarget) {
        if (!framebuffer || !deviceUp()) return false;
        pixels.assign(size_t(width) * height, 0);
        GraphicsDevice::Get().PushRenderTarget(framebuffer, int(width), int(height));
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        glReadPixels(0, 0, GLsizei(width), GLsizei(height), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
                     pixels.data());
        GraphicsDevice::Get().PopRenderTarget();
    }
    locked = true;
    return true;
}

void Bitmap::Unlock() {
    if (!locked) return;
    locked = false;
    upload();
    // A render target keeps no copy between locks: its truth is on the device.
    if (state == RenderTarget) {
        pixels.clear();
        pixels.shrink_to_fit();
    }
}

void Bitmap::SetPixelRgb(uint32_t x, uint32_t y, uint32_t bgr) {
    if (!locked || x >= width || y >= height) return;
    uint32_t& p = pixels[size_t(y) * width + x];
    p = (p & 0xFF000000u) | ((bgr & 0xFF) << 16) | (bgr & 0xFF00) | ((bgr >> 16) & 0xFF);
}

void Bitmap::SetPixelAlpha(uint32_t x, uint32_t y, uint8_t alpha) {
    if (!locked || x >= width || y >= height) return;
    uint32_t& p = pixels[size_t(y) * width + x];
    p = (p & 0x00FFFFFFu) | (uint32_t(alpha) << 24);
}

uint8_t Bitmap::GetPixelAlpha(uint32_t x, uint32_t y) const {
    return uint8_t(GetPixel(x, y, true) >> 24);
}

uint32_t Bitmap::GetPixel(uint32_t x, uint32_t y, bool withAlpha) const {
    if (x >= width || y >= height || pixels.size() < size_t(width) * height) return 0;
    uint32_t p = pixels[size_t(y) * width + x];
    return withAlpha ? p : (p & 0x00FFFFFFu);
}

void Bitmap::SetAllAlpha(uint8_t alpha) {
    if (!locked) return;
    for (uint32_t& p : pixels) p = (p & 0x00FFFFFFu) | (uint32_t(alpha) << 24);
}

namespace {

bool savePicture(Bitmap& bitmap, const std::filesystem::path& path, PngLayout layout) {
    if (bitmap.IsEmpty()) return false;
    bool wasLocked = bitmap.IsLocked();
    if (!wasLocked && !bitmap.Lock()) return false;
    bool ok = writePng(path, bitmap.GetWidth(), bitmap.GetHeight(), bitmap.Pixels().data(), layout);
    if (!wasLocked) bitmap.Unlock();
    return ok;
}

}  // namespace

bool Bitmap::SavePng(const std::filesystem::path& path) {
    return savePicture(*this, path, PngLayout::Rgba);
}

bool Bitmap::SaveGrayscalePng(const std::filesystem::path& path) {
    return savePicture(*this, path, PngLayout::GrayOfAlpha);
}

unsigned Bitmap::Texture() {
    if (!texture && (state == Loaded || state == Writable) && deviceUp()) makeTexture();
    return texture;
}

RenderContext* Bitmap::BeginRender() {
    if (state != RenderTarget || !framebuffer) return nullptr;
    if (!renderContext) renderContext = std::make_unique<RenderContext>(true, int(width), int(height));
    GraphicsDevice::Get().PushRenderTarget(framebuffer, int(width), int(height));
    return renderContext.get();
}

void Bitmap::EndRender() {
    if (state != RenderTarget || !framebuffer) return;
    GraphicsDevice::Get().PopRenderTarget();
}

void Bitmap::ClearTarget() {
    if (state != RenderTarget || !framebuffer) return;
    GraphicsDevice::Get().PushRenderTarget(framebuffer, int(width), int(height));
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    GraphicsDevice::Get().PopRenderTarget();
}

void Bitmap::OnDeviceLost() {
    if (state == RenderTarget) {
        releaseGl();
        locked = false;
        pixels.clear();
        return;
    }
    // The CPU copy survives; only a lost context takes the texture with it.
    if (GraphicsDevice::Get().IsContextLost()) texture = 0;
    // A streamed bitmap has no copy: its owner writes it again.
    if (state == Streamed && !texture) lost = true;
}

void Bitmap::OnDeviceReset() {
    if (state == RenderTarget) {
        if (!makeTexture()) {
            releaseGl();
            state = Empty;
        }
        return;
    }
    if ((state == Loaded || state == Writable || state == Streamed) && !texture) makeTexture();
}

}  // namespace lh::render
