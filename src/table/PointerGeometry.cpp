// Pointer shapes as numbers; see PointerGeometry.h.
#include "table/PointerGeometry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace lh::table {

namespace {

float angleOf(int32_t dx, int32_t dy) { return float(std::atan2(double(dx), double(-dy))); }

int32_t firstCell(int32_t view, int32_t offset, int32_t g) {
    int32_t rem = (-view) % g;  // truncating, as C has it
    return offset != 0 ? offset - rem - g : -rem;
}

}  // namespace

int32_t pointerRadius(IntPoint s, IntPoint e) {
    double dx = double(e.x) - s.x, dy = double(e.y) - s.y;
    return int32_t(std::sqrt(dx * dx + dy * dy));
}

std::vector<IntPoint> arrowHead(IntPoint s, IntPoint e) {
    double c = 0, sn = 1;
    int32_t dx = e.x - s.x, dy = e.y - s.y;
    if (dx != 0) {
        double t = std::atan(double(dy) / double(dx));
        c = std::cos(t);
        sn = std::sin(t);
        if (s.x > e.x) {
            c = -c;
            sn = -sn;
        }
    } else {
        sn = s.y > e.y ? -1 : 1;
    }
    return {IntPoint{int32_t(e.x - 5 * c - 5 * sn), int32_t(e.y + 5 * c - 5 * sn)},
            IntPoint{int32_t(e.x + 2 * c), int32_t(e.y + 2 * sn)},
            IntPoint{int32_t(e.x + 5 * sn - 5 * c), int32_t(e.y - 5 * c - 5 * sn)}};
}

std::vector<IntPoint> squareCorners(IntPoint s, IntPoint e) {
    double a = angleOf(e.x - s.x, e.y - s.y);
    double sn = std::sin(a), c = std::cos(a), r = pointerRadius(s, e);
    double X = s.x, Y = s.y;
    return {IntPoint{int32_t(X + (sn - c) * r), int32_t(Y + (-c - sn) * r)},
            IntPoint{int32_t(X + (c + sn) * r), int32_t(Y + (sn - c) * r)},
            IntPoint{int32_t(X + (c - sn) * r), int32_t(Y + (c + sn) * r)},
            IntPoint{int32_t(X + (-sn - c) * r), int32_t(Y + (c - sn) * r)}};
}

void coneAngles(IntPoint s, IntPoint e, float& a1, float& a2) {
    float a = angleOf(e.x - s.x, e.y - s.y);
    a1 = a - kConeHalfAngle;
    a2 = a + kConeHalfAngle;
}

bool cellLit(int32_t kind, IntPoint s, IntPoint e, int32_t ex, int32_t ey) {
    int64_t dx = int64_t(e.x) - s.x, dy = int64_t(e.y) - s.y;
    int64_t d2 = int64_t(ex) * ex + int64_t(ey) * ey;
    switch (kind) {
        case kCircle: {
            int64_t r = std::max(std::llabs(dx), std::llabs(dy));
            return d2 <= r * r;
        }
        case kCone: {
            if (d2 > dx * dx + dy * dy) return false;
            float a1 = 0, a2 = 0;
            coneAngles(s, e, a1, a2);
            if (a2 < a1) a2 += kFullTurn;
            float b = angleOf(ex, ey);
            for (int i = 0; i < 8 && b < a1; ++i) b += kFullTurn;
            for (int i = 0; i < 8 && b > a1 + kFullTurn; ++i) b -= kFullTurn;
            return a1 <= b && b <= a2;
        }
        case kSquare: {
            // The corners about the start as origin, the centre measured alike.
            std::vector<IntPoint> k = squareCorners(IntPoint{0, 0}, IntPoint{int32_t(dx), int32_t(dy)});
            for (size_t i = 0; i < 4; ++i) {
                const IntPoint& p = k[i];
                const IntPoint& q = k[(i + 1) % 4];
                double sdx = double(q.x) - p.x, sdy = double(q.y) - p.y;
                double len = std::sqrt(sdx * sdx + sdy * sdy);
                if (len == 0) return false;
                double v = ((double(p.y) - ey) * sdx - (double(p.x) - ex) * sdy) / len;
                if (v > 0) return false;
            }
            return true;
        }
        default:
            return false;
    }
}

