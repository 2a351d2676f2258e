// Layer files; see LayerFile.h.
#include "table/LayerFile.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <string_view>

#include "db/SafeFile.h"
#include "ui/PictureDecoder.h"

namespace lh::table {

namespace {

void appendBytes(png_structp png, png_bytep data, png_size_t length) {
    auto* out = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + length);
}

void noFlush(png_structp) {}

// Fills `out`; a libpng error jumps back here and leaves it empty.
bool writeRows(const AlphaPlane& plane, std::vector<uint8_t>& out) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (!png) return false;
    png_infop info = png_create_info_struct(png);
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    std::vector<uint8_t> row(size_t(plane.width) * 3);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &out, appendBytes, noFlush);
    // Layers are mostly flat: a light compression keeps saves quick.
    png_set_compression_level(png, 3);
    png_set_IHDR(png, info, png_uint_32(plane.width), png_uint_32(plane.height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int32_t y = 0; y < plane.height; ++y) {
        const uint8_t* a = &plane.alpha[size_t(y) * size_t(plane.width)];
        for (int32_t x = 0; x < plane.width; ++x) row[size_t(x) * 3] = row[size_t(x) * 3 + 1] = row[size_t(x) * 3 + 2] = a[x];
        png_write_row(png, row.data());
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

std::vector<uint8_t> encodeLayerPng(const AlphaPlane& plane) {
    std::vector<uint8_t> out;
    if (plane.empty() || !writeRows(plane, out)) out.clear();
    return out;
}

bool saveLayerFile(const std::filesystem::path& file, const AlphaPlane& plane) {
    std::vector<uint8_t> bytes = encodeLayerPng(plane);
    if (bytes.empty()) return false;
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    return db::writeFileSafely(file, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) == 0;
}

bool decodeLayer(const uint8_t* bytes, size_t length, int32_t width, int32_t height, AlphaPlane& out) {
    ui::PixelImage picture;
    uint32_t w = 0, h = 0;
    if (!ui::readPictureSize(bytes, length, w, h) || uint64_t(w) * h > kMaxLayerPixels) return false;
    if (!ui::decodePicture(bytes, length, picture, uint32_t(kMaxLayerSide))) return false;
    if ((width > 0 && int32_t(picture.width) != width) || (height > 0 && int32_t(picture.height) != height)) return false;
    if (!out.reset(int32_t(picture.width), int32_t(picture.height), 0)) return false;
    for (size_t i = 0; i < picture.pixels.size(); ++i) out.alpha[i] = uint8_t(picture.pixels[i]);  // blue
    return true;
}

bool readWholeFile(const std::filesystem::path& file, std::vector<uint8_t>& out, uint64_t limit) {
    out.clear();
    std::FILE* f = std::fopen(file.c_str(), "rb");
    if (!f) return false;
    bool ok = std::fseek(f, 0, SEEK_END) == 0;
    long size = ok ? std::ftell(f) : -1;
    ok = ok && size >= 0 && uint64_t(size) <= limit && std::fseek(f, 0, SEEK_SET) == 0;
    if (ok) {
        out.resize(size_t(size));
        ok = std::fread(out.data(), 1, out.size(), f) == out.size();
    }
    std::fclose(f);
    if (!ok) out.clear();
    return ok;
}

bool loadLayerFile(const std::filesystem::path& file, int32_t width, int32_t height, AlphaPlane& out) {
    std::vector<uint8_t> bytes;
    return readWholeFile(file, bytes) && decodeLayer(bytes.data(), bytes.size(), width, height, out);
}

}  // namespace lh::table
