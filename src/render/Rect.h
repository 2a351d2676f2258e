// Integer rectangles in client pixels: left and top inside, right and bottom
// outside, y growing downwards.
#pragma once

#include <algorithm>
#include <cstdint>

namespace lh::render {

struct Rect {
    int32_t left = 0, top = 0, right = 0, bottom = 0;

    int32_t width() const { return right - left; }
    int32_t height() const { return bottom - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    bool contains(int32_t x, int32_t y) const { return x >= left && x < right && y >= top && y < bottom; }
    bool operator==(const Rect&) const = default;
};

// Common part of two rectangles; empty (all zero) when they do not meet.
inline Rect intersect(const Rect& a, const Rect& b) {
    Rect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
           std::min(a.bottom, b.bottom)};
    return r.isEmpty() ? Rect{} : r;
}

// Smallest rectangle holding both; an empty one adds nothing.
inline Rect unite(const Rect& a, const Rect& b) {
    if (a.isEmpty()) return b.isEmpty() ? Rect{} : b;
    if (b.isEmpty()) return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

}  // namespace lh::render
