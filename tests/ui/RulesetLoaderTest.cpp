// Loading a Ruleset from a folder and from the resource archive into the
// process-wide maps: replacement by later definitions, includes with their
// cap, dice, export names, settings and the list of files from disk.
#include <gtest/gtest.h>

#include <algorithm>

#include "RulesetFixture.h"
#include "ZipWriter.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"
#include "render/FreeTypeFont.h"
#include "render/RecordingRenderContext.h"
#include "support/TestSupport.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetLoader.h"

namespace lh::test {
namespace {

using namespace lh::ui;

int staticLoads = 0;

class RulesetLoad : public ::testing::Test {
protected:
    void SetUp() override {
        clearRuleset();
        clearRulesetFiles();
        staticLoads = 0;
        setStaticDataLoader([](db::XmlElement& root) { staticLoads += int(root.childCount()); });
        platform::setWorkingDirectory(dir.path());
        ResourceFile::setArchivePath("resource.pak");
    }
    void TearDown() override {
        setStaticDataLoader(nullptr);
        clearRuleset();
        clearRulesetFiles();
    }
    bool listed(const std::string& path) {
        const auto& files = rulesetFiles();
        return std::find(files.begin(), files.end(), path) != files.end();
    }
    TempDir dir;
};

TEST_F(RulesetLoad, FolderFillsTheMapsInDocumentOrder) {
    writeRulesetFiles(dir.str(), testRulesetFiles());
    render::Bitmap* desktop = LoadRuleset("Test", db::SessionMode::Host);

    // The later DESKTOPIMAGE wins and is what the frame gets.
    ASSERT_NE(desktop, nullptr);
    EXPECT_EQ(desktop, ruleset().desktopImage.get());
    EXPECT_EQ(desktop->GetWidth(), 8u);

    // Fonts: the glyph font with its colour in both spellings' form; the
    // nameless one under the empty name; the face that is nowhere falls back.
    RulesetFont* body = findFont("body");
    ASSERT_NE(body, nullptr);
    EXPECT_TRUE(body->isGlyphFont());
    EXPECT_EQ(body->color(), 0xFFFF8000u);
    EXPECT_EQ(body->LineHeight(), 5);
    EXPECT_EQ(body->MeasureText("AA", 2).width, 4);  // (3 - 1) each
    EXPECT_EQ(body->MeasureText("A\x01"
                                "A",
                                3)
                  .width,
              4);                                      // no glyph, no width
    EXPECT_EQ(body->MeasureText("\xE9", 1).width, 1);  // Windows-1252 e acute
    int32_t extent = -1;
    EXPECT_EQ(body->HitTestText("AAA", 3, 3, extent), 1);
    EXPECT_EQ(extent, 2);
    EXPECT_EQ(body->HitTestText("AAA", 3, 99, extent), 3);
    ASSERT_NE(findFont(""), nullptr);
    RulesetFont* system = findFont("system");
    ASSERT_NE(system, nullptr);
    EXPECT_FALSE(system->isGlyphFont());
    EXPECT_EQ(system->color(), 0x302010u);  // platform form 0x00BBGGRR
    ASSERT_NE(system->systemFont(), nullptr);
    EXPECT_EQ(system->systemFont()->Color(), 0xFF102030u);
    EXPECT_TRUE(system->IsLoaded());
    EXPECT_GT(system->LineHeight(), 10);
    EXPECT_GT(system->MeasureText("\x80\xE9", 2).width, 8);  // euro and e acute have glyphs

    // Frames: the include's "late" is replaced by the one after it.
    ASSERT_NE(findFrame("late"), nullptr);
    EXPECT_EQ(findFrame("late")->source(TopLeft).right, 3);
    FrameDef* box2 = findFrame("box2");
    ASSERT_NE(box2, nullptr);
    EXPECT_EQ(box2->source(BottomRight).left, 4);
    EXPECT_EQ(box2->source(BottomRight).bottom, 6);

    // Window classes: properties, the kept SHEETDATA, a frame named before
    // it was defined; a class without NAME is given up.
    WindowClass* sheet = findWindowClass("sheet");
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->frameName, "box2");
    EXPECT_EQ(findFrame(sheet->frameName), box2);
    EXPECT_EQ(sheet->dataSource, "charsheet");
    EXPECT_TRUE(sheet->sharable && !sheet->allowTokens && sheet->canMinimize);
    EXPECT_TRUE(sheet->playerControl && sheet->softClose && sheet->noDelete && sheet->usePointers);
    EXPECT_FALSE(sheet->desktopWindow);
    EXPECT_EQ(sheet->pointerControlName, "map");
    EXPECT_TRUE(sheet->hasDefaultPosition && sheet->hasDefaultSize);
    EXPECT_EQ(sheet->defaultX, -20);
    EXPECT_EQ(sheet->defaultY, 7);
    EXPECT_EQ(sheet->minimizedIcon, nullptr);  // looked up as the class is read: d6 comes later
    EXPECT_EQ(sheet->minWidth, 50);            // drops to the default width
    EXPECT_EQ(sheet->minHeight, 120);
    EXPECT_EQ(sheet->maxWidth, 1025);
    EXPECT_TRUE(sheet->dynamic && sheet->hostSized);
    EXPECT_EQ(sheet->resizeAxis, 1);
    EXPECT_EQ(sheet->minBottomMargin, 6);
    ASSERT_TRUE(sheet->sheetData);
    auto control = sheet->sheetData->childAt(0);
    ASSERT_TRUE(control);
    std::string tag;
    control->tagName(tag);
    EXPECT_EQ(tag, "STRINGCONTROL");
    EXPECT_EQ(ruleset().windowClasses.size(), 1u);

