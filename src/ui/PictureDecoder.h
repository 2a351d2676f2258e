// Decodes picture files (PNG, JPEG, then whatever the fallback decoder reads:
// BMP, GIF, TGA, ...) into 32-bit ARGB pixels, top row first. Pure: bytes in,
// pixels out, so it can be fed hostile input in tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "render/BitmapLimits.h"

namespace lh::ui {

struct PixelImage {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB; in memory B, G, R, A
    bool empty() const { return pixels.empty(); }
};

// False leaves `out` empty. Formats without alpha come out opaque. A
// picture larger than a Bitmap can hold (render/BitmapLimits.h), or than
// `largestSide` for a caller that draws it in pieces, is refused from its
// header, before any pixel memory is taken.
bool decodePicture(const void* bytes, size_t length, PixelImage& out, uint32_t largestSide = render::kMaxBitmapSide);

// The size that a picture's header gives, without decoding it; false if no
// format here reads the header.
bool readPictureSize(const void* bytes, size_t length, uint32_t& width, uint32_t& height);

// For a picture that reads but is too large to show: the sentence that tells
// the user so, naming it by `name`. Empty for any other picture.
std::string pictureRefusal(const std::string& name, const void* bytes, size_t length);

}  // namespace lh::ui
