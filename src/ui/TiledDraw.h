// Repeats a part of a bitmap over a target rectangle: the one place where
// frames tile. The renderer draws it as one quad whose texture coordinates
// wrap inside the part, so a one-pixel piece over the whole screen costs one
// draw, not a million.
#pragma once

#include <cstdint>

#include "render/Rect.h"

namespace lh::render {
class Bitmap;
class RenderContext;
}  // namespace lh::render

namespace lh::ui {

// `source` repeated from the top-left corner of `target` over all of it, cut
// at its right and bottom edges and at `clip` (may be null) and the
// context's clip rectangle, multiplied by `argb`. Returns the draw calls made.
int drawTiled(render::RenderContext& context, render::Bitmap& bitmap, const render::Rect& source,
              const render::Rect& target, uint32_t argb, const render::Rect* clip);

}  // namespace lh::ui
