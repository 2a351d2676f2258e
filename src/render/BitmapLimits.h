// The largest picture a Bitmap holds: larger than any picture a table uses,
// small enough that width x height x 4 cannot overflow, and taken by every
// GL 3.3 driver. Pictures are held against it from their header, before any
// pixel is decoded, so that one the device would refuse never costs its
// memory first.
#pragma once

#include <cstdint>

namespace lh::render {

constexpr uint32_t kMaxBitmapSide = 8192;

constexpr bool bitmapSizeAllowed(uint64_t width, uint64_t height) {
    return width > 0 && height > 0 && width <= kMaxBitmapSide && height <= kMaxBitmapSide;
}

}  // namespace lh::render
