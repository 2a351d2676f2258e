// The files of mask and drawing layers: a PNG of the layer's size, opaque,
// red, green and blue all holding the alpha. Reading takes one channel.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "table/LayerPixels.h"

namespace lh::table {

// The PNG bytes of a plane; empty on failure.
std::vector<uint8_t> encodeLayerPng(const AlphaPlane& plane);
// Written to a temp file and renamed; false on failure, the old file kept.
bool saveLayerFile(const std::filesystem::path& file, const AlphaPlane& plane);

// A layer from file bytes: false for anything that is no picture of the
// wanted size (width or height 0 takes any size).
bool decodeLayer(const uint8_t* bytes, size_t length, int32_t width, int32_t height, AlphaPlane& out);
bool loadLayerFile(const std::filesystem::path& file, int32_t width, int32_t height, AlphaPlane& out);

// Whole file into memory; false if it cannot be read or is beyond `limit`.
bool readWholeFile(const std::filesystem::path& file, std::vector<uint8_t>& out, uint64_t limit = 1ull << 31);

}  // namespace lh::table
