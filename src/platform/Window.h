// The one top-level window, with an OpenGL-capable surface, and the splash
// window shown while loading.
#pragma once

#include <string>

namespace lh::platform {

struct WindowFrame {
    int left = 0, top = 0, right = 0, bottom = 0;  // border and caption sizes
};

class Window {
public:
    // Creates a hidden window whose client area is clientW x clientH.
    static Window* create(const std::string& title, int clientW, int clientH);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    void setPosition(int x, int y);
    void show();
    void raise();
    // The borderless full-screen form.
    void setFullScreen(bool on);
    void setResizable(bool on);
    // The client area cannot be made smaller than this by dragging a border.
    void setMinimumClientSize(int w, int h);
    // Resizes the client area (window points), as a border dragged by the
    // user would; the minimum size still holds.
    void setClientSize(int w, int h);
    WindowFrame frame() const;   // decorations around the client area
    void clientSize(int& w, int& h) const;
    void drawableSize(int& w, int& h) const;   // pixels, for the graphics device
    // The mouse cursor by the program's id: 155 the arrow, 156 over
    // something that can be picked up, 157 while carrying it; on a map 163
    // the pen, 164 measuring the grid, 165 outlining what a mask reveals.
    // An id without a shape of its own shows the arrow.
    void setCursor(int id);
    static bool hasCursorShape(int id);
    // Moves the mouse cursor to a point of the client area, in drawable pixels.
    void warpMouse(int x, int y);
    // Keeps the mouse's events while a button is held outside the window.
    void captureMouse(bool on);
    void* nativeHandle() const { return handle; }   // the SDL_Window, for platform code only

private:
    explicit Window(void* h) : handle(h) {}
    void* handle;
    void* cursors[6] = {};  // SDL cursors for 155..157 and 163..165, made on first use
};

// A small window that stands while the content loads. The main thread creates
// it first and repaints it between the load steps; it has no thread of its own.
class SplashWindow {
public:
    static SplashWindow* create(const std::string& title);
    ~SplashWindow();
    SplashWindow(const SplashWindow&) = delete;
    SplashWindow& operator=(const SplashWindow&) = delete;

    // Shows how far the load has come (0..1) and lets the window system breathe.
    void progress(float fraction);

private:
    explicit SplashWindow(void* h) : handle(h) {}
    void paint(float fraction);
    void paintSurface(float fraction);
    void* handle;
};

}  // namespace lh::platform