    // Icons: named ones only; a missing file gives an empty picture.
    ASSERT_NE(findIcon("d6"), nullptr);
    EXPECT_EQ(findIcon("d6")->GetWidth(), 5u);
    ASSERT_NE(findIcon("gone"), nullptr);
    EXPECT_TRUE(findIcon("gone")->IsEmpty());
    EXPECT_EQ(findIcon("nothing"), nullptr);
    EXPECT_TRUE(listed("rulesets\\Test\\graphics\\unnamed.png"));

    // Includes: a file that includes itself is read once more at most; the
    // chain stops at the cap, counted from the base file.
    EXPECT_NE(findIcon("fromself"), nullptr);
    EXPECT_NE(findIcon("c0"), nullptr);
    EXPECT_NE(findIcon("c30"), nullptr);
    EXPECT_EQ(findIcon("c31"), nullptr);

    // Dice: blanks, tabs and line ends dropped; items cut to nine characters.
    DieType* d6 = findDieType("d6");
    ASSERT_NE(d6, nullptr);
    EXPECT_EQ(d6->values, (std::vector<std::string>{"1", "2", "3", "4", "5", "6", "123456789"}));
    EXPECT_EQ(d6->homeX, 110u);
    EXPECT_EQ(d6->homeY, 700u);
    ASSERT_TRUE(d6->icon);
    EXPECT_EQ(d6->icon->GetHeight(), 4u);
    EXPECT_EQ(ruleset().dieTypes.size(), 1u);

    EXPECT_EQ(ruleset().exportNames, (std::set<std::string, std::less<>>{"encounter", "item"}));
    EXPECT_EQ(staticLoads, 1);
    EXPECT_EQ(findFont("nested"), nullptr);  // under an unknown tag: not top level

    // Settings.
    const RulesetSettings& s = ruleset().settings;
    EXPECT_TRUE(s.chatWindow.present);
    EXPECT_EQ(s.chatWindow.frameName, "box");
    EXPECT_EQ(s.chatWindow.hilightName, "box2");
    EXPECT_EQ(s.chatWindow.position.y, 330);
    EXPECT_EQ(s.chatWindow.chatArea.width, -416);
    EXPECT_EQ(s.chatWindow.waitIconName, "d6");
    EXPECT_EQ(s.chatWindow.oocIcon, "d");
    EXPECT_TRUE(s.hotkeyBar.present);
    EXPECT_EQ(s.hotkeyBar.height, 40);
    EXPECT_EQ(s.hotkeyBar.tokenMarginBottom, 4);
    ASSERT_EQ(s.identityList.acceptDrops.size(), 2u);
    EXPECT_EQ(s.identityList.acceptDrops[1].field, "title");
    ASSERT_EQ(s.categorySelection.baseIcons.size(), 2u);
    EXPECT_EQ(s.categorySelection.baseIcons[1].normalName, "n2");
    EXPECT_FALSE(s.pollBox.present);

