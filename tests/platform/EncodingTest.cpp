// Windows-1252 <-> UTF-8 at the border.
#include <gtest/gtest.h>

#include "platform/Encoding.h"

using namespace lh::platform;

TEST(Encoding, EveryByteRoundTripsThroughUtf8) {
    for (int b = 1; b < 256; ++b) {
        std::string one(1, char(b));
        EXPECT_EQ(utf8ToWindows1252(windows1252ToUtf8(one)), one) << b;
    }
}

TEST(Encoding, KnownCharactersAndFallbacks) {
    EXPECT_EQ(utf8ToWindows1252("caf\xC3\xA9"), "caf\xE9");
    EXPECT_EQ(utf8ToWindows1252("\xE2\x82\xAC"), "\x80");       // euro sign
    EXPECT_EQ(utf8ToWindows1252("\xE2\x80\x94"), "\x97");       // em dash
    EXPECT_EQ(utf8ToWindows1252("\xE6\x97\xA5"), "?");          // not in 1252
    EXPECT_EQ(utf8ToWindows1252("a\xE9z"), "a\xE9z");           // raw 8-bit passes
    EXPECT_EQ(utf8ToWindows1252("\xC0\xAF"), "\xC0\xAF");       // overlong is not UTF-8
    EXPECT_EQ(utf8ToWindows1252("\xE2\x82"), "\xE2\x82");       // cut sequence
    char small[4];
    utf8ToWindows1252("abcdef", small, sizeof small);
    EXPECT_STREQ(small, "abc");
}

TEST(Encoding, TypedTextKeepsWhatMapsAndDropsTheRestWhole) {
    EXPECT_EQ(typedTextToWindows1252("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xE9 \x80");
    EXPECT_EQ(typedTextToWindows1252("a\xE6\x97\xA5z"), "az");          // no '?' in its place
    EXPECT_EQ(typedTextToWindows1252("\xF0\x9F\x98\x80!"), "!");        // four bytes, gone whole
    EXPECT_EQ(typedTextToWindows1252("x\xE2\x82"), "x");                // a cut character leaves nothing
    EXPECT_EQ(typedTextToWindows1252("\xC0\xAF\xE9"), "");              // not UTF-8 at all
}
