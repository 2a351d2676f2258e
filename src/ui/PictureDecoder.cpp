// Picture decoding: libpng, libjpeg-turbo, then stb_image as the fallback.
#include "ui/PictureDecoder.h"

#include <png.h>
#include <stb_image.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>

// jpeglib.h wants FILE and size_t declared first.
#include <jpeglib.h>

#include "render/BitmapLimits.h"

namespace lh::ui {

namespace {

// The side limit of the decode under way: a Bitmap's, unless the caller
// takes larger pictures (maps, drawn in tiles).
thread_local uint32_t maxSide = render::kMaxBitmapSide;

bool sizeAllowed(uint64_t w, uint64_t h) { return w > 0 && h > 0 && w <= maxSide && h <= maxSide; }

// No format we read packs more pixels into a byte than this: deflate tops out
// near 1032:1 on one-bit rows, GIF's twelve-bit codes near 2730 pixels a byte.
// A header that claims more is lying, and a few bytes must not make us take
// hundreds of megabytes for pixels that can never arrive.
constexpr uint64_t kMostPixelsPerByte = 16384;

bool sizePlausible(uint64_t w, uint64_t h, size_t length) { return w * h <= uint64_t(length) * kMostPixelsPerByte; }

enum class Format { Png, Jpeg, Other };

// The format is told by its signature; a damaged PNG or JPEG is not handed
// on to the lenient fallback, which would show half a picture.
Format formatOf(const void* bytes, size_t length) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    if (length >= 8 && png_sig_cmp(b, 0, 8) == 0) return Format::Png;
    if (length >= 2 && b[0] == 0xFF && b[1] == 0xD8) return Format::Jpeg;
    return Format::Other;
}

bool pngSize(const void* bytes, size_t length, uint32_t& w, uint32_t& h) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes, length)) return false;
    w = image.width;
    h = image.height;
    png_image_free(&image);
    return true;
}

bool decodePng(const void* bytes, size_t length, PixelImage& out) {
    if (length < 8 || png_sig_cmp(static_cast<png_const_bytep>(bytes), 0, 8) != 0) return false;
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes, length)) return false;
    if (!sizeAllowed(image.width, image.height)) {
        png_image_free(&image);
        return false;
    }
    image.format = PNG_FORMAT_BGRA;  // memory order of 0xAARRGGBB
    std::vector<uint32_t> pixels(size_t(image.width) * image.height);
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) {
        png_image_free(&image);
        return false;
    }
    out.width = image.width;
    out.height = image.height;
    out.pixels = std::move(pixels);
    return true;
}

struct JpegError {
    jpeg_error_mgr base;
    std::jmp_buf jump;
};

void jpegFail(j_common_ptr info) {
    std::longjmp(reinterpret_cast<JpegError*>(info->err)->jump, 1);
}

void jpegQuiet(j_common_ptr, int) {}

bool decodeJpeg(const void* bytes, size_t length, PixelImage& out) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    if (length < 3 || b[0] != 0xFF || b[1] != 0xD8) return false;
    jpeg_decompress_struct info;
    JpegError error;
    info.err = jpeg_std_error(&error.base);
    error.base.error_exit = jpegFail;
    error.base.emit_message = jpegQuiet;
    // Everything that lives across the longjmp is declared before it.
    std::vector<uint32_t> pixels;
    if (setjmp(error.jump)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, b, static_cast<unsigned long>(length));
    if (jpeg_read_header(&info, TRUE) != JPEG_HEADER_OK || !sizeAllowed(info.image_width, info.image_height)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    info.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&info);
    pixels.assign(size_t(info.output_width) * info.output_height, 0);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = reinterpret_cast<JSAMPROW>(pixels.data() + size_t(info.output_scanline) * info.output_width);
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    out.width = info.output_width;
    out.height = info.output_height;
    jpeg_destroy_decompress(&info);
    out.pixels = std::move(pixels);
    return true;
}

