// The test Ruleset and its helpers.
#include "RulesetFixture.h"

#include <cstdio>
#include <sstream>

#include "render/PngWriter.h"
#include "support/TestSupport.h"
#include "ui/GlyphFile.h"
#include "ui/RulesetData.h"

namespace lh::test {

std::string pngBytes(uint32_t width, uint32_t height, const std::vector<uint32_t>& argb) {
    TempDir dir;
    auto path = dir.path() / "p.png";
    if (!render::writePng(path, width, height, argb.data(), render::PngLayout::Rgba)) return {};
    return readFile(path);
}

std::string glyphFileBytes(int32_t overlap, const std::vector<TestGlyph>& glyphs) {
    ui::GlyphSet set;
    set.overlap = overlap;
    for (const TestGlyph& g : glyphs) {
        set.present[g.code] = true;
        set.glyphs[g.code] = {g.width, g.height, g.alpha};
    }
    std::vector<uint8_t> bytes = ui::writeGlyphFile(set);
    return std::string(bytes.begin(), bytes.end());
}

namespace {

std::string solidPng(uint32_t w, uint32_t h, uint32_t argb) {
    return pngBytes(w, h, std::vector<uint32_t>(size_t(w) * h, argb));
}

const char* kBase = R"(<?xml version="1.0" encoding="iso-8859-1"?>
<Ruleset>
  <font name="body">
    <glyfile name="rulesets\Test\fonts\body.gly" />
    <color value="#FF8000" />
  </font>
  <font name="system">
    <face value="No Such Face Anywhere" /><size value="12" /><weight value="700" /><color value="102030" /><italic />
  </font>
  <font><glyfile name="rulesets\Test\fonts\body.gly" /></font>
  <windowclass name="sheet">
    <frame name="box2" />
    <datasource name="charsheet" />
    <sharable /><notokens /><minimize icon="d6" />
    <playercontrol /><softclose /><nodelete /><usepointers control="map" />
    <defaultposition x="-20" y="7" />
    <defaultsize width="50" height="300" />
    <minimumsize width="80" height="120" />
    <dynamic minvmargin="4,6" resize="vertical" control="host" />
    <sheetdata><stringcontrol name="title"><bounds rect="1,2,3,4" /></stringcontrol></sheetdata>
  </windowclass>
  <windowclass><sheetdata /></windowclass>
  <icon name="d6" file="rulesets/Test/graphics/d6.png" />
  <icon file="rulesets\Test\graphics\unnamed.png" />
  <icon name="gone" file="rulesets\Test\graphics\nowhere.png" />
  <framedef name="late">
    <bitmap file="rulesets\Test\graphics\frame.png" /><topleft rect="0,0,1,1" />
  </framedef>
  <includefile source="rulesets\Test\more.xml" />
  <includefile source="rulesets\Test\self.xml" />
  <includefile source="rulesets\Test\chain\c0.xml" />
  <framedef name="late">
    <bitmap file="rulesets\Test\graphics\frame.png" /><topleft rect="0,0,3,3" />
  </framedef>
  <die name="d6">
    <icon file="rulesets\Test\graphics\d6.png" />
    <position point="110,700" />
    <values list=" 1, 2,	3,
      4,5,6 ,,1234567890123" />
  </die>
  <die><values list="1" /></die>
  <exportinfo><encounter name="encounter" /><item name="item" /><note /></exportinfo>
  <desktopimage file="rulesets\Test\graphics\first.png" />
  <desktopimage file="rulesets\Test\graphics\desktop.png" />
  <chatwindow>
    <frame name="box" hilight="box2" />
    <position rect="10,330,440,340" />
    <chatarea rect="22,342,-416,280" />
    <waiticon position="5,6" name="d6" />
    <state position="7,8" speak="a" action="b" emote="c" ooc="d" />
  </chatwindow>
  <hotkeybar><location offset="5" height="40" /><tokenmargins rect="1,2,3,4" /></hotkeybar>
  <identitylist><acceptdrop class="npc" field="name" /><acceptdrop class="pc" field="title" /></identitylist>
  <categoryselectionsettings><baseicon normal="n1" selected="s1" /><decalicon name="x" /><baseicon normal="n2" /></categoryselectionsettings>
  <staticdata source="rulesets\Test\static.xml" />
  <unknowntag name="ignored"><font name="nested" /></unknowntag>
</Ruleset>
)";

const char* kMore = R"(<root>
  <framedef name="box2">
    <bitmap file="rulesets\Test\graphics\frame.png" />
    <topleft rect="0,0,2,2" /><top rect="2,0,2,2" /><topright rect="4,0,2,2" />
    <left rect="0,2,2,2" /><middle rect="2,2,2,2" /><right rect="4,2,2,2" />
    <bottomleft rect="0,4,2,2" /><bottom rect="2,4,2,2" /><bottomright rect="4,4,2,2" />
  </framedef>
  <framedef name="box"><bitmap file="rulesets\Test\graphics\frame.png" /><middle rect="0,0,6,6" /></framedef>
  <framedef name="late"><bitmap file="rulesets\Test\graphics\frame.png" /><topleft rect="0,0,2,2" /></framedef>
</root>)";

