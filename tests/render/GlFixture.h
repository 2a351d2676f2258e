// A hidden window with the graphics device on it, for tests that read
// pixels back. Without a GL context the test fails and says why.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/Window.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"

namespace lh::test {

class GlTest : public ::testing::Test {
protected:
    static constexpr int kWidth = 160;
    static constexpr int kHeight = 120;

    void SetUp() override {
        std::string error;
        ASSERT_TRUE(platform::initialize(error)) << "no video layer: " << error;
        window.reset(platform::Window::create("render test", kWidth, kHeight));
        ASSERT_TRUE(window) << "no OpenGL-capable window, so no GL context and no GL_RENDERER";
        int code = render::GraphicsDevice::Get().Create(*window);
        ASSERT_EQ(code, 0) << "no OpenGL 3.3 context (code " << code
                           << "); GL_RENDERER: " << render::GraphicsDevice::Get().RendererName();
    }

    void TearDown() override {
        render::GraphicsDevice::Get().Destroy();
        window.reset();
        platform::shutdown();
    }

    // The whole back buffer, 0xFFRRGGBB, top row first.
    std::vector<uint32_t> screen() {
        std::vector<uint32_t> px;
        render::GraphicsDevice::Get().ReadBackBuffer({0, 0, kWidth, kHeight}, px);
        return px;
    }
    static uint32_t at(const std::vector<uint32_t>& px, int x, int y) {
        return px[size_t(y) * kWidth + size_t(x)];
    }

    std::unique_ptr<platform::Window> window;
};

// Each channel within `tolerance` of the expected colour.
inline ::testing::AssertionResult near(uint32_t actual, uint32_t expected, int tolerance) {
    for (int shift = 0; shift < 32; shift += 8) {
        int a = int((actual >> shift) & 0xFF), e = int((expected >> shift) & 0xFF);
        if (std::abs(a - e) > tolerance) {
            char text[80];
            std::snprintf(text, sizeof text, "0x%08X is not within %d of 0x%08X", actual, tolerance,
                          expected);
            return ::testing::AssertionFailure() << text;
        }
    }
    return ::testing::AssertionSuccess();
}

// The brightest pixel of a rectangle of `px` (`width` pixels to a row): in
// text, a stroke's middle, where the glyph covers the pixel fully and the
// colour shows as it is.
inline uint32_t brightestIn(const std::vector<uint32_t>& px, int width, int x0, int y0, int x1, int y1) {
    uint32_t best = 0;
    int bestSum = -1;
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            uint32_t p = px[size_t(y) * size_t(width) + size_t(x)];
            int sum = int(p & 0xFF) + int((p >> 8) & 0xFF) + int((p >> 16) & 0xFF);
            if (sum > bestSum) bestSum = sum, best = p;
        }
    }
    return best;
}

// A bitmap of one colour, or of a given pixel array.
inline std::unique_ptr<render::Bitmap> solidBitmap(uint32_t w, uint32_t h, uint32_t argb) {
    auto b = std::make_unique<render::Bitmap>();
    std::vector<uint32_t> px(size_t(w) * h, argb);
    b->LoadFromPixels(w, h, px.data());
    return b;
}

}  // namespace lh::test
