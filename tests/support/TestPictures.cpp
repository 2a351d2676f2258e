#include "support/TestPictures.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <jpeglib.h>

namespace lh::test {

std::vector<uint8_t> encodePng(uint32_t w, uint32_t h, const std::vector<uint32_t>& argb) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = w;
    image.height = h;
    image.format = PNG_FORMAT_BGRA;
    png_alloc_size_t size = 0;
    png_image_write_to_memory(&image, nullptr, &size, 0, argb.data(), 0, nullptr);
    std::vector<uint8_t> out(size);
    png_image_write_to_memory(&image, out.data(), &size, 0, argb.data(), 0, nullptr);
    out.resize(size);
    return out;
}

bool writePngRows(const std::filesystem::path& file, uint32_t w, uint32_t h,
                  const std::function<void(uint32_t y, uint32_t* argb)>& row) {
    std::FILE* f = std::fopen(file.c_str(), "wb");
    if (!f) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::vector<uint32_t> argb(w);
    std::vector<uint8_t> rgb(size_t(w) * 3);
    if (!png || !info) {
        png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
        std::fclose(f);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(f);
        return false;
    }
    png_init_io(png, f);
    png_set_compression_level(png, 1);
    png_set_filter(png, 0, PNG_FILTER_NONE);
    png_set_IHDR(png, info, w, h, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    std::vector<uint32_t> last(w);
    for (uint32_t y = 0; y < h; ++y) {
        row(y, argb.data());
        // Big test maps are mostly rows like the one before.
        if (y == 0 || std::memcmp(argb.data(), last.data(), size_t(w) * 4) != 0) {
            const uint32_t* from = argb.data();
            uint8_t* to = rgb.data();
            for (uint32_t x = 0; x < w; ++x, to += 3) {
                to[0] = uint8_t(from[x] >> 16);
                to[1] = uint8_t(from[x] >> 8);
                to[2] = uint8_t(from[x]);
            }
            argb.swap(last);
        }
        png_write_row(png, rgb.data());
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return std::fclose(f) == 0;
}

std::vector<uint8_t> encodeJpeg(int w, int h, uint8_t r, uint8_t g, uint8_t b) {
    jpeg_compress_struct info;
    jpeg_error_mgr err;
    info.err = jpeg_std_error(&err);
    jpeg_create_compress(&info);
    unsigned char* mem = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &mem, &size);
    info.image_width = JDIMENSION(w);
    info.image_height = JDIMENSION(h);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    jpeg_start_compress(&info, TRUE);
    std::vector<uint8_t> row(size_t(w) * 3);
    for (int x = 0; x < w; ++x) row[size_t(x) * 3] = r, row[size_t(x) * 3 + 1] = g, row[size_t(x) * 3 + 2] = b;
    while (info.next_scanline < info.image_height) {
        JSAMPROW p = row.data();
        jpeg_write_scanlines(&info, &p, 1);
    }
    jpeg_finish_compress(&info);
    std::vector<uint8_t> out(mem, mem + size);
    jpeg_destroy_compress(&info);
    free(mem);
    return out;
}

std::vector<uint8_t> tinyBmp() {
    std::vector<uint8_t> b = {'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0,
                              1, 0, 24, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0x13, 0x0B, 0, 0, 0x13, 0x0B, 0, 0, 0, 0, 0, 0,
                              0, 0, 0, 0};
    // bottom row: blue, green; top row: red, white (B, G, R per pixel, rows padded to 4)
    uint8_t rows[] = {255, 0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0};
    b.insert(b.end(), rows, rows + sizeof rows);
    return b;
}

std::string asText(const std::vector<uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

}  // namespace lh::test
