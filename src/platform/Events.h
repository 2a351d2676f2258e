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
    // Keys: virtual-key code, hardware scan code, auto-repeat, modifiers.
    int keyCode = 0;
    int scanCode = 0;
    bool repeat = false;
    uint16_t modifiers = 0;
    char text[32] = {};
    // Mouse: client coordinates, button, wheel steps (positive away from the user).
    int x = 0;
    int y = 0;
    MouseButton button = MouseButton::None;
    int wheel = 0;
    // Resized: new client size.
    int width = 0;
    int height = 0;
};

}  // namespace lh::platform
