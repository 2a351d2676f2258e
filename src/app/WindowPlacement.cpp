// Where the main window goes on the screen.
#include "app/WindowPlacement.h"

namespace lh::app {

int centredPosition(int screenOrigin, int screenSize, int windowSize) {
    int pos = (screenSize - windowSize) / 2 + screenOrigin;
    int farthest = screenOrigin + screenSize - windowSize;
    if (pos > farthest) pos = farthest;
    if (pos < 0) pos = 0;
    return pos;
}

bool wantsFullScreen(int screenWidth, int screenHeight) { return screenWidth <= 1024 || screenHeight < 769; }

}  // namespace lh::app
