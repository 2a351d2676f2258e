// The shapes of pointers as numbers: the arrow's head, the cone's angles,
// the square's corners, which grid squares a shape lights, its length and
// its label. Drawing and the grid's pixels are elsewhere.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace lh::table {

enum PointerKind : int32_t { kPointerNone = 0, kArrow = 1, kCircle = 2, kCone = 3, kSquare = 4 };

struct IntPoint {
    int32_t x = 0, y = 0;
    bool operator==(const IntPoint&) const = default;
};

// The half angle of a cone, a float as the shape has always had it.
constexpr float kConeHalfAngle = 0.7853975f;
constexpr float kFullTurn = 6.28318f;

// The three points of an arrow's head at end E, for a line from S.
std::vector<IntPoint> arrowHead(IntPoint s, IntPoint e);
// The four corners of a square centred on S whose side's middle is E.
std::vector<IntPoint> squareCorners(IntPoint s, IntPoint e);
// The cone's arc from a1 to a2 (radians, 0 straight up, clockwise).
void coneAngles(IntPoint s, IntPoint e, float& a1, float& a2);
// The radius r: the integer part of |E - S|.
int32_t pointerRadius(IntPoint s, IntPoint e);

// Whether the square whose centre lies at (ex, ey) from the start is lit.
bool cellLit(int32_t kind, IntPoint s, IntPoint e, int32_t ex, int32_t ey);

// The grid as the map shows it, in control coordinates.
struct GridView {
    int32_t gridSize = 0;          // 0: no grid, nothing lit
    int32_t offsetX = 0, offsetY = 0;
    int32_t viewX = 0, viewY = 0;  // viewX + panX: the picture's top left
    int32_t width = 0, height = 0; // the control
};

// Lit squares, as their top left in control coordinates. Start and end are
// in the pointer's frame (relative to the picture's top left).
// `litCells` tests only the squares under the shape's bounding box;
// `litCellsByScan` tests every square of the control; both agree.
std::vector<IntPoint> litCells(const GridView& grid, int32_t kind, IntPoint start, IntPoint end);
std::vector<IntPoint> litCellsByScan(const GridView& grid, int32_t kind, IntPoint start, IntPoint end);

// The length in pixels and where its label stands (S-relative frame as S
// and E are given), and the label's text: the length in squares, "%.1f".
float pointerLength(int32_t kind, IntPoint s, IntPoint e);
IntPoint labelPosition(int32_t kind, IntPoint s, IntPoint e);
std::string lengthLabel(float length, int32_t gridSize);

}  // namespace lh::table
