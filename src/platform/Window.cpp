// SDL windows: the main window and the loading splash.
#include "platform/Window.h"

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "platform/PixelScale.h"

namespace lh::platform {

namespace {
SDL_Window* sdl(void* h) { return static_cast<SDL_Window*>(h); }
}  // namespace

Window* Window::create(const std::string& title, int clientW, int clientH) {
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
    SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 0);
    SDL_Window* w = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, clientW,
                                     clientH, SDL_WINDOW_HIDDEN | SDL_WINDOW_OPENGL | SDL_WINDOW_ALLOW_HIGHDPI);
    if (!w) return nullptr;
    return new Window(w);
}

Window::~Window() {
    for (void* cursor : cursors) {
        if (cursor) SDL_FreeCursor(static_cast<SDL_Cursor*>(cursor));
    }
    SDL_DestroyWindow(sdl(handle));
}

void Window::setPosition(int x, int y) { SDL_SetWindowPosition(sdl(handle), x, y); }

void Window::show() { SDL_ShowWindow(sdl(handle)); }

void Window::raise() { SDL_RaiseWindow(sdl(handle)); }

void Window::setFullScreen(bool on) {
    SDL_SetWindowFullscreen(sdl(handle), on ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

void Window::setResizable(bool on) { SDL_SetWindowResizable(sdl(handle), on ? SDL_TRUE : SDL_FALSE); }

void Window::setMinimumClientSize(int w, int h) { SDL_SetWindowMinimumSize(sdl(handle), w, h); }

WindowFrame Window::frame() const {
    WindowFrame f;
    if (SDL_GetWindowBordersSize(sdl(handle), &f.top, &f.left, &f.bottom, &f.right) != 0) f = WindowFrame{};
    return f;
}

void Window::setClientSize(int w, int h) {
    // The window system sends the size event as for a border dragged by the
    // user, and keeps the minimum.
    SDL_SetWindowSize(sdl(handle), w, h);
}

void Window::clientSize(int& w, int& h) const { SDL_GetWindowSize(sdl(handle), &w, &h); }

void Window::drawableSize(int& w, int& h) const { SDL_GL_GetDrawableSize(sdl(handle), &w, &h); }

namespace {

// The pen of drawing mode, its tip the hot spot: 'X' black, '.' white.
constexpr const char* kPen[16] = {
    "           XXX  ", "          X.XXX ", "         X.XXXXX", "        X...XXX ",
    "       X...X.X  ", "      X...X.X   ", "     X...X.X    ", "    X...X.X     ",
    "   X...X.X      ", "  XX..X.X       ", "  X.XX.X        ", " X...XX         ",
    " X..XX          ", "X.XX            ", "XX              ", "X               ",
};

SDL_Cursor* makePen() {
    uint8_t data[32] = {}, mask[32] = {};
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const char c = kPen[y][x];
            const uint8_t bit = uint8_t(0x80 >> (x % 8));
            if (c != ' ') mask[y * 2 + x / 8] |= bit;
            if (c == 'X') data[y * 2 + x / 8] |= bit;
        }
    }
    return SDL_CreateCursor(data, mask, 16, 16, 0, 15);
}

}  // namespace

namespace {
constexpr int kCursorIds[6] = {155, 156, 157, 163, 164, 165};
}  // namespace

bool Window::hasCursorShape(int id) {
    return std::find(std::begin(kCursorIds), std::end(kCursorIds), id) != std::end(kCursorIds);
}

void Window::setCursor(int id) {
    // Made once, from the system's shapes and the pen above.
    const auto& kIds = kCursorIds;
    int index = 0;
    for (int i = 0; i < 6; ++i)
        if (kIds[i] == id) index = i;
    if (!cursors[index]) {
        static constexpr SDL_SystemCursor kShapes[6] = {SDL_SYSTEM_CURSOR_ARROW,     SDL_SYSTEM_CURSOR_HAND,
                                                        SDL_SYSTEM_CURSOR_SIZEALL,   SDL_SYSTEM_CURSOR_CROSSHAIR,
                                                        SDL_SYSTEM_CURSOR_SIZENWSE,  SDL_SYSTEM_CURSOR_CROSSHAIR};
        cursors[index] = kIds[index] == 163 ? makePen() : nullptr;
        if (!cursors[index]) cursors[index] = SDL_CreateSystemCursor(kShapes[index]);
    }
    if (cursors[index]) SDL_SetCursor(static_cast<SDL_Cursor*>(cursors[index]));
}

void Window::warpMouse(int x, int y) {
    PixelScale scale;
    SDL_GetWindowSize(sdl(handle), &scale.windowW, &scale.windowH);
    SDL_GL_GetDrawableSize(sdl(handle), &scale.drawableW, &scale.drawableH);
    scale.toPoints(x, y);
    SDL_WarpMouseInWindow(sdl(handle), x, y);
}

void Window::captureMouse(bool on) { SDL_CaptureMouse(on ? SDL_TRUE : SDL_FALSE); }

SplashWindow* SplashWindow::create(const std::string& title) {
    SDL_Window* w = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, 400, 120,
                                     SDL_WINDOW_BORDERLESS | SDL_WINDOW_SKIP_TASKBAR);
    if (!w) return nullptr;
    auto* splash = new SplashWindow(w);
    splash->paint(0.0f);
    return splash;
}

namespace {

// Runs `work` and makes the GL context that was current before current
// again: a window surface may be backed by a GL renderer of SDL's own, whose
// context its painting makes current and its destruction leaves unbound.
template <class F>
void keepingGlContext(F work) {
    SDL_Window* glWindow = SDL_GL_GetCurrentWindow();
    SDL_GLContext glContext = SDL_GL_GetCurrentContext();
    work();
    if (glWindow && glContext) SDL_GL_MakeCurrent(glWindow, glContext);
}

}  // namespace

SplashWindow::~SplashWindow() {
    keepingGlContext([this] { SDL_DestroyWindow(sdl(handle)); });
}

void SplashWindow::progress(float fraction) {
    paint(fraction);
    SDL_PumpEvents();
}

void SplashWindow::paint(float fraction) {
    // The main window's context must stay current, or textures made next
    // would land in the splash's.
    keepingGlContext([this, fraction] { paintSurface(fraction); });
}

void SplashWindow::paintSurface(float fraction) {
    SDL_Surface* s = SDL_GetWindowSurface(sdl(handle));
    if (!s) return;
    // A plain banner: dark field, a gold rule and a progress bar along the foot.
    SDL_FillRect(s, nullptr, SDL_MapRGB(s->format, 0x22, 0x1B, 0x2E));
    SDL_Rect rule{20, 40, s->w - 40, 3};
    SDL_FillRect(s, &rule, SDL_MapRGB(s->format, 0xC8, 0xA0, 0x48));
    SDL_Rect track{20, s->h - 30, s->w - 40, 10};
    SDL_FillRect(s, &track, SDL_MapRGB(s->format, 0x44, 0x3C, 0x52));
    if (fraction < 0) fraction = 0;
    if (fraction > 1) fraction = 1;
    SDL_Rect bar{20, s->h - 30, int(float(s->w - 40) * fraction), 10};
    SDL_FillRect(s, &bar, SDL_MapRGB(s->format, 0xC8, 0xA0, 0x48));
    SDL_UpdateWindowSurface(sdl(handle));
}

}  // namespace lh::platform
