// Cohen-Sutherland line clipping.
#include "render/LineClip.h"

namespace lh::render {

int outCode(float x, float y, const Rect& clip) {
    int code = 0;
    if (x < float(clip.left))
        code |= OutLeft;
    else if (x > float(clip.right - 1))
        code |= OutRight;
    if (y > float(clip.bottom - 1))
        code |= OutBottom;
    else if (y < float(clip.top))
        code |= OutTop;
    return code;
}

bool clipLine(float& x1, float& y1, float& x2, float& y2, const Rect& clip) {
    if (clip.isEmpty()) return false;
    const float xmin = float(clip.left), xmax = float(clip.right - 1);
    const float ymin = float(clip.top), ymax = float(clip.bottom - 1);
    int c1 = outCode(x1, y1, clip), c2 = outCode(x2, y2, clip);
    // Each pass moves one end onto a clip edge, so four passes per end suffice.
    for (int pass = 0; pass < 8; ++pass) {
        if ((c1 | c2) == 0) return true;
        if (c1 & c2) return false;
        int out = c1 ? c1 : c2;
        float x = 0, y = 0;
        if (out & OutBottom) {
            x = x1 + (x2 - x1) * (ymax - y1) / (y2 - y1);
            y = ymax;
        } else if (out & OutTop) {
            x = x1 + (x2 - x1) * (ymin - y1) / (y2 - y1);
            y = ymin;
        } else if (out & OutRight) {
            y = y1 + (y2 - y1) * (xmax - x1) / (x2 - x1);
            x = xmax;
        } else {
            y = y1 + (y2 - y1) * (xmin - x1) / (x2 - x1);
            x = xmin;
        }
        if (out == c1) {
            x1 = x;
            y1 = y;
            c1 = outCode(x1, y1, clip);
        } else {
            x2 = x;
            y2 = y;
            c2 = outCode(x2, y2, clip);
        }
    }
    return (c1 | c2) == 0;
}

}  // namespace lh::render
