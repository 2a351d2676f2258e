// Where the main window goes on the screen, and when it takes the whole screen.
#pragma once

namespace lh::app {

// One coordinate of the centred window: half of the free space plus the
// screen's origin, not below 0 and not so far along that the window leaves
// the screen.
int centredPosition(int screenOrigin, int screenSize, int windowSize);

// Screens up to 1024 wide, or under 769 high, get the full-screen form.
bool wantsFullScreen(int screenWidth, int screenHeight);

}  // namespace lh::app