    // Every file came from disk, so every file is listed, with backslashes.
    EXPECT_TRUE(listed("rulesets\\Test\\base.xml"));
    EXPECT_TRUE(listed("rulesets\\Test\\more.xml"));
    EXPECT_TRUE(listed("rulesets\\Test\\fonts\\body.gly"));
    EXPECT_TRUE(listed("rulesets\\Test\\graphics\\d6.png"));
}

TEST_F(RulesetLoad, ArchiveLoadsTheSameAndListsOnlyDiskFiles) {
    RulesetFileList files = testRulesetFiles();
    writeRulesetFiles(dir.str(), files);
    LoadRuleset("Test", db::SessionMode::Host);
    std::string fromDisk = summarizeRuleset();
    ASSERT_NE(fromDisk.find("frame box2"), std::string::npos);
    clearRuleset();
    clearRulesetFiles();

    // The same files in the archive only, entry names in another case; one
    // picture that the archive lacks stays on disk.
    TempDir packed;
    platform::setWorkingDirectory(packed.path());
    RulesetFileList zipped;
    for (auto& [name, bytes] : files) {
        if (name == "rulesets/Test/graphics/desktop.png") {
            writeFile(packed.path() / name, bytes);
            continue;
        }
        std::string upper = name;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        zipped.push_back({upper, bytes});
    }
    ASSERT_TRUE(writeZip((packed.path() / "resource.pak").string(), zipped));
    LoadRuleset("Test", db::SessionMode::Host);
    EXPECT_EQ(summarizeRuleset(), fromDisk);
    // Only what the archive lacks: the picture on disk, and the one that is
    // nowhere (a client without it would ask, and be refused).
    EXPECT_EQ(rulesetFiles(), (std::vector<std::string>{"rulesets\\Test\\graphics\\nowhere.png",
                                                        "rulesets\\Test\\graphics\\desktop.png"}));
}

TEST_F(RulesetLoad, LocalModeIgnoresTheHotkeyBarAndNullDocumentsDoNothing) {
    writeRulesetFiles(dir.str(), testRulesetFiles());
    LoadRuleset("Test", db::SessionMode::LocalCharacters);
    EXPECT_FALSE(ruleset().settings.hotkeyBar.present);
    EXPECT_TRUE(ruleset().settings.chatWindow.present);
    EXPECT_EQ(LoadRulesetFile(nullptr, db::SessionMode::Host), 1);

    auto doc = db::parseXmlText(
        "<r><DIEBOX><frame name=\"f\"/><margin value=\"6\" numbertailmargin=\"4\"/><secreticon "
        "name=\"s\"/></DIEBOX>"
        "<modcollector><base name=\"b\" focus=\"f\" position=\"3,4\"/><counters icon=\"c\" offset=\"1,2\" "
        "spacing=\"9\" "
        "limit=\"5\"/></modcollector><font name=\"x\"><glyfile name=\"missing.gly\"/></font></r>",
        "inline");
    EXPECT_EQ(LoadRulesetFile(std::move(doc), db::SessionMode::Host), 0);
    const RulesetSettings& s = ruleset().settings;
    EXPECT_EQ(s.dieBox.box.frame, "f");
    EXPECT_EQ(s.dieBox.box.numberTailMargin, 4);
    EXPECT_EQ(s.dieBox.secretIcon, "s");
    EXPECT_EQ(s.modifierCollector.position.y, 4);
    EXPECT_EQ(s.modifierCollector.limit, 5);
    ASSERT_NE(findFont("x"), nullptr);
    EXPECT_FALSE(findFont("x")->IsLoaded());  // a missing glyph file: no text
    EXPECT_EQ(findFont("x")->MeasureText("abc", 3).width, 0);
}

TEST(RulesetValues, NumberFormsAndColours) {
    int32_t v[4] = {};
    EXPECT_TRUE(scanNumbers("1,-2, 3,4", v, 4));
    EXPECT_EQ(v[1], -2);
    EXPECT_EQ(v[2], 3);
    EXPECT_FALSE(scanNumbers("1,2", v, 4));
    EXPECT_FALSE(scanNumbers("", v, 1));
    EXPECT_TRUE(scanNumbers("4294967295", v, 1));  // %u wraps to the same bits
    EXPECT_EQ(v[0], -1);
    EXPECT_EQ(atoiText("  42abc"), 42);
    EXPECT_EQ(atoiText("x"), 0);
    EXPECT_EQ(parseRulesetColor("#FF8000"), parseRulesetColor("FF8000"));
    EXPECT_EQ(parseRulesetColor("ff8000"), 0xFF8000u);
    EXPECT_EQ(parseRulesetColor("zz"), 0u);
    EXPECT_EQ(pointsToPixels(10), 13);
    EXPECT_EQ(pointsToPixels(12), 16);
    EXPECT_EQ(parseDieValues("a, b ,\n\tc,"), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(parseDieValues(" , ").empty());
}

TEST_F(RulesetLoad, DefaultRulesetFromTheBuiltArchive) {
    ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    render::Bitmap* desktop = LoadRuleset("Lorehaven", db::SessionMode::Host);
    ResourceFile::setArchivePath("resource.pak");
    ASSERT_NE(desktop, nullptr);
    EXPECT_FALSE(desktop->IsEmpty());
    for (const char* die : {"d4", "d6", "d8", "d10", "d12", "d20"}) {
        ASSERT_NE(findDieType(die), nullptr) << die;
        EXPECT_FALSE(findDieType(die)->values.empty());
        EXPECT_FALSE(findDieType(die)->icon->IsEmpty());
    }
    for (const char* font : {"systemfont", "chatfont", "dmfont", "diemod", "dieresult", "npcchatfont"}) {
        ASSERT_NE(findFont(font), nullptr) << font;
        EXPECT_GT(findFont(font)->LineHeight(), 8) << font;
        EXPECT_GT(findFont(font)->MeasureText("Hello \x80\xE9", 8).width, 20) << font;
    }
    ASSERT_NE(findFrame("windowframe"), nullptr);
    EXPECT_FALSE(findFrame("windowframe")->bitmap()->IsEmpty());
    EXPECT_NE(findFrame(ruleset().settings.chatWindow.frameName), nullptr);
    EXPECT_NE(findIcon(ruleset().settings.dieBox.secretIcon), nullptr);
    // The windows that start-up asks for, for each way in.
    for (const char* cls : {"dmshortcuts", "playershortcuts", "localshortcuts", "identityselection"}) {
        EXPECT_TRUE(ruleset().windowClasses.count(cls)) << cls;
    }
    EXPECT_TRUE(rulesetFiles().empty());  // all of it is inside the archive
}

}  // namespace
}  // namespace lh::test

