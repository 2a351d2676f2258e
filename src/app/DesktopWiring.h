// Where the Desktop meets the spine: it draws in the frame's window layer,
// hears the session's window messages, opens the shortcut window of the
// way in, and gets the mouse and keys as the platform delivers them.
#pragma once

#include <cstdint>
#include <string>

#include "db/SessionMode.h"

namespace lh::platform {
struct Event;
}

namespace lh::app {

// After the content load: the client area's size, the session glue, the
// frame layer and the shortcut window.
void startDesktop(db::SessionMode mode, int clientWidth, int clientHeight);

// One input event, in the platform's form, into the Desktop's routing.
void routeDesktopInput(const platform::Event& event);

// The test driver's menu step: opens the menu of what is at (x, y) and
// chooses the entry that `labels` names, '/' leading into a sub-menu.
// False, with the menu closed, when there is no such entry.
bool chooseDesktopMenu(int32_t x, int32_t y, const std::string& labels);

}  // namespace lh::app
