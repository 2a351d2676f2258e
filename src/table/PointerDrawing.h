// A pointer's shape and label, and the grid squares that it lights. Shape
// and label go twice: first a shadow a little down and to the right, then
// in the pointer's colour.
//
// The squares: Each lit square is covered with a
// small translucent dark picture repeated over it: a grid square may be
// thousands of pixels wide, and a picture that large for one shade would
// be wasted memory. All squares come from that one texture one after the
// other, so the device takes every lit square of a pointer in a single
// draw, however many it lights.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
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

// The shape of `kind` from S to E (Desktop pixels) in `color`
// (0x00BBGGRR), after its shadow 1 pixel right and 2 down: opaque black
// under the three-pixel arrow, half-dark under the thin circle, cone and
// square. Kinds without a shape draw nothing.
void drawPointerShape(render::RenderContext& context, int32_t kind, IntPoint s, IntPoint e, uint32_t color,
                      const render::Rect& clip);

// The length label in the context's font, centred on `at`: a half-dark
// shadow a pixel down and right, then the text in `color`, opaque.
void drawPointerLabel(render::RenderContext& context, const std::string& label, IntPoint at, uint32_t color,
                      const render::Rect& clip);

}  // namespace lh::table
