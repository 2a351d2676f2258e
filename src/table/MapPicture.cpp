// Map pictures read by rows; see MapPicture.h.
#include "table/MapPicture.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include "table/LayerFile.h"
#include "ui/PictureDecoder.h"

namespace lh::table {

namespace {

// Where the PNG bytes come from: memory, or a file read as it goes.
struct Source {
    const uint8_t* data = nullptr;
    size_t size = 0, position = 0;
    std::FILE* file = nullptr;
};

void readSource(png_structp png, png_bytep out, png_size_t length) {
    auto* source = static_cast<Source*>(png_get_io_ptr(png));
    if (source->file) {
        if (std::fread(out, 1, length, source->file) != length) png_error(png, "short file");
        return;
    }
    if (length > source->size - source->position) png_error(png, "short data");
    std::memcpy(out, source->data + source->position, length);
    source->position += length;
}

void quietWarning(png_structp, png_const_charp) {}
// A bad picture is an answer, not news: no line on stderr.
void quietError(png_structp png, png_const_charp) { png_longjmp(png, 1); }

enum class Rows { Done, Failed, Whole };

using SizeTaker = std::function<bool(int32_t width, int32_t height)>;
using RowTaker = std::function<void(int32_t y, const uint32_t* argb)>;

// The PNG row by row as 0xAARRGGBB. Whole: a kind this reader leaves to
// the decoder of whole pictures.
Rows readPngRows(Source& source, const SizeTaker& takeSize, const RowTaker& takeRow) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, quietError, quietWarning);
    if (!png) return Rows::Failed;
    png_infop info = png_create_info_struct(png);
    if (!info) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        return Rows::Failed;
    }
    // Everything with a destructor stands before the jump point.
    std::vector<uint32_t> row;
    Rows result = Rows::Failed;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return Rows::Failed;
    }
    png_set_read_fn(png, &source, readSource);
    png_set_user_limits(png, uint32_t(kMaxLayerSide), uint32_t(kMaxLayerSide));
    png_read_info(png, info);
    png_uint_32 w = 0, h = 0;
    int depth = 0, colour = 0, interlace = 0;
    png_get_IHDR(png, info, &w, &h, &depth, &colour, &interlace, nullptr, nullptr);
    // The decoder of whole pictures gives sRGB: a file in sRGB (marked so,
    // or with its gamma) reads the same here; any other gamma goes there.
    png_fixed_point gamma = 0;
    const bool srgbGamma = png_get_gAMA_fixed(png, info, &gamma) == 0 || (gamma >= 45355 && gamma <= 45555);
    const bool ownGamma = png_get_valid(png, info, PNG_INFO_iCCP) != 0 ||
                          (png_get_valid(png, info, PNG_INFO_sRGB) == 0 &&
                           (!srgbGamma || png_get_valid(png, info, PNG_INFO_cHRM) != 0));
    if (depth > 8 || interlace != PNG_INTERLACE_NONE || ownGamma) {
        result = Rows::Whole;
    } else if (layerSizeAllowed(int32_t(w), int32_t(h)) && takeSize(int32_t(w), int32_t(h))) {
        png_set_expand(png);
        png_set_gray_to_rgb(png);
        png_set_bgr(png);
        png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
        png_read_update_info(png, info);
        if (png_get_rowbytes(png, info) == size_t(w) * 4) {
            row.resize(w);
            for (png_uint_32 y = 0; y < h; ++y) {
                png_read_row(png, reinterpret_cast<png_bytep>(row.data()), nullptr);
                takeRow(int32_t(y), row.data());
            }
            // The end too, so that a file cut short does not pass.
            png_read_end(png, nullptr);
            result = Rows::Done;
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return result;
}

bool isPng(const uint8_t* bytes, size_t length) { return length >= 8 && png_sig_cmp(bytes, 0, 8) == 0; }

// Any picture the program reads, decoded whole, then given row by row.
bool readWholeRows(const uint8_t* bytes, size_t length, const SizeTaker& takeSize, const RowTaker& takeRow) {
    uint32_t w = 0, h = 0;
    if (!ui::readPictureSize(bytes, length, w, h) || !layerSizeAllowed(int32_t(w), int32_t(h))) return false;
    ui::PixelImage picture;
    if (!ui::decodePicture(bytes, length, picture, uint32_t(kMaxLayerSide))) return false;
    if (!takeSize(int32_t(picture.width), int32_t(picture.height))) return false;
    for (uint32_t y = 0; y < picture.height; ++y) takeRow(int32_t(y), &picture.pixels[size_t(y) * picture.width]);
    return true;
}

bool readBytes(const uint8_t* bytes, size_t length, const SizeTaker& takeSize, const RowTaker& takeRow) {
    if (isPng(bytes, length)) {
        Source source{bytes, length, 0, nullptr};
        Rows rows = readPngRows(source, takeSize, takeRow);
        if (rows != Rows::Whole) return rows == Rows::Done;
    }
    return readWholeRows(bytes, length, takeSize, takeRow);
}

bool readFile(const std::filesystem::path& file, const SizeTaker& takeSize, const RowTaker& takeRow) {
    std::FILE* f = std::fopen(file.c_str(), "rb");
    if (!f) return false;
    uint8_t signature[8] = {};
    Rows rows = Rows::Whole;
    if (std::fread(signature, 1, sizeof signature, f) == sizeof signature && isPng(signature, sizeof signature) &&
        std::fseek(f, 0, SEEK_SET) == 0) {
        Source source{nullptr, 0, 0, f};
        rows = readPngRows(source, takeSize, takeRow);
    }
    std::fclose(f);
    if (rows != Rows::Whole) return rows == Rows::Done;
    std::vector<uint8_t> bytes;
    return readWholeFile(file, bytes) && readWholeRows(bytes.data(), bytes.size(), takeSize, takeRow);
}

// What a picture becomes: the plane, sized by the picture, then its rows.
struct IntoPicture {
    PicturePixels& out;
    SizeTaker size() {
        return [this](int32_t w, int32_t h) { return out.reset(w, h, 0xFF000000u); };
    }
    RowTaker rows() {
        return [this](int32_t y, const uint32_t* argb) {
            out.loadRow(y, argb);
        };
    }
};

struct IntoAlpha {
    AlphaPlane& out;
    int32_t wantWidth, wantHeight;
    std::vector<uint8_t> blue{};
    SizeTaker size() {
        return [this](int32_t w, int32_t h) {
            if ((wantWidth > 0 && w != wantWidth) || (wantHeight > 0 && h != wantHeight)) return false;
            blue.resize(size_t(w));
            return out.reset(w, h, 0);
        };
    }
    RowTaker rows() {
        return [this](int32_t y, const uint32_t* argb) {
            uint8_t* to = blue.data();
            const size_t n = blue.size();
            // Most rows of a layer are one grey all along: a memory
            // compare finds them at once.
            if (std::memcmp(argb, argb + 1, (n - 1) * sizeof *argb) == 0) {
                std::memset(to, uint8_t(argb[0]), n);
            } else {
                for (size_t x = 0; x < n; ++x) to[x] = uint8_t(argb[x]);
            }
            out.loadRow(y, to);
        };
    }
};

}  // namespace

bool decodeMapPicture(const uint8_t* bytes, size_t length, PicturePixels& out) {
    IntoPicture into{out};
    if (readBytes(bytes, length, into.size(), into.rows())) return true;
    out.clear();
    return false;
}

bool loadMapPicture(const std::filesystem::path& file, PicturePixels& out) {
    IntoPicture into{out};
    if (readFile(file, into.size(), into.rows())) return true;
    out.clear();
    return false;
}

bool decodeAlphaPicture(const uint8_t* bytes, size_t length, int32_t width, int32_t height, AlphaPlane& out) {
    IntoAlpha into{out, width, height};
    if (readBytes(bytes, length, into.size(), into.rows())) return true;
    out.clear();
    return false;
}

bool loadAlphaPicture(const std::filesystem::path& file, int32_t width, int32_t height, AlphaPlane& out) {
    IntoAlpha into{out, width, height};
    if (readFile(file, into.size(), into.rows())) return true;
    out.clear();
    return false;
}

}  // namespace lh::table
