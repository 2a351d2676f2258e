// Writes 32-bit pictures as PNG files with libpng.
#pragma once

#include <cstdint>
#include <filesystem>

namespace lh::render {

enum class PngLayout {
    Rgb,          // colour only (the screen has no alpha)
    Rgba,         // colour and alpha
    GrayOfAlpha,  // one grey channel holding the alpha (masks)
};

// `argb` holds width x height pixels 0xAARRGGBB, top row first. Writes to a
// temporary name and renames, so a failed write leaves no half file. False
// on any failure.
bool writePng(const std::filesystem::path& path, uint32_t width, uint32_t height, const uint32_t* argb,
              PngLayout layout);

}  // namespace lh::render
