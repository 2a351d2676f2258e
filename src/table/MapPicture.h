// A map's picture (and its layer files) read into blocks one row at a
// time: a PNG of 16384 x 16384 never stands whole in memory beside its
// blocks, and a flat one costs next to nothing. What the row reader does
// not take (other formats, interlaced or 16-bit PNGs, PNGs with their own
// gamma) goes through the program's picture decoder as a whole.
#pragma once

#include <cstdint>
#include <filesystem>

#include "table/LayerPixels.h"

namespace lh::table {

// From file bytes; false for anything that is no picture within the
// layer limits (the plane is then empty).
bool decodeMapPicture(const uint8_t* bytes, size_t length, PicturePixels& out);
// From a file, read as it decodes.
bool loadMapPicture(const std::filesystem::path& file, PicturePixels& out);

// A layer: the blue of each pixel is its alpha. `width` and `height`,
// when not 0, are the size the picture must have.
bool decodeAlphaPicture(const uint8_t* bytes, size_t length, int32_t width, int32_t height, AlphaPlane& out);
bool loadAlphaPicture(const std::filesystem::path& file, int32_t width, int32_t height, AlphaPlane& out);

}  // namespace lh::table
