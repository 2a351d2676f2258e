// The built resource archive holds our default Ruleset: its fonts, pictures
// and base file all read back through the program's own readers.
#include <gtest/gtest.h>

#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "ui/GlyphFile.h"
#include "ui/PictureDecoder.h"
#include "ui/ResourceFile.h"

using namespace lh::ui;

TEST(DefaultRuleset, EveryPackedFileReadsBack) {
    lh::test::TempDir elsewhere;  // no disk files to fall back on
    lh::platform::setWorkingDirectory(elsewhere.path());
    ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    EXPECT_EQ(archiveRulesetFolders(), std::vector<std::string>{"Lorehaven"});

    ResourceFile base;
    ASSERT_TRUE(base.Open("rulesets\\Lorehaven\\base.xml"));
    EXPECT_NE(std::string(base.data()).find("<includefile"), std::string::npos);

    int fonts = 0, pictures = 0;
    ResourceFile r;
    for (bool ok = r.FirstFile("rulesets/Lorehaven/"); ok; ok = r.NextFile()) {
        const std::string& name = r.name();
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".gly") == 0) {
            GlyphSet set;
            std::string error;
            ASSERT_TRUE(parseGlyphFile(r.data(), r.size(), set, error)) << name;
            EXPECT_TRUE(error.empty()) << name << ": " << error;
            EXPECT_TRUE(set.present[' ']) << name;  // the blank gives the line height
            EXPECT_GT(set.glyphs[' '].height, 8) << name;
            EXPECT_TRUE(set.present['A'] && set.present[0xE9] && set.present[0x80]) << name;  // A, e acute, euro
            ++fonts;
        } else if (name.size() > 4 && name.compare(name.size() - 4, 4, ".png") == 0) {
            PixelImage image;
            EXPECT_TRUE(decodePicture(r.data(), r.size(), image)) << name;
            ++pictures;
        }
    }
    EXPECT_GE(fonts, 12);
    EXPECT_GE(pictures, 70);
    ResourceFile::setArchivePath("resource.pak");
}
