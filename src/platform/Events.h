// Input and system events as the rest of the program sees them. Key codes
// are the virtual-key numbers that the desktop input routing is written in
// (0x0D Return, 0x1B Escape, 0x2C Print Screen, 'A'..'Z', '0'..'9', ...).
#pragma once

#include <cstdint>

namespace lh::platform {

enum class EventType {
    None,
    Quit,          // the window was closed, or the process was told to stop
    QuitRequest,   // postQuit() was called; exitCode holds its code
    KeyDown,
    KeyUp,
    Char,          // text input; text holds one or more 8-bit characters
    MouseMove,
    MouseDown,
    MouseUp,
    MouseWheel,
    Resized,       // the client area changed size
    Exposed,       // the window must be drawn again
    Wake,          // a watched socket became ready, or another thread woke the loop
};

enum class MouseButton : uint8_t { None = 0, Left = 1, Middle = 2, Right = 3 };

enum KeyModifier : uint16_t { ModShift = 1, ModCtrl = 2, ModAlt = 4 };

struct Event {
    EventType type = EventType::None;
    int exitCode = 0;
    // Keys: virtual-key code, the keyboard's scan code (the PC set: 71..82
    // are the numeric pad, and the cursor block when `extended`), auto-repeat,
    // modifiers. A Char carries the scan code of the key that typed it.
    int keyCode = 0;
    int scanCode = 0;
    bool extended = false;
    bool repeat = false;
    uint16_t modifiers = 0;
    char text[32] = {};
    // Mouse: client coordinates in drawable pixels (window points scaled on
    // a HiDPI screen), button, wheel steps (positive away from the user).
    int x = 0;
    int y = 0;
    MouseButton button = MouseButton::None;
    int wheel = 0;
    // Resized: new client size in drawable pixels.
    int width = 0;
    int height = 0;
};

}  // namespace lh::platform
