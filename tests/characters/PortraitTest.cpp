// Portraits: the chunks of CHPDQ, the CHPRR notice, hostile bodies, and
// shaping files of every format, with no extension, to the mask.
#include <gtest/gtest.h>
#include <vector>

#include "characters/PortraitMessages.h"
#include "characters/PortraitShape.h"
#include "net/MessageCatalogue.h"
#include "platform/Paths.h"
#include "render/Bitmap.h"
#include "support/TestPictures.h"
#include "support/TestSupport.h"

using namespace lh;
using characters::decodePortraitChunk;
using characters::encodePortraitChunks;

namespace {

std::vector<uint8_t> encodePng(uint32_t w, uint32_t h, uint32_t argb) {
    return test::encodePng(w, h, std::vector<uint32_t>(size_t(w) * h, argb));
}

net::NetMessage chunk(uint8_t number, uint8_t count, uint32_t length, size_t bytes) {
    net::NetMessage m(net::tags::CHPDQ);
    m.body = {number, count, uint8_t(length), uint8_t(length >> 8), uint8_t(length >> 16), uint8_t(length >> 24)};
    m.body.resize(m.body.size() + bytes, 0x5A);
    return m;
}

}  // namespace

TEST(PortraitMessages, FilesGoInChunksOfEightThousandBytesCountedInOneByte) {
    EXPECT_EQ(characters::portraitChunkCount(0), 0u);
    EXPECT_EQ(characters::portraitChunkCount(8000), 1u);
    EXPECT_EQ(characters::portraitChunkCount(8001), 2u);
    EXPECT_EQ(characters::portraitChunkCount(2040000), 255u);

    std::vector<uint8_t> file(8001);
    for (size_t i = 0; i < file.size(); ++i) file[i] = uint8_t(i * 7);
    std::vector<net::NetMessage> chunks = encodePortraitChunks(file);
    ASSERT_EQ(chunks.size(), 2u);
    std::vector<uint8_t> joined;
    std::string error;
    for (size_t i = 0; i < chunks.size(); ++i) {
        EXPECT_EQ(chunks[i].tag, net::tags::CHPDQ);
        auto c = decodePortraitChunk(chunks[i], error);
        ASSERT_TRUE(c) << error;
        EXPECT_EQ(c->number, i + 1);
        EXPECT_EQ(c->count, 2);
        joined.insert(joined.end(), c->bytes.begin(), c->bytes.end());
    }
    EXPECT_EQ(joined, file);
    EXPECT_EQ(encodePortraitChunks(std::vector<uint8_t>(8000)).size(), 1u);
    EXPECT_EQ(encodePortraitChunks(std::vector<uint8_t>(2040000)).size(), 255u);
    // One byte more cannot be counted: nothing goes out.
    EXPECT_TRUE(encodePortraitChunks(std::vector<uint8_t>(2040001)).empty());
    EXPECT_TRUE(encodePortraitChunks({}).empty());
}

TEST(PortraitMessages, HostileBodiesAreRefused) {
    std::string error;
    EXPECT_TRUE(decodePortraitChunk(chunk(1, 1, 10, 10), error));
    EXPECT_FALSE(decodePortraitChunk(chunk(1, 1, 10, 9), error));      // length beyond the body
    EXPECT_FALSE(decodePortraitChunk(chunk(1, 1, 8001, 8001), error));  // a chunk too large
    EXPECT_FALSE(decodePortraitChunk(chunk(0, 1, 1, 1), error));        // numbered from 1
    EXPECT_FALSE(decodePortraitChunk(chunk(3, 2, 1, 1), error));        // beyond the count
    net::NetMessage shortBody(net::tags::CHPDQ, {1, 1, 0});
    EXPECT_FALSE(decodePortraitChunk(shortBody, error));
    EXPECT_FALSE(error.empty());

    characters::PortraitNotice notice{12345, 0x01D9ABCDEF012345ull, "campaigns\\Saga\\portraits\\Ann"};
    net::NetMessage m = characters::encodePortraitNotice(notice);
    EXPECT_EQ(m.body.size(), 12 + notice.path.size() + 1);
    auto back = characters::decodePortraitNotice(m, error);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->size, 12345u);
    EXPECT_EQ(back->writeTime, notice.writeTime);
    EXPECT_EQ(back->path, notice.path);
    for (size_t cut = 0; cut < m.body.size(); ++cut) {
        net::NetMessage part(net::tags::CHPRR, std::vector<uint8_t>(m.body.begin(), m.body.begin() + long(cut)));
        EXPECT_FALSE(characters::decodePortraitNotice(part, error)) << cut;
    }
    EXPECT_EQ(characters::decodeTurn(characters::encodeTurn(-1), error).value_or(0), -1);
    EXPECT_FALSE(characters::decodeTurn(net::NetMessage(net::tags::CHSLR, {1, 2}), error));
}

TEST(PortraitShape, EveryFormatWithoutExtensionComesOutAtTheMasksSizeAndOutline) {
    test::TempDir dir;
    platform::setWorkingDirectory(dir.path());
    // A black and white mask: a white square in the middle of 8 x 8.
    std::vector<uint32_t> maskPixels(64, 0xFF000000u);
    for (int y = 2; y < 6; ++y)
        for (int x = 2; x < 6; ++x) maskPixels[size_t(y * 8 + x)] = 0xFFFFFFFFu;
    render::Bitmap mask;
    ASSERT_TRUE(mask.LoadFromPixels(8, 8, maskPixels.data()));

    struct File {
        const char* name;
        std::vector<uint8_t> bytes;
    };
    for (const File& f : {File{"large_png", encodePng(300, 200, 0xFF2040C0)}, File{"small_png", encodePng(3, 3, 0xFF2040C0)},
                          File{"jpeg", test::encodeJpeg(40, 40, 180, 180, 180)}, File{"bmp", test::tinyBmp()}}) {
        test::writeFile(dir.path() / "portraits" / f.name, std::string(f.bytes.begin(), f.bytes.end()));
        auto shaped = characters::loadShapedPortrait(std::string("portraits\\") + f.name, &mask);
        ASSERT_TRUE(shaped) << f.name;
        EXPECT_EQ(shaped->GetWidth(), 8u) << f.name;
        EXPECT_EQ(shaped->GetHeight(), 8u) << f.name;
        EXPECT_EQ(shaped->GetPixel(0, 0, true) >> 24, 0u) << f.name;     // cut away
        EXPECT_EQ(shaped->GetPixel(3, 3, true) >> 24, 0xFFu) << f.name;  // inside the outline
    }
    // A mask with alpha of its own gives that alpha.
    std::vector<uint32_t> soft(64, 0x80000000u);
    render::Bitmap alphaMask;
    ASSERT_TRUE(alphaMask.LoadFromPixels(8, 8, soft.data()));
    auto half = characters::loadShapedPortrait("portraits\\jpeg", &alphaMask);
    ASSERT_TRUE(half);
    EXPECT_EQ(half->GetPixel(4, 4, true) >> 24, 0x80u);

    test::writeFile(dir.path() / "portraits/text", "not a picture");
    EXPECT_FALSE(characters::loadShapedPortrait("portraits\\text", &mask));
    EXPECT_FALSE(characters::loadShapedPortrait("portraits\\missing", &mask));
}
