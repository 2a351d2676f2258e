// Layer files; see LayerFile.h.
#include "table/LayerFile.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "db/SafeFile.h"
#include "table/MapPicture.h"

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
    std::vector<uint8_t> row(size_t(plane.width) * 3), alpha(size_t(plane.width));
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &out, appendBytes, noFlush);
    // Layers are mostly flat: the lightest compression keeps saves quick,
    // and so do rows left unfiltered (a flat row packs as well without,
    // and trying every filter on each row of a huge layer costs seconds).
    png_set_compression_level(png, 1);
    png_set_filter(png, 0, PNG_FILTER_NONE);
    png_set_IHDR(png, info, png_uint_32(plane.width), png_uint_32(plane.height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    std::vector<uint8_t> last(alpha.size());
    for (int32_t y = 0; y < plane.height; ++y) {
        plane.readRow(y, 0, plane.width, alpha.data());
        // Layers are mostly rows like the one before: those keep their bytes.
        if (y == 0 || std::memcmp(alpha.data(), last.data(), alpha.size()) != 0) {
            const uint8_t* a = alpha.data();
            uint8_t* to = row.data();
            for (size_t x = 0, n = alpha.size(); x < n; ++x, to += 3) to[0] = to[1] = to[2] = a[x];
            alpha.swap(last);
        }
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
    return decodeAlphaPicture(bytes, length, width, height, out);
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
    return loadAlphaPicture(file, width, height, out);
}

}  // namespace lh::table