const char* kSelf = R"(<root>
  <icon name="fromself" file="rulesets\Test\graphics\d6.png" />
  <includefile source="rulesets/test/SELF.xml" />
</root>)";

}  // namespace

RulesetFileList testRulesetFiles() {
    RulesetFileList files;
    files.push_back({"rulesets/Test/base.xml", kBase});
    files.push_back({"rulesets/Test/more.xml", kMore});
    files.push_back({"rulesets/Test/self.xml", kSelf});
    files.push_back({"rulesets/Test/static.xml", "<root><item><name type=\"string\">x</name></item></root>"});
    for (int i = 0; i < 40; ++i) {
        char text[200];
        std::snprintf(text, sizeof text,
                      "<root><icon name=\"c%d\" file=\"rulesets\\Test\\graphics\\d6.png\" />"
                      "<includefile source=\"rulesets\\Test\\chain\\c%d.xml\" /></root>",
                      i, i + 1);
        files.push_back({"rulesets/Test/chain/c" + std::to_string(i) + ".xml", text});
    }
    // Six parts of two pixels each way; every pixel its own colour.
    std::vector<uint32_t> frame(36);
    for (int i = 0; i < 36; ++i)
        frame[size_t(i)] = 0xFF000000u | uint32_t(i * 7) << 16 | uint32_t(255 - i * 5) << 8 | uint32_t(i * 3);
    files.push_back({"rulesets/Test/graphics/frame.png", pngBytes(6, 6, frame)});
    files.push_back({"rulesets/Test/graphics/d6.png", solidPng(5, 4, 0xFF20C040)});
    files.push_back({"rulesets/Test/graphics/unnamed.png", solidPng(1, 1, 0xFF000000)});
    files.push_back({"rulesets/Test/graphics/first.png", solidPng(2, 2, 0xFFFFFFFF)});
    files.push_back({"rulesets/Test/graphics/desktop.png", solidPng(8, 3, 0xFF304050)});
    std::vector<uint8_t> block(12, 255);
    files.push_back(
        {"rulesets/Test/fonts/body.gly", glyphFileBytes(1, {{' ', 2, 5, std::vector<uint8_t>(10, 0)},
                                                            {'A', 3, 4, block},
                                                            {0xE9, 2, 4, std::vector<uint8_t>(8, 200)}})});
    return files;
}

void writeRulesetFiles(const std::string& dir, const RulesetFileList& files) {
    for (const auto& [name, bytes] : files) writeFile(std::filesystem::path(dir) / name, bytes);
}

std::string summarizeRuleset() {
    const ui::RulesetData& d = ui::ruleset();
    std::ostringstream out;
    for (const auto& [name, f] : d.frameDefs) {
        out << "frame " << name << " " << (f->bitmap() ? f->bitmap()->GetWidth() : 0);
        for (int p = 0; p < ui::kFrameParts; ++p) {
            const ui::Rect& r = f->source(ui::FramePart(p));
            out << " " << r.left << "," << r.top << "," << r.right << "," << r.bottom;
        }
        out << "\n";
    }
    for (const auto& [name, f] : d.fonts)
        out << "font " << name << " " << f->isGlyphFont() << " " << std::hex << f->color() << std::dec << " "
            << f->LineHeight() << " " << f->MeasureText("A\xE9 ", 3).width << "\n";
    for (const auto& [name, b] : d.icons)
        out << "icon " << name << " " << b->GetWidth() << "x" << b->GetHeight() << "\n";
    for (const auto& [name, c] : d.windowClasses)
        out << "class " << name << " " << c->frameName << " "
            << (c->sheetData ? c->sheetData->childCount() : 0) << "\n";
    for (const auto& [name, die] : d.dieTypes) {
        out << "die " << name << " " << die->homeX << "," << die->homeY;
        for (const auto& v : die->values) out << " " << v;
        out << "\n";
    }
    for (const auto& name : d.exportNames) out << "export " << name << "\n";
    if (d.desktopImage)
        out << "desktop " << d.desktopImage->GetWidth() << "x" << d.desktopImage->GetHeight() << "\n";
    return out.str();
}

}  // namespace lh::test
