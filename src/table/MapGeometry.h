// The geometry of a map in its control, in plain integers: where the
// picture stands (view and pan), the pan limits, grid measuring by drag,
// and the mapping between control, picture and grid coordinates that
// tokens and pointers stand on.
//
//   control coordinates: relative to the control's top left corner
//   picture coordinates: pixels of the picture; (0, 0) is its top left
//   grid cells:          (column, row) of the square holding a pixel
#pragma once

#include <cstdint>

#include "render/Rect.h"

namespace lh::table {

struct MapScroll {
    int32_t viewX = 0, viewY = 0;  // the picture's top left in control coordinates
    int32_t panX = 0, panY = 0;    // what a running middle-button drag adds
    int32_t left() const { return viewX + panX; }
    int32_t top() const { return viewY + panY; }
};

// The pan along one axis held to its limits, for a view `viewSize` wide
// and a picture `pictureSize` wide: a bigger picture keeps the view
// covered (view + pan in [viewSize - pictureSize, 0]); a smaller one moves
// inside the control (in [0, viewSize - pictureSize]).
int32_t limitPan(int32_t view, int32_t pan, int32_t viewSize, int32_t pictureSize);
// A view shown after the control changed size: no empty edge where the
// picture could cover it.
int32_t limitView(int32_t view, int32_t viewSize, int32_t pictureSize);

// Control point to picture point: limited to the control (width x height),
// then the scroll taken off.
void controlToPicture(const MapScroll& s, int32_t controlWidth, int32_t controlHeight, int32_t cx, int32_t cy,
                      int32_t& px, int32_t& py);
void pictureToControl(const MapScroll& s, int32_t px, int32_t py, int32_t& cx, int32_t& cy);

struct GridCell {
    int32_t column = 0, row = 0;
};
// The square holding a picture pixel, for a grid of `size` (> 0) with its
// lines at offset + k x size; floor division, so pixels left of the first
// line fall in column -1.
GridCell cellOf(int32_t size, int32_t offsetX, int32_t offsetY, int32_t px, int32_t py);
// The square in picture coordinates, line pixels included at its left and top.
render::Rect cellRect(int32_t size, int32_t offsetX, int32_t offsetY, GridCell cell);

// Grid measuring: the square drawn from `start` toward `end`, each side as
// long as the longer one, with their signs.
render::Rect measureSquare(int32_t startX, int32_t startY, int32_t endX, int32_t endY);
struct MeasuredGrid {
    bool valid = false;  // false for a drag too short to make a grid
    int32_t size = 0, offsetX = 0, offsetY = 0;
};
// The grid a finished measure gives: size the longer side, offsets the
// start modulo the size, in [0, size). A click without a drag (or a
// one-pixel one) changes nothing.
MeasuredGrid measureGrid(int32_t startX, int32_t startY, int32_t endX, int32_t endY);

}  // namespace lh::table
