// SDL2 implementation of the platform operations.
#include "platform/Platform.h"

#include <SDL.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/Clock.h"
#include "platform/Encoding.h"
#include "platform/FdWatcher.h"
#include "platform/KeyCodes.h"
#include "platform/PixelScale.h"
#include "platform/ScanCodes.h"
#include "platform/Spine.h"
#include "platform/Trace.h"

namespace lh::platform {

namespace {

FdWatcher* watcher = nullptr;
uint32_t wakeEventType = 0;
uint32_t quitEventType = 0;
bool initialized = false;
// Drivers with a real window system can sleep inside SDL and be woken by
// pushed events; the headless drivers would poll every millisecond there, so
// the loop sleeps in poll() on its own wake descriptor instead.
bool nativeWait = false;
int mainWakeFd = -1;

// The scan code and extended mark of the last key pressed: a text event that
// follows it carries them, as the character of that key.
int lastKeyScan = 0;
bool lastKeyExtended = false;

// Window points to drawable pixels: on a HiDPI screen the program draws and
// lays out in pixels, and the mouse must land where it points.
void toPixels(uint32_t windowId, int& x, int& y) {
    SDL_Window* window = SDL_GetWindowFromID(windowId);
    if (!window) return;
    PixelScale scale;
    SDL_GetWindowSize(window, &scale.windowW, &scale.windowH);
    SDL_GL_GetDrawableSize(window, &scale.drawableW, &scale.drawableH);
    scale.toPixels(x, y);
}

// The PC scan code of a key: the numeric pad by its place (whatever Num Lock
// makes of its symbol), the rest through its virtual key.
int scanCodeOf(SDL_Scancode code, int virtualKey, bool& extended) {
    extended = false;
    if (code >= SDL_SCANCODE_KP_1 && code <= SDL_SCANCODE_KP_0) {
        static constexpr int kPad[10] = {79, 80, 81, 75, 76, 77, 71, 72, 73, 82};
        return kPad[code - SDL_SCANCODE_KP_1];
    }
    if (code == SDL_SCANCODE_KP_MINUS) return 74;
    if (code == SDL_SCANCODE_KP_PLUS) return 78;
    if (code == SDL_SCANCODE_KP_PERIOD) return 83;
    if (code == SDL_SCANCODE_KP_ENTER) {
        extended = true;
        return 28;
    }
    // Two keys the chat knows by their place, whatever the layout types on
    // them: right of the full stop, and left of "1".
    if (code == SDL_SCANCODE_SLASH) return 53;
    if (code == SDL_SCANCODE_GRAVE) return 41;
    if (code == SDL_SCANCODE_RCTRL || code == SDL_SCANCODE_RALT) {
        extended = true;
        return code == SDL_SCANCODE_RCTRL ? 29 : 56;
    }
    return scanCodeOfVirtualKey(virtualKey, extended);
}

bool translate(const SDL_Event& in, Event& out) {
    out = Event{};
    switch (in.type) {
    case SDL_QUIT:
        out.type = EventType::Quit;
        return true;
    case SDL_WINDOWEVENT:
        switch (in.window.event) {
        case SDL_WINDOWEVENT_CLOSE:
            out.type = EventType::Quit;
            return true;
        case SDL_WINDOWEVENT_SIZE_CHANGED:
            out.type = EventType::Resized;
            out.width = in.window.data1;
            out.height = in.window.data2;
            toPixels(in.window.windowID, out.width, out.height);
            return true;
        case SDL_WINDOWEVENT_EXPOSED:
            out.type = EventType::Exposed;
            return true;
        default:
            return false;
        }
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        out.type = in.type == SDL_KEYDOWN ? EventType::KeyDown : EventType::KeyUp;
        out.keyCode = virtualKeyFromSdl(in.key.keysym.sym, in.key.keysym.scancode);
        out.scanCode = scanCodeOf(in.key.keysym.scancode, out.keyCode, out.extended);
        if (in.type == SDL_KEYDOWN) {
            lastKeyScan = out.scanCode;
            lastKeyExtended = out.extended;
        }
        out.repeat = in.key.repeat != 0;
        out.modifiers = (in.key.keysym.mod & KMOD_SHIFT ? ModShift : 0) |
                        (in.key.keysym.mod & KMOD_CTRL ? ModCtrl : 0) | (in.key.keysym.mod & KMOD_ALT ? ModAlt : 0);
        return true;
    case SDL_TEXTINPUT:
        out.type = EventType::Char;
    {
        // Typed characters that the 8-bit text has no place for are dropped
        // whole; the converted text is never longer than the typed one.
        std::string typed = typedTextToWindows1252(in.text.text);
        size_t n = std::min(typed.size(), sizeof out.text - 1);
        std::memcpy(out.text, typed.data(), n);
        out.text[n] = 0;
        out.scanCode = lastKeyScan;
        out.extended = lastKeyExtended;
        return n != 0;
    }
    case SDL_MOUSEMOTION:
        out.type = EventType::MouseMove;
        out.x = in.motion.x;
        out.y = in.motion.y;
        toPixels(in.motion.windowID, out.x, out.y);
        return true;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        out.type = in.type == SDL_MOUSEBUTTONDOWN ? EventType::MouseDown : EventType::MouseUp;
        out.x = in.button.x;
        out.y = in.button.y;
        toPixels(in.button.windowID, out.x, out.y);
        out.button = in.button.button == SDL_BUTTON_LEFT    ? MouseButton::Left
                     : in.button.button == SDL_BUTTON_RIGHT ? MouseButton::Right
                     : in.button.button == SDL_BUTTON_MIDDLE ? MouseButton::Middle
                                                             : MouseButton::None;
        return out.button != MouseButton::None;
    case SDL_MOUSEWHEEL:
        out.type = EventType::MouseWheel;
        out.wheel = in.wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -in.wheel.y : in.wheel.y;
        SDL_GetMouseState(&out.x, &out.y);
        toPixels(in.wheel.windowID, out.x, out.y);
        return out.wheel != 0;
    case SDL_FINGERDOWN:
    case SDL_FINGERMOTION:
    case SDL_FINGERUP:
        // A pen or a finger: its pressure goes to whoever draws, its place
        // comes as the mouse events the system makes of it.
        spine().penPacket.emit(in.type != SDL_FINGERUP,
                               uint32_t(std::clamp(in.tfinger.pressure, 0.0f, 1.0f) * 1023.0f + 0.5f));
        return false;
    default:
        if (in.type == wakeEventType) {
            out.type = EventType::Wake;
            return true;
        }
        if (in.type == quitEventType) {
            out.type = EventType::QuitRequest;
            out.exitCode = in.user.code;
            return true;
        }
        return false;
    }
}

void signalWakeFd() {
    if (mainWakeFd < 0) return;
    uint64_t one = 1;
    [[maybe_unused]] ssize_t n = ::write(mainWakeFd, &one, sizeof one);
}

}  // namespace

bool initialize(std::string& error) {
    if (initialized) return true;
    // Let SDL turn SIGINT/SIGTERM into a quit event, so a stopped process
    // leaves through the same path as a closed window.
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_EVENTS) != 0) {
        error = SDL_GetError();
        return false;
    }
    // From here a stop from outside ends the program as a closed window
    // would; a watcher waits for this line before it sends one.
    trace("started");
    wakeEventType = SDL_RegisterEvents(2);
    quitEventType = wakeEventType + 1;
    const char* driver = SDL_GetCurrentVideoDriver();
    nativeWait = driver && (std::strcmp(driver, "x11") == 0 || std::strcmp(driver, "wayland") == 0);
    if (nativeWait) {
        watcher = new FdWatcher([] { wakeMainLoop(); });
    } else {
        mainWakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    }
    initialized = true;
    return true;
}

