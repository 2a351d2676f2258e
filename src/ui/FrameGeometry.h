// Where the nine parts of a frame go for a target rectangle. Corners are
// placed once; edges and the middle are tiled, never stretched, and the last
// tile of a band is cut by the band. Pure arithmetic: the renderer draws each
// piece (a source rectangle repeated over a target rectangle) as it likes.
#pragma once

#include <array>
#include <vector>

#include "render/Rect.h"

namespace lh::ui {

// Rectangles as the renderer has them: left and top inside, right and
// bottom outside.
using Rect = render::Rect;

enum FramePart { TopLeft, Top, TopRight, Left, Middle, Right, BottomLeft, Bottom, BottomRight, kFrameParts };

// One piece: `source` (in the picture) repeated from the top-left corner of
// `target` over all of it, cut at its right and bottom edges.
struct FramePiece {
    FramePart part;
    Rect source;
    Rect target;
};

// Pieces in drawing order: the four corners, then top, left, right, bottom
// and middle. Parts with an empty source and bands of no length are left out.
std::vector<FramePiece> layoutFrame(const std::array<Rect, kFrameParts>& source, const Rect& target);

}  // namespace lh::ui

namespace lh::ui {

// The tiles of a piece, each the target area of one copy of the source,
// the last ones in a row or column cut by the piece's target.
std::vector<Rect> tilesOf(const FramePiece& piece);

}  // namespace lh::ui
