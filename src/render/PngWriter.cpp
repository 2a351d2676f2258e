// PNG writing through libpng's simplified interface.
#include "render/PngWriter.h"

#include <png.h>

#include <system_error>
#include <vector>

namespace lh::render {

bool writePng(const std::filesystem::path& path, uint32_t width, uint32_t height, const uint32_t* argb,
              PngLayout layout) {
    if (!argb || width == 0 || height == 0) return false;
    const uint32_t channels = layout == PngLayout::Rgba ? 4 : layout == PngLayout::Rgb ? 3 : 1;
    std::vector<uint8_t> bytes(size_t(width) * height * channels);
    uint8_t* out = bytes.data();
    for (size_t i = 0, n = size_t(width) * height; i < n; ++i) {
        uint32_t p = argb[i];
        if (layout == PngLayout::GrayOfAlpha) {
            *out++ = uint8_t(p >> 24);
            continue;
        }
        *out++ = uint8_t(p >> 16);
        *out++ = uint8_t(p >> 8);
        *out++ = uint8_t(p);
        if (layout == PngLayout::Rgba) *out++ = uint8_t(p >> 24);
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = layout == PngLayout::Rgba  ? PNG_FORMAT_RGBA
                   : layout == PngLayout::Rgb ? PNG_FORMAT_RGB
                                              : PNG_FORMAT_GRAY;
    std::filesystem::path temp = path;
    temp += ".part";
    bool ok = png_image_write_to_file(&image, temp.c_str(), 0, bytes.data(), png_int_32(width * channels),
                                      nullptr) != 0;
    png_image_free(&image);
    std::error_code ec;
    if (ok) std::filesystem::rename(temp, path, ec);
    if (!ok || ec) {
        std::filesystem::remove(temp, ec);
        return false;
    }
    return true;
}

}  // namespace lh::render
