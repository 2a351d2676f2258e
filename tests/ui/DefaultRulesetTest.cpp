// The built resource archive holds our default Ruleset: its fonts, pictures
// and base file all read back through the program's own readers.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

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

    // The program's own table pieces: tokens in folders of their kind, sample
    // portraits and two maps, all pictures that decode.
    std::map<std::string, int> pieces;
    for (bool ok = r.FirstFile("data/"); ok; ok = r.NextFile()) {
        PixelImage image;
        EXPECT_TRUE(decodePicture(r.data(), r.size(), image)) << r.name();
        EXPECT_GE(image.width, 16u) << r.name();
        for (const char* kind : {"data/tokens/heroes/", "data/tokens/monsters/", "data/tokens/markers/", "data/portraits/",
                                 "data/maps/"}) {
            if (r.name().rfind(kind, 0) == 0) ++pieces[kind];
        }
    }
    EXPECT_GE(pieces["data/tokens/heroes/"], 4);
    EXPECT_GE(pieces["data/tokens/monsters/"], 4);
    EXPECT_GE(pieces["data/tokens/markers/"], 6);
    EXPECT_GE(pieces["data/portraits/"], 4);
    EXPECT_EQ(pieces["data/maps/"], 2);
    std::string folder;
    std::vector<std::string> folders;
    for (bool ok = r.FirstFolder("data/tokens/", folder); ok; ok = r.NextFolder(folder)) folders.push_back(folder);
    EXPECT_EQ(folders.size(), 3u);

    // The portrait mask carries its alpha in red: open in the middle, shut in
    // the corners.
    ResourceFile mask;
    ASSERT_TRUE(mask.Open("rulesets\\Lorehaven\\graphics\\portraits\\mask.png"));
    PixelImage shape;
    ASSERT_TRUE(decodePicture(mask.data(), mask.size(), shape));
    EXPECT_EQ((shape.pixels[shape.width * (shape.height / 2) + shape.width / 2] >> 16) & 0xFF, 0xFFu);
    EXPECT_EQ((shape.pixels[0] >> 16) & 0xFF, 0u);
    ResourceFile::setArchivePath("resource.pak");
}
