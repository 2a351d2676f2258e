// The two colour forms of the drawing interface. Bitmaps are tinted with
// 0xAARRGGBB; lines and rectangles take the platform form 0x00BBGGRR, whose
// top byte 0 means opaque.
#pragma once

#include <cstdint>

namespace lh::render {

// 0x00BBGGRR (alpha byte 0 = opaque) to 0xAARRGGBB.
constexpr uint32_t lineColorToArgb(uint32_t bgr) {
    uint32_t alpha = bgr >> 24;
    if (alpha == 0) alpha = 0xFF;
    return (alpha << 24) | ((bgr & 0xFF) << 16) | (bgr & 0xFF00) | ((bgr >> 16) & 0xFF);
}

// The same, but the alpha byte is ignored: the rectangle outline is always opaque.
constexpr uint32_t opaqueLineColorToArgb(uint32_t bgr) {
    return lineColorToArgb(bgr & 0x00FFFFFF);
}

struct ColorF {
    float r, g, b, a;
};

constexpr ColorF argbToFloat(uint32_t argb) {
    return {float((argb >> 16) & 0xFF) / 255.0f, float((argb >> 8) & 0xFF) / 255.0f,
            float(argb & 0xFF) / 255.0f, float(argb >> 24) / 255.0f};
}

}  // namespace lh::render
