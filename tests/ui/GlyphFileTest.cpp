// Glyph files: a round trip, and every truncation or hostile size read safely.
#include <gtest/gtest.h>

#include "ui/GlyphFile.h"

using namespace lh::ui;

TEST(GlyphFile, RoundTripsAndTurnsRowsTopFirst) {
    GlyphSet set;
    set.overlap = -2;
    for (int c = 32; c < 256; ++c) {
        Glyph& g = set.glyphs[size_t(c)];
        g.width = uint8_t(c % 7 + 1);
        g.height = uint8_t(c % 5 + 1);
        for (int i = 0; i < g.width * g.height; ++i) g.alpha.push_back(uint8_t(c + i));
    }
    std::vector<uint8_t> bytes = writeGlyphFile(set);
    // Stored bottom row first: the first alpha byte of code 32 belongs to its
    // last row.
    const Glyph& blank = set.glyphs[32];
    EXPECT_EQ(bytes[4], 32);
    EXPECT_EQ(bytes[7], blank.alpha[size_t((blank.height - 1) * blank.width)]);

    GlyphSet back;
    std::string error;
    ASSERT_TRUE(parseGlyphFile(bytes.data(), bytes.size(), back, error));
    EXPECT_EQ(back.overlap, -2);
    for (int c = 32; c < 256; ++c) {
        EXPECT_TRUE(back.present[size_t(c)]);
        EXPECT_EQ(back.glyphs[size_t(c)].alpha, set.glyphs[size_t(c)].alpha) << c;
    }
    EXPECT_FALSE(back.present[10]);
}

TEST(GlyphFile, TruncatedAndHostileFilesStayInBounds) {
    GlyphSet set;
    for (int c = 32; c < 256; ++c) {
        set.glyphs[size_t(c)].width = 3;
        set.glyphs[size_t(c)].height = 2;
        set.glyphs[size_t(c)].alpha.assign(6, 0xFF);
    }
    std::vector<uint8_t> bytes = writeGlyphFile(set);
    for (size_t cut = 0; cut <= bytes.size(); ++cut) {
        GlyphSet back;
        std::string error;
        bool ok = parseGlyphFile(bytes.data(), cut, back, error);
        EXPECT_EQ(ok, cut >= 4);
        size_t whole = cut < 4 ? 0 : (cut - 4) / 9;  // records of 3 + 6 bytes
        int count = 0;
        for (bool p : back.present) count += p;
        EXPECT_EQ(count, int(std::min<size_t>(whole, 224)));
    }
    // A record that claims 255 x 255 with a handful of bytes behind it.
    std::vector<uint8_t> hostile = {0, 0, 0, 0, 'A', 255, 255, 1, 2, 3};
    GlyphSet back;
    std::string error;
    EXPECT_TRUE(parseGlyphFile(hostile.data(), hostile.size(), back, error));
    EXPECT_FALSE(back.present['A']);
    EXPECT_FALSE(error.empty());
}