bool jpegSize(const void* bytes, size_t length, uint32_t& w, uint32_t& h) {
    jpeg_decompress_struct info;
    JpegError error;
    info.err = jpeg_std_error(&error.base);
    error.base.error_exit = jpegFail;
    error.base.emit_message = jpegQuiet;
    if (setjmp(error.jump)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, static_cast<const unsigned char*>(bytes), static_cast<unsigned long>(length));
    bool ok = jpeg_read_header(&info, TRUE) == JPEG_HEADER_OK;
    if (ok) {
        w = info.image_width;
        h = info.image_height;
    }
    jpeg_destroy_decompress(&info);
    return ok;
}

bool fallbackSize(const void* bytes, size_t length, uint32_t& w, uint32_t& h) {
    int width = 0, height = 0, channels = 0;
    if (length > size_t(INT32_MAX) ||
        !stbi_info_from_memory(static_cast<const stbi_uc*>(bytes), int(length), &width, &height, &channels) ||
        width <= 0 || height <= 0) {
        return false;
    }
    w = uint32_t(width);
    h = uint32_t(height);
    return true;
}

bool decodeFallback(const void* bytes, size_t length, PixelImage& out) {
    if (length > size_t(INT32_MAX)) return false;
    int w = 0, h = 0, channels = 0;
    const auto* b = static_cast<const stbi_uc*>(bytes);
    if (!stbi_info_from_memory(b, int(length), &w, &h, &channels) || !sizeAllowed(uint64_t(w), uint64_t(h))) {
        return false;
    }
    stbi_uc* rgba = stbi_load_from_memory(b, int(length), &w, &h, &channels, 4);
    if (!rgba) return false;
    out.width = uint32_t(w);
    out.height = uint32_t(h);
    out.pixels.resize(size_t(w) * size_t(h));
    for (size_t i = 0; i < out.pixels.size(); ++i) {
        const stbi_uc* p = rgba + i * 4;
        out.pixels[i] = uint32_t(p[3]) << 24 | uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2];
    }
    stbi_image_free(rgba);
    return true;
}

}  // namespace

bool readPictureSize(const void* bytes, size_t length, uint32_t& width, uint32_t& height) {
    if (!bytes || length == 0) return false;
    switch (formatOf(bytes, length)) {
        case Format::Png: return pngSize(bytes, length, width, height);
        case Format::Jpeg: return jpegSize(bytes, length, width, height);
        case Format::Other: return fallbackSize(bytes, length, width, height);
    }
    return false;
}

std::string pictureRefusal(const std::string& name, const void* bytes, size_t length) {
    uint32_t w = 0, h = 0;
    if (!readPictureSize(bytes, length, w, h) || sizeAllowed(w, h)) return {};
    std::string largest = std::to_string(render::kMaxBitmapSide);
    return "The picture " + name + " is " + std::to_string(w) + " by " + std::to_string(h) +
           " pixels; the largest that can be shown is " + largest + " by " + largest + ".";
}

bool decodePicture(const void* bytes, size_t length, PixelImage& out, uint32_t largestSide) {
    struct Limit {
        uint32_t saved = maxSide;
        ~Limit() { maxSide = saved; }
    } restore;
    maxSide = largestSide;
    out = PixelImage{};
    uint32_t w = 0, h = 0;
    // The header first: a picture too large to show is not decoded at all.
    if (!readPictureSize(bytes, length, w, h) || !sizeAllowed(w, h) || !sizePlausible(w, h, length)) return false;
    bool ok = false;
    switch (formatOf(bytes, length)) {
        case Format::Png: ok = decodePng(bytes, length, out); break;
        case Format::Jpeg: ok = decodeJpeg(bytes, length, out); break;
        case Format::Other: ok = decodeFallback(bytes, length, out); break;
    }
    if (ok) return true;
    out = PixelImage{};
    return false;
}

}  // namespace lh::ui
