// The graphics device on OpenGL 3.3 core.
#include "render/GraphicsDevice.h"

#include <epoxy/gl.h>

#include <cstdio>

#include "platform/GlContext.h"
#include "platform/Platform.h"
#include "platform/Window.h"
#include "render/Bitmap.h"
#include "render/DeviceResource.h"

namespace lh::render {

namespace {

const char* kCreateTitle = "Could not initialize DirectX";
const char* kNeedsDevice =
    "Lorehaven requires Microsoft DirectX 9 or newer.\n"
    "Install your distribution's OpenGL 3.3 drivers (Mesa or your graphics card maker's) and start again.";

int fail(int code, const std::string& text) {
    platform::messageBox(kCreateTitle, text, platform::BoxIcon::Error);
    return code;
}

}  // namespace

GraphicsDevice& GraphicsDevice::Get() {
    static GraphicsDevice device;
    return device;
}

int GraphicsDevice::Create(platform::Window& win) {
    Destroy();
    window = &win;
    std::string error;
    context = platform::GlContext::create(win, error);
    if (!context) {
        renderer = "none (" + error + ")";
        std::fprintf(stderr, "OpenGL context: %s\n", error.c_str());
        return fail(-2, kNeedsDevice);
    }
    if (epoxy_gl_version() < 33) {
        const char* old = reinterpret_cast<const char*>(glGetString(GL_VERSION));
        renderer = std::string("OpenGL ") + (old ? old : "?") + ", older than 3.3";
        delete context;
        context = nullptr;
        return fail(-1, kNeedsDevice);
    }
    afterContextMade();
    const char* name = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    renderer = name ? name : "unknown";
    std::fprintf(stderr, "GL_RENDERER: %s%s\n", renderer.c_str(), robust ? " (reports GPU resets)" : "");

    context->drawableSize(backWidth, backHeight);
    if (backWidth <= 0 || backHeight <= 0) {
        Destroy();
        return fail(-3, "GetAdapterDisplayMode failed!");
    }
    unsigned status = 0;
    if (!makeBackBuffer(status)) {
        Destroy();
        char text[64];
        std::snprintf(text, sizeof text, "CheckDeviceType failed! Error code %x", status);
        return fail(-4, text);
    }
    if (!pipeline2D.create(error)) {
        std::fprintf(stderr, "2D shaders: %s\n", error.c_str());
        Destroy();
        return fail(-5, "CreateDevice failed!");
    }
    setDepthStates();
    resetting = false;
    for (Rect& r : presented) r = Rect{};
    Invalidate(nullptr);
    return 0;
}

void GraphicsDevice::Destroy() {
    if (!context) return;
    context->makeCurrent();
    pipeline2D.release(false);
    releaseBackBuffer();
    delete context;
    context = nullptr;
    targetStack.clear();
    current = TargetState{0, 0, 0, false, {}};
    sceneDepth = 0;
}

void GraphicsDevice::Register(DeviceResource* resource) {
    if (!closing) resources.insert(resource);
}

void GraphicsDevice::Unregister(DeviceResource* resource) {
    if (!closing) resources.erase(resource);
}

// Resources may come and go while they are told (a render target's context),
// so the calls walk a copy of the set, in its order.
std::vector<DeviceResource*> GraphicsDevice::snapshot() const {
    return std::vector<DeviceResource*>(resources.begin(), resources.end());
}

bool GraphicsDevice::makeBackBuffer(unsigned& status) {
    releaseBackBuffer();
    status = 0;
    if (backWidth <= 0 || backHeight <= 0) return false;
    glGenTextures(1, &backColor);
    glBindTexture(GL_TEXTURE_2D, backColor);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, backWidth, backHeight, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
                 nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    glGenRenderbuffers(1, &backDepth);
    glBindRenderbuffer(GL_RENDERBUFFER, backDepth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, backWidth, backHeight);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glGenFramebuffers(1, &backFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, backFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, backColor, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, backDepth);
    status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        releaseBackBuffer();
        return false;
    }
    // A new back buffer starts black, with the depth buffer at the far plane.
    glViewport(0, 0, backWidth, backHeight);
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0, 0, 0, 0);
    glDepthMask(GL_TRUE);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    current = TargetState{backFramebuffer, backWidth, backHeight, false, {}};
    pipeline2D.setTargetSize(backWidth, backHeight);
    return true;
}

void GraphicsDevice::releaseBackBuffer() {
    if (!contextLost) {
        if (backFramebuffer) glDeleteFramebuffers(1, &backFramebuffer);
        if (backColor) glDeleteTextures(1, &backColor);
        if (backDepth) glDeleteRenderbuffers(1, &backDepth);
    }
    backFramebuffer = backColor = backDepth = 0;
}

