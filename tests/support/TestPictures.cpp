#include "support/TestPictures.h"

#include <png.h>

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
