// Map geometry; see MapGeometry.h.
#include "table/MapGeometry.h"

#include <algorithm>
#include <cstdlib>

#include "table/LayerPixels.h"

namespace lh::table {

namespace {
int32_t floorDiv(int32_t a, int32_t b) {
    int32_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}
}  // namespace

int32_t limitPan(int32_t view, int32_t pan, int32_t viewSize, int32_t pictureSize) {
    int32_t low = viewSize < pictureSize ? viewSize - pictureSize : 0;
    int32_t high = viewSize < pictureSize ? 0 : viewSize - pictureSize;
    return std::clamp(view + pan, low, high) - view;
}

int32_t limitView(int32_t view, int32_t viewSize, int32_t pictureSize) {
    return view + limitPan(view, 0, viewSize, pictureSize);
}

void controlToPicture(const MapScroll& s, int32_t controlWidth, int32_t controlHeight, int32_t cx, int32_t cy,
                      int32_t& px, int32_t& py) {
    cx = std::clamp(cx, 0, std::max(controlWidth - 1, 0));
    cy = std::clamp(cy, 0, std::max(controlHeight - 1, 0));
    px = cx - s.left();
    py = cy - s.top();
}

void pictureToControl(const MapScroll& s, int32_t px, int32_t py, int32_t& cx, int32_t& cy) {
    cx = px + s.left();
    cy = py + s.top();
}

GridCell cellOf(int32_t size, int32_t offsetX, int32_t offsetY, int32_t px, int32_t py) {
    if (size <= 0) return {};
    return {floorDiv(px - normaliseOffset(offsetX, size), size), floorDiv(py - normaliseOffset(offsetY, size), size)};
}

render::Rect cellRect(int32_t size, int32_t offsetX, int32_t offsetY, GridCell cell) {
    if (size <= 0) return {};
    int32_t left = normaliseOffset(offsetX, size) + cell.column * size;
    int32_t top = normaliseOffset(offsetY, size) + cell.row * size;
    return {left, top, left + size, top + size};
}

render::Rect measureSquare(int32_t startX, int32_t startY, int32_t endX, int32_t endY) {
    int32_t dx = endX - startX, dy = endY - startY;
    int32_t side = std::max(std::abs(dx), std::abs(dy));
    int32_t toX = startX + (dx < 0 ? -side : side), toY = startY + (dy < 0 ? -side : side);
    return {std::min(startX, toX), std::min(startY, toY), std::max(startX, toX), std::max(startY, toY)};
}

MeasuredGrid measureGrid(int32_t startX, int32_t startY, int32_t endX, int32_t endY) {
    int32_t side = std::max(std::abs(endX - startX), std::abs(endY - startY));
    if (side < 2 || side > kMaxLayerSide) return {};
    return {true, side, normaliseOffset(startX, side), normaliseOffset(startY, side)};
}

}  // namespace lh::table
