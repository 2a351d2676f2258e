// Window points and drawable pixels. On a HiDPI screen the window system
// measures the window in points while the program draws and lays out in
// pixels; the mouse must land where it points, and a cursor moved by the
// program must go where the pixel is. Where the two sizes agree, or one is
// unknown, a point is a pixel.
#pragma once

#include <cstdint>

namespace lh::platform {

struct PixelScale {
    int windowW = 0, windowH = 0;      // points
    int drawableW = 0, drawableH = 0;  // pixels

    bool scaled() const {
        return windowW > 0 && windowH > 0 && drawableW > 0 && drawableH > 0 &&
               (windowW != drawableW || windowH != drawableH);
    }
    void toPixels(int& x, int& y) const {
        if (!scaled()) return;
        x = int(int64_t(x) * drawableW / windowW);
        y = int(int64_t(y) * drawableH / windowH);
    }
    void toPoints(int& x, int& y) const {
        if (!scaled()) return;
        x = int(int64_t(x) * windowW / drawableW);
        y = int(int64_t(y) * windowH / drawableH);
    }
};

}  // namespace lh::platform