void shutdown() {
    if (!initialized) return;
    delete watcher;
    watcher = nullptr;
    if (mainWakeFd >= 0) close(mainWakeFd);
    mainWakeFd = -1;
    SDL_Quit();
    initialized = false;
}

bool isHeadless() {
    const char* driver = std::getenv("SDL_VIDEODRIVER");
    if (driver && (std::strcmp(driver, "offscreen") == 0 || std::strcmp(driver, "dummy") == 0)) return true;
    if (initialized) {
        const char* current = SDL_GetCurrentVideoDriver();
        return current && (std::strcmp(current, "offscreen") == 0 || std::strcmp(current, "dummy") == 0);
    }
    return false;
}

uint64_t tickMs() { return nowMs(); }

void sleepMs(uint32_t ms) { SDL_Delay(ms); }


void postQuit(int exitCode) {
    SDL_Event e{};
    e.type = quitEventType;
    e.user.code = exitCode;
    SDL_PushEvent(&e);
    signalWakeFd();
}

void wakeMainLoop() {
    signalWakeFd();
    // Fold repeated wakes: one pending wake is enough to make the loop look.
    if (SDL_PeepEvents(nullptr, 0, SDL_PEEKEVENT, wakeEventType, wakeEventType) > 0) return;
    SDL_Event e{};
    e.type = wakeEventType;
    SDL_PushEvent(&e);
}

