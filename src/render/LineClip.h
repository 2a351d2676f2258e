// Cohen-Sutherland clipping of a segment to a rectangle, in plain arithmetic.
// Outcode bits: 1 left, 2 right, 4 bottom, 8 top, with y growing downwards,
// so "bottom" is the side of the larger y.
#pragma once

#include "render/Rect.h"

namespace lh::render {

enum OutCode : int { OutLeft = 1, OutRight = 2, OutBottom = 4, OutTop = 8 };

// Outside is x < left, x > right-1, y > bottom-1, y < top: the last pixel row
// and column of the rectangle still count as inside.
int outCode(float x, float y, const Rect& clip);

// Cuts the segment to the clip. False if nothing of it is inside.
bool clipLine(float& x1, float& y1, float& x2, float& y2, const Rect& clip);

}  // namespace lh::render