void GraphicsDevice::afterContextMade() {
    // Whether the display is synchronised is the driver's business; headless
    // drivers refuse and that is fine.
    context->setSwapInterval(1);
    GLint flags = 0;
    glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
    GLint strategy = 0;
    glGetIntegerv(GL_RESET_NOTIFICATION_STRATEGY_ARB, &strategy);
    robust = (flags & GL_CONTEXT_FLAG_ROBUST_ACCESS_BIT_ARB) && strategy == GL_LOSE_CONTEXT_ON_RESET_ARB &&
             (epoxy_gl_version() >= 45 || epoxy_has_gl_extension("GL_ARB_robustness"));
    glGetError();  // a driver without robustness may call the strategy query an error
}

bool GraphicsDevice::gpuWasReset() const {
    if (!robust) return false;
    GLenum status = epoxy_gl_version() >= 45 ? glGetGraphicsResetStatus() : glGetGraphicsResetStatusARB();
    return status != GL_NO_ERROR;
}

void GraphicsDevice::setDepthStates() {
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glDepthFunc(GL_LEQUAL);
}

int GraphicsDevice::Reset() {
    if (!context) return 1;
    resetting = true;
    pipeline2D.flush();
    for (DeviceResource* r : snapshot()) r->OnDeviceLost();
    targetStack.clear();
    context->drawableSize(backWidth, backHeight);
    unsigned status = 0;
    // A minimised window has no pixels and so no back buffer: stay in the
    // reset state until the next resize brings a size back.
    if (!makeBackBuffer(status)) {
        std::fprintf(stderr, "Reset: back buffer %dx%d incomplete (%x)\n", backWidth, backHeight, status);
        return 1;
    }
    setDepthStates();
    for (DeviceResource* r : snapshot()) r->OnDeviceReset();
    Invalidate(nullptr);
    resetting = false;
    return 0;
}

int GraphicsDevice::Resize() {
    int result = Reset();
    Invalidate(nullptr);
    return result;
}

int GraphicsDevice::RecreateContext() {
    if (!context || !window) return 1;
    resetting = true;
    contextLost = true;
    for (DeviceResource* r : snapshot()) r->OnDeviceLost();
    pipeline2D.release(true);
    releaseBackBuffer();
    targetStack.clear();
    delete context;
    context = nullptr;
    contextLost = false;

    std::string error;
    context = platform::GlContext::create(*window, error);
    if (!context) {
        std::fprintf(stderr, "OpenGL context lost for good: %s\n", error.c_str());
        return 1;
    }
    afterContextMade();
    context->drawableSize(backWidth, backHeight);
    unsigned status = 0;
    if (!makeBackBuffer(status) || !pipeline2D.create(error)) return 1;
    setDepthStates();
    for (DeviceResource* r : snapshot()) r->OnDeviceReset();
    Invalidate(nullptr);
    resetting = false;
    return 0;
}

void GraphicsDevice::Invalidate(const Rect* rect) {
    if (!rect) {
        int w = backWidth, h = backHeight;
        if (window) window->drawableSize(w, h);
        dirtyRect = plainDirtyRect = Rect{0, 0, w, h};
        return;
    }
    dirtyRect = unite(dirtyRect, *rect);
    plainDirtyRect = unite(plainDirtyRect, *rect);
}

void GraphicsDevice::InvalidateOverBackdrop(const Rect& rect) {
    dirtyRect = unite(dirtyRect, rect);
}

bool GraphicsDevice::copyBetween(unsigned from, unsigned to, const Rect& source, int32_t x, int32_t y) {
    if (!context || !backFramebuffer || !from || !to || source.isEmpty()) return false;
    pipeline2D.flush();
    glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    glDisable(GL_SCISSOR_TEST);
    // Same size, no flip, no scissor, one format: the driver copies memory.
    glBlitFramebuffer(source.left, source.top, source.right, source.bottom, x, y, x + source.width(),
                      y + source.height(), GL_COLOR_BUFFER_BIT, GL_NEAREST);
    applyTarget(current.framebuffer, current.width, current.height, current.scissor, current.scissorRect);
    return true;
}

bool GraphicsDevice::CopyBackBufferTo(const Rect& source, Bitmap& target) {
    const Rect part = intersect(source, Rect{0, 0, backWidth, backHeight});
    if (part != source || int64_t(target.GetWidth()) < part.width() || int64_t(target.GetHeight()) < part.height())
        return false;
    return copyBetween(backFramebuffer, target.TargetFramebuffer(), part, 0, 0);
}

bool GraphicsDevice::CopyToBackBuffer(Bitmap& source, const Rect& part, int32_t x, int32_t y) {
    const Rect from = intersect(part, source.Bounds());
    if (from != part || !Rect{0, 0, backWidth, backHeight}.contains(x, y) || x + part.width() > backWidth ||
        y + part.height() > backHeight)
        return false;
    return copyBetween(source.TargetFramebuffer(), backFramebuffer, part, x, y);
}

void GraphicsDevice::applyTarget(unsigned framebuffer, int width, int height, bool scissor, const Rect& box) {
    pipeline2D.flush();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glViewport(0, 0, width, height);
    if (scissor) {
        glEnable(GL_SCISSOR_TEST);
        // Our rows run top-first in memory, which is GL's bottom-up window
        // space read upside down: our y is GL's y, unchanged.
        glScissor(box.left, box.top, box.width(), box.height());
    } else {
        glDisable(GL_SCISSOR_TEST);
    }
    pipeline2D.setTargetSize(width, height);
    current = TargetState{framebuffer, width, height, scissor, box};
}

