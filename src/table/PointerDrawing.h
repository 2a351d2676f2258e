// The grid squares that a pointer lights. Each lit square is covered with a
// small translucent dark picture repeated over it: a grid square may be
// thousands of pixels wide, and a picture that large for one shade would
// be wasted memory. All squares come from that one texture one after the
// other, so the device takes every lit square of a pointer in a single
// draw, however many it lights.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "render/Bitmap.h"
#include "render/Rect.h"
#include "table/PointerGeometry.h"

namespace lh::render {
class RenderContext;
}

namespace lh::table {

class LitSquares {
public:
    // Draws the squares `cells` (their top lefts in control coordinates,
    // as litCells gives them) for a control whose top left is at (x, y) on
    // the Desktop, cut to `clip`. False when the square could not be made.
    bool draw(render::RenderContext& context, int32_t gridSize, int32_t x, int32_t y,
              const std::vector<IntPoint>& cells, const render::Rect& clip);

private:
    std::unique_ptr<render::Bitmap> shade;
    bool made = false;
};

}  // namespace lh::table
