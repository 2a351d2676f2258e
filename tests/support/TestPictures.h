// Picture files made in memory for the tests that read pictures: PNG with
// alpha, JPEG of one colour, and a tiny BMP for the fallback decoder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace lh::test {

// `argb` holds w x h pixels, 0xAARRGGBB, top row first.
std::vector<uint8_t> encodePng(uint32_t w, uint32_t h, const std::vector<uint32_t>& argb);
// A PNG file (RGB) of pictures too large to hold whole: `row` fills one
// row of w pixels 0xAARRGGBB for each y in turn. False on failure.
bool writePngRows(const std::filesystem::path& file, uint32_t w, uint32_t h,
                  const std::function<void(uint32_t y, uint32_t* argb)>& row);
std::vector<uint8_t> encodeJpeg(int w, int h, uint8_t r, uint8_t g, uint8_t b);
// A 2x2 24-bit BMP: red and white on the top row, blue and green below.
std::vector<uint8_t> tinyBmp();
// The same bytes as a string, for writing files.
std::string asText(const std::vector<uint8_t>& bytes);

}  // namespace lh::test