void GraphicsDevice::BeginFrame(const Rect& dirty, bool clearColor) {
    if (!context || !backFramebuffer) return;
    applyTarget(backFramebuffer, backWidth, backHeight, true, dirty);
    if (clearColor) {
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    // The depth buffer is cleared when the first depth-tested draw wants it,
    // and only inside the frame scissor: draws never reach past it, so the
    // far plane there is the same picture as a whole cleared buffer, and a
    // frame without dice (a chat line) costs no pass over the depth at all.
    depthStale = true;
}

void GraphicsDevice::SetDepthTest(bool on) {
    if (!context) return;
    pipeline2D.flush();
    if (on) {
        setDepthStates();
    } else {
        glDisable(GL_DEPTH_TEST);
    }
}

void GraphicsDevice::PrepareDepth() {
    if (!context || !depthStale || current.framebuffer != backFramebuffer) return;
    depthStale = false;
    glDepthMask(GL_TRUE);
    glClearDepth(1.0);
    glClear(GL_DEPTH_BUFFER_BIT);
}

int GraphicsDevice::Present(const Rect& dirty) {
    if (!context || !backFramebuffer) return 0;
    pipeline2D.flush();
    const Rect whole{0, 0, backWidth, backHeight};
    // The window's buffer holds the picture of `age` presents ago: it lacks
    // what changed since, which is the dirty rectangles of the presents in
    // between and this one. Outside those the FBO is what the buffer shows.
    const int age = context->bufferAge();
    Rect region = intersect(dirty, whole);
    if (age >= 1 && age <= kPresentHistory + 1) {
        for (int i = 0; i < age - 1; ++i) region = unite(region, presented[i]);
    } else {
        region = whole;
    }
    for (int i = kPresentHistory - 1; i > 0; --i) presented[i] = presented[i - 1];
    presented[0] = intersect(dirty, whole);

    glBindFramebuffer(GL_READ_FRAMEBUFFER, backFramebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    glDisable(GL_SCISSOR_TEST);
    int w = backWidth, h = backHeight;
    context->drawableSize(w, h);
    // Our rows run top-first, the window's bottom-first: the one flip.
    if (!region.isEmpty()) {
        glBlitFramebuffer(region.left, region.top, region.right, region.bottom, region.left, h - region.top,
                          region.right, h - region.bottom, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    }
    context->swap();
    applyTarget(backFramebuffer, backWidth, backHeight, false, {});
#ifndef NDEBUG
    // llvmpipe forgives calls that a strict 3.3 driver refuses; say so early.
    for (GLenum error = glGetError(); error != GL_NO_ERROR; error = glGetError()) {
        std::fprintf(stderr, "GL error 0x%x in a frame\n", error);
    }
#endif
    return gpuWasReset() ? 1 : 0;
}

void GraphicsDevice::PushRenderTarget(unsigned framebuffer, int width, int height) {
    targetStack.push_back(current);
    applyTarget(framebuffer, width, height, false, {});
}

void GraphicsDevice::PopRenderTarget() {
    if (targetStack.empty()) return;
    TargetState saved = targetStack.back();
    targetStack.pop_back();
    applyTarget(saved.framebuffer, saved.width, saved.height, saved.scissor, saved.scissorRect);
}

bool GraphicsDevice::ReadBackBuffer(const Rect& rect, std::vector<uint32_t>& argb, Rect* taken) {
    if (!context || !backFramebuffer) return false;
    Rect r = intersect(rect, Rect{0, 0, backWidth, backHeight});
    if (taken) *taken = r;
    argb.assign(size_t(r.width()) * size_t(r.height()), 0);
    if (r.isEmpty()) return true;
    pipeline2D.flush();
    glBindFramebuffer(GL_READ_FRAMEBUFFER, backFramebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glReadPixels(r.left, r.top, r.width(), r.height(), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, argb.data());
    glBindFramebuffer(GL_READ_FRAMEBUFFER, current.framebuffer);
    for (uint32_t& p : argb) p |= 0xFF000000u;
    return true;
}

bool GraphicsDevice::ReadWindow(std::vector<uint32_t>& argb) {
    if (!context) return false;
    pipeline2D.flush();
    int w = 0, h = 0;
    context->drawableSize(w, h);
    std::vector<uint32_t> rows(size_t(w) * size_t(h));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glReadPixels(0, 0, w, h, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, rows.data());
    glBindFramebuffer(GL_READ_FRAMEBUFFER, current.framebuffer);
    // The window's rows come bottom-first.
    argb.resize(rows.size());
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x)
            argb[size_t(y) * size_t(w) + size_t(x)] =
                rows[size_t(h - 1 - y) * size_t(w) + size_t(x)] | 0xFF000000u;
    }
    return true;
}

}  // namespace lh::render
