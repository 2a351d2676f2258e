// The OpenGL context of the main window: made for a platform::Window, made
// current, swapped. The graphics device in src/render owns one of these and
// makes every GL call itself; this class only talks to the window system.
#pragma once

#include <string>

namespace lh::platform {

class Window;

class GlContext {
public:
    // Creates a 3.3 core context for the window and makes it current.
    // Returns null with the window system's reason in `error`.
    static GlContext* create(Window& window, std::string& error);
    ~GlContext();
    GlContext(const GlContext&) = delete;
    GlContext& operator=(const GlContext&) = delete;

    bool makeCurrent();
    void swap();
    // 0 immediate, 1 synchronised with the display. Offscreen drivers may
    // refuse; the answer says whether it was taken.
    bool setSwapInterval(int interval);
    // How many presents ago the window's back buffer was last drawn, as
    // EGL_EXT_buffer_age / GLX_EXT_buffer_age tell it: 1 means the buffer
    // still holds the last presented picture (an offscreen pbuffer, or a
    // surface that preserves on swap); 0 means unknown, draw it all.
    int bufferAge() const;
    // Size of the window's surface in pixels.
    void drawableSize(int& w, int& h) const;

private:
    GlContext(void* w, void* c) : window(w), context(c) {}
    void* window;
    void* context;
};

}  // namespace lh::platform