namespace lh::test {
namespace {

TEST(RulesetHostile, OddValuesNeitherCrashNorHang) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    writeFile(dir.path() / "f.png", pngBytes(4, 4, std::vector<uint32_t>(16, 0xFF102030u)));
    auto root = db::parseXmlText(
        "<framedef name=\"odd\"><bitmap file=\"f.png\"/><topleft rect=\"-5,-5,100000,1\"/>"
        "<top rect=\"4294967295,0,2147483647,1\"/><middle rect=\"1,1,1\"/><left rect=\"0,0,-3,2\"/>"
        "<right rect=\"3,0,1,1\"/></framedef>",
        "odd");
    FrameDef frame;
    ASSERT_TRUE(frame.Load(*root));
    EXPECT_TRUE(frame.source(Middle).isEmpty());  // three numbers are no rectangle
    EXPECT_TRUE(frame.source(Left).isEmpty());
    render::RecordingRenderContext context;
    context.SetClipRect({0, 0, 4096, 4096});
    EXPECT_LT(frame.Draw(context, {-100000, -100000, 100000, 100000}, 0xFFFFFFFF, nullptr), 1000);
    EXPECT_EQ(frame.Draw(context, {10, 10, 5, 5}, 0xFFFFFFFF, nullptr), 1);  // inverted: the corner only

    // Glyph files cut anywhere keep the whole records before the cut.
    std::string bytes = glyphFileBytes(
        0, {{' ', 2, 3, std::vector<uint8_t>(6, 0)}, {'A', 3, 4, std::vector<uint8_t>(12, 9)}});
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        RulesetFont font;
        font.LoadGlyphs(bytes.data(), cut, 0xFFFFFFFFu);
        int32_t width = font.MeasureText("A A", 3).width;
        EXPECT_TRUE(width == 0 || width == 2 || width == 8) << cut;
    }
}

TEST(RulesetHostile, APictureTooLargeToShowIsNamedAndNotDecoded) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    writeFile(dir.path() / "rulesets/Big/wide.png", pngBytes(8200, 1, std::vector<uint32_t>(8200, 0xFF102030u)));
    ::testing::internal::CaptureStderr();
    PixelImage image = loadRulesetPicture("rulesets\\Big\\wide.png");
    std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(image.empty());
    EXPECT_NE(said.find("The picture rulesets\\Big\\wide.png is 8200 by 1 pixels; the largest that can be shown is "
                        "8192 by 8192."),
              std::string::npos)
        << said;
}

}  // namespace
}  // namespace lh::test
