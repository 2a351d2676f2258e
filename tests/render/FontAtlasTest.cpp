// A system font at the largest size a Ruleset can ask for: its glyph atlas
// stays within a fixed bound, and what does not fit is left out rather than
// the font as a whole.
#include <gtest/gtest.h>

#include "render/FreeTypeFont.h"

using namespace lh::render;

TEST(FontAtlas, TheLargestSizeKeepsItsAtlasBoundedAndTheFontUsable) {
    FreeTypeFont::Options options;
    options.pixelSize = 512;
    auto font = FreeTypeFont::Open(options);
    ASSERT_NE(font, nullptr);
    const Bitmap& atlas = font->Atlas();
    EXPECT_LE(uint64_t(atlas.GetWidth()) * atlas.GetHeight(), uint64_t(FreeTypeFont::kMaxAtlasSide) *
                                                                     FreeTypeFont::kMaxAtlasSide);
    EXPECT_LE(atlas.GetHeight(), FreeTypeFont::kMaxAtlasSide);
    // Every character still moves the pen, drawn or not.
    EXPECT_GT(font->MeasureText("W", 1).width, 100);
    EXPECT_GT(font->MeasureText("\xE9", 1).width, 100);

    options.pixelSize = 13;
    auto small = FreeTypeFont::Open(options);
    ASSERT_NE(small, nullptr);
    EXPECT_LE(small->Atlas().GetHeight(), 512u);
}