namespace {

template <typename Visit>
void walkCells(const GridView& grid, int32_t colFrom, int32_t colTo, int32_t rowFrom, int32_t rowTo, Visit visit) {
    int32_t g = grid.gridSize;
    int32_t fx = firstCell(grid.viewX, grid.offsetX, g), fy = firstCell(grid.viewY, grid.offsetY, g);
    for (int32_t row = rowFrom; row <= rowTo; ++row)
        for (int32_t col = colFrom; col <= colTo; ++col) visit(fx + g * col, fy + g * row);
}

std::vector<IntPoint> collect(const GridView& grid, int32_t kind, IntPoint start, IntPoint end, int32_t colFrom,
                              int32_t colTo, int32_t rowFrom, int32_t rowTo) {
    std::vector<IntPoint> lit;
    int32_t half = grid.gridSize >> 1;
    walkCells(grid, colFrom, colTo, rowFrom, rowTo, [&](int32_t left, int32_t top) {
        int32_t ex = left + half - start.x - grid.viewX;
        int32_t ey = top + half - start.y - grid.viewY;
        if (cellLit(kind, start, end, ex, ey)) lit.push_back(IntPoint{left, top});
    });
    return lit;
}

int32_t lastIndex(int32_t extent, int32_t g) { return extent <= 0 ? 0 : (extent + g - 1) / g; }

}  // namespace

std::vector<IntPoint> litCellsByScan(const GridView& grid, int32_t kind, IntPoint start, IntPoint end) {
    if (grid.gridSize <= 0 || kind < kCircle || kind > kSquare) return {};
    return collect(grid, kind, start, end, 0, lastIndex(grid.width, grid.gridSize), 0,
                   lastIndex(grid.height, grid.gridSize));
}

std::vector<IntPoint> litCells(const GridView& grid, int32_t kind, IntPoint start, IntPoint end) {
    int32_t g = grid.gridSize;
    if (g <= 0 || kind < kCircle || kind > kSquare) return {};
    // Every shape lies within a square about the start of half side
    // max(|dx|, |dy|) for the circle, r for the cone, and r times sqrt 2
    // for the square's corners: bound all by 2r + 1.
    int64_t reach = int64_t(pointerRadius(start, end)) * 2 + 1;
    int64_t sx = int64_t(start.x) + grid.viewX, sy = int64_t(start.y) + grid.viewY;  // control frame
    int32_t fx = firstCell(grid.viewX, grid.offsetX, g), fy = firstCell(grid.viewY, grid.offsetY, g);
    int32_t maxCol = lastIndex(grid.width, g), maxRow = lastIndex(grid.height, g);
    auto clampIndex = [](int64_t v, int32_t hi) { return int32_t(std::clamp<int64_t>(v, 0, hi)); };
    // A square's centre left + g/2 lies within the reach: its column from
    // (sx - reach - g/2 - fx) / g to (sx + reach - g/2 - fx) / g, widened
    // by one on each side for the rounding of the division.
    int64_t half = g >> 1;
    int32_t c0 = clampIndex((sx - reach - half - fx) / g - 1, maxCol);
    int32_t c1 = clampIndex((sx + reach - half - fx) / g + 1, maxCol);
    int32_t r0 = clampIndex((sy - reach - half - fy) / g - 1, maxRow);
    int32_t r1 = clampIndex((sy + reach - half - fy) / g + 1, maxRow);
    if (sx + reach < fx - g || sy + reach < fy - g) return {};
    return collect(grid, kind, start, end, c0, c1, r0, r1);
}

float pointerLength(int32_t kind, IntPoint s, IntPoint e) {
    double dx = double(e.x) - s.x, dy = double(e.y) - s.y;
    switch (kind) {
        case kCircle:
            return float(std::max(std::fabs(dx), std::fabs(dy)));
        case kSquare:
            return float(2 * std::sqrt(dx * dx + dy * dy));
        default:
            return float(std::sqrt(dx * dx + dy * dy));
    }
}

IntPoint labelPosition(int32_t kind, IntPoint s, IntPoint e) {
    if (kind == kCircle || kind == kSquare) return s;
    double a = angleOf(e.x - s.x, e.y - s.y);
    return IntPoint{int32_t(s.x - 30 * std::sin(a)), int32_t(s.y + 30 * std::cos(a))};
}

std::string lengthLabel(float length, int32_t gridSize) {
    if (gridSize == 0) return {};
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", double(length / float(gridSize)));
    return text;
}

}  // namespace lh::table