bool canWaitNatively() { return nativeWait; }

void sleepUntilWoken(int timeoutMs) {
    if (mainWakeFd < 0) {
        SDL_Delay(uint32_t(std::max(timeoutMs, 0)));
        return;
    }
    pollDescriptors({}, mainWakeFd, timeoutMs);
}

bool pollEvent(Event& event) {
    SDL_Event e;
    while (SDL_PollEvent(&e)) {
        if (translate(e, event)) return true;
    }
    return false;
}

bool waitEvent(Event& event, int timeoutMs) {
    // Real time, not the program's clock: a manual clock does not move while
    // the process sleeps.
    uint64_t start = SDL_GetTicks64();
    for (;;) {
        if (pollEvent(event)) return true;
        uint64_t now = SDL_GetTicks64();
        int64_t wait = timeoutMs < 0 ? -1 : int64_t(start + uint64_t(timeoutMs)) - int64_t(now);
        if (timeoutMs >= 0 && wait <= 0) return false;
        std::vector<WatchedFd> fds;
        spine().watchFds.emit(fds);
        if (!nativeWait) {
            if (pollDescriptors(fds, mainWakeFd, int(std::min<int64_t>(wait, 1 << 30)))) {
                event = Event{};
                event.type = EventType::Wake;
                return true;
            }
            continue;
        }
        if (watcher) watcher->arm(fds);
        SDL_Event e;
        int got = wait < 0 ? SDL_WaitEvent(&e) : SDL_WaitEventTimeout(&e, int(std::min<int64_t>(wait, 1 << 30)));
        if (watcher) watcher->disarm();
        if (got && translate(e, event)) return true;
    }
}

void messageBox(const std::string& title, const std::string& text, BoxIcon icon) {
    if (isHeadless() || !initialized) {
        std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
        std::fflush(stderr);
        return;
    }
    uint32_t flags = icon == BoxIcon::Error     ? SDL_MESSAGEBOX_ERROR
                     : icon == BoxIcon::Warning ? SDL_MESSAGEBOX_WARNING
                                                : SDL_MESSAGEBOX_INFORMATION;
    if (SDL_ShowSimpleMessageBox(flags, title.c_str(), text.c_str(), nullptr) != 0) {
        std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
    }
}

ScreenSize primaryScreen() {
    if (const char* forced = std::getenv("LOREHAVEN_SCREEN")) {
        int w = 0, h = 0;
        if (std::sscanf(forced, "%dx%d", &w, &h) == 2 && w > 0 && h > 0) return {w, h, 0, 0};
    }
    SDL_Rect r{0, 0, 0, 0};
    if (!initialized || SDL_GetDisplayBounds(0, &r) != 0 || r.w <= 0 || r.h <= 0 || isHeadless()) {
        return {1920, 1080, 0, 0};
    }
    return {r.w, r.h, r.x, r.y};
}

}  // namespace lh::platform
