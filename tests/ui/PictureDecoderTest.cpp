// Pictures: PNG, JPEG and a fallback format decode to ARGB, top row first;
// broken and oversized files are refused without harm.
#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <cstring>
#include <jpeglib.h>
#include <zlib.h>

#include "render/BitmapLimits.h"
#include "support/TestPictures.h"
#include "ui/PictureDecoder.h"

using namespace lh::ui;
using lh::test::encodeJpeg;
using lh::test::encodePng;
using lh::test::tinyBmp;

namespace {

}  // namespace

TEST(PictureDecoder, PngJpegAndFallbackDecodeTopRowFirst) {
    // An asymmetric picture with alpha: a red pixel at the top left.
    std::vector<uint32_t> argb = {0xFFFF0000, 0x8000FF00, 0x400000FF, 0x00FFFFFF, 0xFF123456, 0xFF000000};
    PixelImage png;
    auto bytes = encodePng(3, 2, argb);
    ASSERT_TRUE(decodePicture(bytes.data(), bytes.size(), png));
    EXPECT_EQ(png.width, 3u);
    EXPECT_EQ(png.height, 2u);
    EXPECT_EQ(png.pixels[0], 0xFFFF0000u);
    EXPECT_EQ(png.pixels[1], 0x8000FF00u);
    EXPECT_EQ(png.pixels[4], 0xFF123456u);

    PixelImage jpeg;
    auto jpg = encodeJpeg(16, 8, 200, 100, 50);
    ASSERT_TRUE(decodePicture(jpg.data(), jpg.size(), jpeg));
    EXPECT_EQ(jpeg.width, 16u);
    uint32_t p = jpeg.pixels[17];
    EXPECT_EQ(p >> 24, 0xFFu);  // no alpha in the format: opaque
    EXPECT_NEAR(int((p >> 16) & 0xFF), 200, 3);
    EXPECT_NEAR(int((p >> 8) & 0xFF), 100, 3);
    EXPECT_NEAR(int(p & 0xFF), 50, 3);

    PixelImage bmp;
    auto b = tinyBmp();
    ASSERT_TRUE(decodePicture(b.data(), b.size(), bmp));
    EXPECT_EQ(bmp.pixels[0], 0xFFFF0000u);  // top left red
    EXPECT_EQ(bmp.pixels[2], 0xFF0000FFu);  // bottom left blue
}

TEST(PictureDecoder, BrokenAndOversizedPicturesAreRefused) {
    std::vector<uint32_t> argb(64 * 64, 0xFF336699);
    auto png = encodePng(64, 64, argb);
    PixelImage out;
    // Every cut short of the closing IEND chunk (12 bytes) loses pixel data.
    for (size_t cut = 0; cut < png.size() - 12; cut += 5) {
        EXPECT_FALSE(decodePicture(png.data(), cut, out)) << cut;
        EXPECT_TRUE(out.empty());
    }
    auto jpg = encodeJpeg(32, 32, 1, 2, 3);
    for (size_t cut = 0; cut < jpg.size() / 2; cut += 9) decodePicture(jpg.data(), cut, out);  // no crash
    std::vector<uint8_t> noise(4096);
    for (size_t i = 0; i < noise.size(); ++i) noise[i] = uint8_t(i * 131 + 7);
    EXPECT_FALSE(decodePicture(noise.data(), noise.size(), out));
    EXPECT_FALSE(decodePicture(nullptr, 0, out));

    // A PNG header that claims 100000 x 100000 pixels is refused before any
    // pixel memory is taken.
    auto huge = encodePng(1, 1, {0xFFFFFFFF});
    huge[16] = 0x00, huge[17] = 0x01, huge[18] = 0x86, huge[19] = 0xA0;  // width
    huge[20] = 0x00, huge[21] = 0x01, huge[22] = 0x86, huge[23] = 0xA0;  // height
    uint32_t crc = uint32_t(crc32(0, huge.data() + 12, 17));
    huge[29] = uint8_t(crc >> 24), huge[30] = uint8_t(crc >> 16), huge[31] = uint8_t(crc >> 8), huge[32] = uint8_t(crc);
    EXPECT_FALSE(decodePicture(huge.data(), huge.size(), out));

    // A GIF of a few dozen bytes that claims 8000 x 8000 pixels (256 MB of
    // them) cannot hold them and is refused without taking the memory.
    const uint8_t liar[] = {'G', 'I', 'F', '8', '9', 'a', 0x40, 0x1F, 0x40, 0x1F, 0x80, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF,
                            ',', 0, 0, 0, 0, 0x40, 0x1F, 0x40, 0x1F, 0, 2, 2, 0x44, 0x01, 0, ';'};
    uint32_t w = 0, h = 0;
    ASSERT_TRUE(readPictureSize(liar, sizeof liar, w, h));
    EXPECT_EQ(w, 8000u);
    EXPECT_FALSE(decodePicture(liar, sizeof liar, out));
    EXPECT_TRUE(out.empty());
}

TEST(PictureDecoder, PicturesLargerThanABitmapAreRefusedFromTheirHeader) {
    const uint32_t side = lh::render::kMaxBitmapSide;
    auto wide = encodePng(side + 8, 1, std::vector<uint32_t>(side + 8, 0xFF00FF00));
    uint32_t w = 0, h = 0;
    ASSERT_TRUE(readPictureSize(wide.data(), wide.size(), w, h));
    EXPECT_EQ(w, side + 8);
    EXPECT_EQ(h, 1u);
    PixelImage out;
    EXPECT_FALSE(decodePicture(wide.data(), wide.size(), out));
    EXPECT_EQ(pictureRefusal("campaigns\\C\\images\\wide.png", wide.data(), wide.size()),
              "The picture campaigns\\C\\images\\wide.png is 8200 by 1 pixels; the largest that can be shown is "
              "8192 by 8192.");
    auto tall = encodeJpeg(8, int(side) + 1, 1, 2, 3);
    ASSERT_TRUE(readPictureSize(tall.data(), tall.size(), w, h));
    EXPECT_EQ(h, side + 1);
    EXPECT_FALSE(decodePicture(tall.data(), tall.size(), out));

    // At the limit it decodes, and nothing is said.
    auto edge = encodePng(side, 1, std::vector<uint32_t>(side, 0xFF00FF00));
    EXPECT_TRUE(decodePicture(edge.data(), edge.size(), out));
    EXPECT_EQ(out.width, side);
    EXPECT_EQ(pictureRefusal("edge.png", edge.data(), edge.size()), "");
    EXPECT_EQ(pictureRefusal("noise", "not a picture", 13), "");
}
