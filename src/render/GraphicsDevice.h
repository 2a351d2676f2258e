// The one graphics device of the process: the GL context of the main window,
// the back buffer that keeps its picture between frames (an FBO), the dirty
// rectangle, and the set of resources told of resets.
//
// A frame clears and redraws only the dirty rectangle (the frame scissor
// keeps every draw inside it), so the FBO changes only there; presenting
// copies the FBO to the window.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "render/Pipeline2D.h"
#include "render/Rect.h"

namespace lh::platform {
class Window;
class GlContext;
}  // namespace lh::platform

namespace lh::render {

class Bitmap;
class DeviceResource;

class GraphicsDevice {
public:
    static GraphicsDevice& Get();

    // Makes the context, the back buffer and the 2D pipeline. 0 on success;
    // otherwise a negative code after a message box:
    //   -1 the context is older than OpenGL 3.3, -2 no context at all,
    //   -3 the window has no drawable size, -4 the back buffer cannot be
    //   made, -5 the shaders do not build.
    int Create(platform::Window& window);
    // Gives everything up (the process is ending, or a test is done).
    void Destroy();
    bool IsCreated() const { return context != nullptr; }

    void Register(DeviceResource* resource);
    void Unregister(DeviceResource* resource);
    // At process end: Register and Unregister stop touching the set.
    void SetClosing(bool on) { closing = on; }

    // The loss-and-restore sequence. 0 on success; 1 when the back buffer
    // could not be made, and then `resetting` stays set and nothing draws.
    int Reset();
    // Takes the window's new drawable size, resets, marks everything dirty.
    int Resize();
    // Throws the GL context away and makes a new one, as after a lost
    // device: every resource gives up its dead names and builds again.
    int RecreateContext();
    bool IsResetting() const { return resetting; }
    bool IsContextLost() const { return contextLost; }

    // Null: the whole client area. Otherwise united into the dirty rectangle.
    void Invalidate(const Rect* rect);
    // `rect` is dirty only in what a layer that keeps a backdrop there, or a
    // layer above it, draws: the layers under it are as they were, and the
    // frame may put the backdrop back instead of drawing them.
    void InvalidateOverBackdrop(const Rect& rect);
    const Rect& DirtyRect() const { return dirtyRect; }
    // The part of the dirty rectangle that every layer must draw again.
    const Rect& DirtyUnderBackdrops() const { return plainDirtyRect; }
    void ClearDirtyRect() { dirtyRect = plainDirtyRect = Rect{}; }

    int Width() const { return backWidth; }
    int Height() const { return backHeight; }
    const std::string& RendererName() const { return renderer; }

    // --- The frame ---
    // Binds the back buffer, clears `dirty` of colour to 0 and leaves the
    // scissor on it. A frame whose first layer covers `dirty` with opaque
    // pixels asks for no clear. The depth is 1.0 again for the first
    // depth-tested draw of the frame (PrepareDepth).
    void BeginFrame(const Rect& dirty, bool clearColor = true);
    // Scene nesting: only the outermost BeginScene/EndScene pair counts.
    // There is no GL work in a scene; the count is what callers may ask.
    void BeginScene() { ++sceneDepth; }
    void EndScene() {
        if (sceneDepth > 0) --sceneDepth;
    }
    int SceneDepth() const { return sceneDepth; }
    // Depth testing for the dice between the 2D layers (LEQUAL, writes on).
    void SetDepthTest(bool on);
    // Called by a depth-tested draw into the back buffer before it draws:
    // the first one of a frame clears the depth inside the frame scissor.
    void PrepareDepth();
    // Copies the dirty part of the back buffer to the window and swaps. The
    // window's buffer may be older than the last frame (buffer age): then the
    // parts dirtied since it was drawn go across too, or, when its age is
    // unknown, the whole picture.
    // Answers 1 when the GPU reset and the context is lost: the frame counts
    // as drawn, and the caller rebuilds with RecreateContext.
    int Present(const Rect& dirty);

    // Render targets: draw into another FBO of size w x h and come back. The
    // bound framebuffer, viewport, scissor and projection are kept on a stack.
    void PushRenderTarget(unsigned framebuffer, int width, int height);
    void PopRenderTarget();

    // Pixels of the back buffer as 0xAARRGGBB, top row first, alpha forced
    // to 0xFF (the window has none). `rect` is cut to the buffer.
    bool ReadBackBuffer(const Rect& rect, std::vector<uint32_t>& argb, Rect* taken = nullptr);

    // What the window shows, in the same form. Only meaningful where the
    // window's buffer keeps its picture after a swap (the offscreen driver),
    // which is where tests check that partial presents add up.
    bool ReadWindow(std::vector<uint32_t>& argb);

    // Pixel copies between the back buffer and a render-target bitmap, which
    // share a format: plain memory copies on a software rasteriser, where a
    // draw of the same pixels costs a pass per layer. The frame scissor does
    // not apply. False when either side is missing.
    bool CopyBackBufferTo(const Rect& source, Bitmap& target);
    bool CopyToBackBuffer(Bitmap& source, const Rect& part, int32_t x, int32_t y);

    Pipeline2D& pipeline() { return pipeline2D; }

private:
    bool copyBetween(unsigned from, unsigned to, const Rect& source, int32_t x, int32_t y);
    GraphicsDevice() = default;
    bool makeBackBuffer(unsigned& status);
    void releaseBackBuffer();
    void setDepthStates();
    void afterContextMade();
    bool gpuWasReset() const;
    std::vector<DeviceResource*> snapshot() const;
    void applyTarget(unsigned framebuffer, int width, int height, bool scissor, const Rect& scissorRect);

    struct TargetState {
        unsigned framebuffer;
        int width, height;
        bool scissor;
        Rect scissorRect;
    };

    platform::Window* window = nullptr;
    platform::GlContext* context = nullptr;
    std::set<DeviceResource*> resources;
    bool resetting = false;
    bool contextLost = false;
    bool robust = false;  // the context can tell of a GPU reset
    bool closing = false;
    int sceneDepth = 0;
    bool depthStale = true;  // no depth-tested draw yet this frame
    Rect dirtyRect, plainDirtyRect;
    int backWidth = 0, backHeight = 0;
    unsigned backFramebuffer = 0, backColor = 0, backDepth = 0;
    Pipeline2D pipeline2D;
    std::string renderer;
    // What is bound now, and what PushRenderTarget saved.
    TargetState current{0, 0, 0, false, {}};
    // Dirty rectangles of the last presents, newest first.
    static constexpr int kPresentHistory = 4;
    Rect presented[kPresentHistory];
    std::vector<TargetState> targetStack;
};

}  // namespace lh::render
