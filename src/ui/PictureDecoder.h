// Decodes picture files (PNG, JPEG, then whatever the fallback decoder reads:
// BMP, GIF, TGA, ...) into 32-bit ARGB pixels, top row first. Pure: bytes in,
// pixels out, so it can be fed hostile input in tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lh::ui {

struct PixelImage {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB; in memory B, G, R, A
    bool empty() const { return pixels.empty(); }
};

// Pictures larger than this are refused before any pixel memory is taken.
constexpr uint32_t kMaxPictureSide = 16384;
constexpr uint64_t kMaxPicturePixels = 64ull << 20;

// False leaves `out` empty. Formats without alpha come out opaque.
bool decodePicture(const void* bytes, size_t length, PixelImage& out);

}  // namespace lh::ui
