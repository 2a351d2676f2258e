// The default Ruleset as a whole, loaded from the built archive: every one of
// its files parses, every frame, icon, font, class, sub-window and control
// that a window class names is there, the frames' parts lie inside their
// pictures, and everything that the program itself looks up by name exists.
// A Ruleset names things late and a missing name only draws nothing, so a
// typo would otherwise show as a blank spot on screen and nowhere else.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "db/SessionMode.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"
#include "render/Bitmap.h"
#include "support/TestSupport.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetLoader.h"

namespace lh::test {
namespace {

using namespace lh::ui;

// The tags that the window factory builds controls from, and the one that
// only groups them.
const std::set<std::string> kControlTags = {
    "GROUP", "NUMBERCONTROL", "STRINGCONTROL", "FORMATTEDTEXTCONTROL", "WINDOWCHANGECONTROL", "WINDOWOPENCONTROL",
    "MULTISTATE", "LIGHTINGSELECTION", "COLORSELECTION", "STATICGRAPHIC", "SCROLLER", "FILTER", "VIEWERLIST",
    "IDENTITYACTIVATION", "IDENTITYSELECTION", "IMAGE", "WINDOWLIST", "TOKENBAG", "PORTRAITSELECTION",
    "CATEGORYSELECTION", "MODULESELECTION", "SUBWINDOW"};

std::string attr(db::XmlElement& e, const char* name) {
    std::string value;
    e.attribute(name, value);
    return value;
}

std::string tagOf(db::XmlElement& e) {
    std::string tag;
    e.tagName(tag);
    return tag;
}

void forEachElement(db::XmlElement& parent, const std::function<void(db::XmlElement&)>& visit) {
    for (size_t i = 0; i < parent.childCount(); ++i) {
        auto child = parent.childAt(i);
        if (child && !child->isText()) visit(*child);
    }
}

// What one class's SHEETDATA names, gathered in one walk.
struct SheetNames {
    std::vector<std::string> frames, fonts, icons, classes, tabTargets, tabOrder, numberSources;
    std::set<std::string> controls, numbers, subWindows;
    std::vector<std::string> unknownTags, badRects;
};

void gatherControl(db::XmlElement& control, const std::string& tag, SheetNames& out) {
    std::string name = attr(control, "NAME");
    if (tag == "SUBWINDOW") {
        out.subWindows.insert(name);
    } else if (!name.empty()) {
        out.controls.insert(name);
        if (tag == "NUMBERCONTROL") out.numbers.insert(name);
    }
    forEachElement(control, [&](db::XmlElement& child) {
        std::string part = tagOf(child);
        if (part == "FRAME") out.frames.push_back(attr(child, "NAME"));
        if (part == "FONT") {
            for (const char* key : {"NAME", "DESCRIPTION"})
                if (!attr(child, key).empty()) out.fonts.push_back(attr(child, key));
        }
        if (part == "SELECTIONFRAME") out.frames.push_back(attr(child, "NAME"));
        if (part == "ERRORICON") out.icons.push_back(attr(child, "ERROR"));
        if (part == "ICON") {
            for (const char* key : {"NAME", "NORMAL", "PRESSED"})
                if (!attr(child, key).empty()) out.icons.push_back(attr(child, key));
        }
        if (part == "CLASS" || part == "ALTCLASS") out.classes.push_back(attr(child, "NAME"));
        if (part == "TARGET" && tag == "WINDOWCHANGECONTROL") out.tabTargets.push_back(attr(child, "NAME"));
        if (part == "TABTARGET") {
            for (const char* key : {"NEXT", "PREV"})
                if (!attr(child, key).empty()) out.tabOrder.push_back(attr(child, key));
        }
        if (part == "SOURCE" && tag == "NUMBERCONTROL") out.numberSources.push_back(attr(child, "NAME"));
        if (part == "BOUNDS") {
            std::string rect = attr(child, "RECT"), hpos = attr(child, "HPOS");
            int a, b, c, d;
            if (!rect.empty() && std::sscanf(rect.c_str(), "%d,%d,%d,%d", &a, &b, &c, &d) != 4) out.badRects.push_back(rect);
            if (rect.empty() && std::sscanf(hpos.c_str(), "%d,%d", &a, &b) != 2) out.badRects.push_back(name + " " + hpos);
        }
    });
}

void gatherSheet(db::XmlElement& sheet, SheetNames& out) {
    forEachElement(sheet, [&](db::XmlElement& control) {
        std::string tag = tagOf(control);
        if (!kControlTags.count(tag)) out.unknownTags.push_back(tag);
        if (tag == "GROUP") gatherSheet(control, out);
        else gatherControl(control, tag, out);
    });
}

class DefaultRulesetContent : public ::testing::Test {
protected:
    void SetUp() override {
        clearRuleset();
        clearRulesetFiles();
        platform::setWorkingDirectory(elsewhere.path());  // nothing on disk to fall back on
        ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    }
    void TearDown() override {
        ResourceFile::setArchivePath("resource.pak");
        clearRuleset();
        clearRulesetFiles();
    }
    TempDir elsewhere;
};

TEST_F(DefaultRulesetContent, EveryFileParsesAndEveryNamedThingExists) {
    int documents = 0;
    ResourceFile file;
    for (bool ok = file.FirstFile("rulesets/Lorehaven/"); ok; ok = file.NextFile()) {
        const std::string& name = file.name();
        if (name.size() < 4 || name.compare(name.size() - 4, 4, ".xml") != 0) continue;
        db::XmlParseResult parsed = db::parseXmlTextChecked(std::string_view(file.data(), file.size()), name.c_str());
        EXPECT_EQ(parsed.status, db::XmlStatus::ok) << name << parsed.error.message();
        ++documents;
    }
    EXPECT_GE(documents, 7);  // base, fonts, graphics and the class files

    ASSERT_NE(LoadRuleset("Lorehaven", db::SessionMode::Host), nullptr);
    EXPECT_TRUE(rulesetFiles().empty());  // all of it came from the archive
    const RulesetData& data = ruleset();
    EXPECT_GE(data.windowClasses.size(), 12u);

    // Numbers by the records they live in: a page of a tabbed sheet may add up
    // numbers that another page of the same record shows.
    std::map<std::string, SheetNames> sheets;
    std::map<std::string, std::set<std::string>> numbersOfRecords;
    size_t references = 0;
    for (const auto& [className, windowClass] : data.windowClasses) {
        ASSERT_NE(windowClass->sheetData, nullptr) << className;
        SheetNames& names = sheets[className];
        gatherSheet(*windowClass->sheetData, names);
        numbersOfRecords[windowClass->dataSource].insert(names.numbers.begin(), names.numbers.end());
        references += names.frames.size() + names.fonts.size() + names.icons.size() + names.classes.size();
    }
    EXPECT_GT(references, 200u);  // the walk reached into the sheets
    for (const auto& [className, windowClass] : data.windowClasses) {
        SCOPED_TRACE("class " + className);
        if (!windowClass->frameName.empty()) {
            EXPECT_NE(findFrame(windowClass->frameName), nullptr) << windowClass->frameName;
        }
        if (windowClass->canMinimize) {
            EXPECT_NE(windowClass->minimizedIcon, nullptr);
        }
        if (windowClass->hasDefaultSize) {
            // Sensible on the smallest Desktop, 1024 x 768.
            EXPECT_LE(windowClass->defaultWidth, 1024);
            EXPECT_LE(windowClass->defaultHeight, 768);
        }
        const SheetNames& names = sheets[className];
        for (const auto& n : names.unknownTags) ADD_FAILURE() << "unknown control " << n;
        for (const auto& n : names.badRects) ADD_FAILURE() << "bounds " << n;
        for (const auto& n : names.frames) EXPECT_NE(findFrame(n), nullptr) << "frame " << n;
        for (const auto& n : names.fonts) EXPECT_NE(findFont(n), nullptr) << "font " << n;
        for (const auto& n : names.icons) EXPECT_NE(findIcon(n), nullptr) << "icon " << n;
        for (const auto& n : names.classes) EXPECT_NE(findWindowClass(n), nullptr) << "class " << n;
        for (const auto& n : names.tabTargets) EXPECT_TRUE(names.subWindows.count(n)) << "tab to " << n;
        for (const auto& n : names.tabOrder) EXPECT_TRUE(names.controls.count(n)) << "tab order to " << n;
        for (const auto& n : names.numberSources)
            EXPECT_TRUE(numbersOfRecords[windowClass->dataSource].count(n)) << "number source " << n;
    }

    // Every frame's picture is there and its parts lie inside it.
    for (const auto& [frameName, frame] : data.frameDefs) {
        SCOPED_TRACE("frame " + frameName);
        ASSERT_NE(frame->bitmap(), nullptr);
        ASSERT_FALSE(frame->bitmap()->IsEmpty());
        const auto w = int32_t(frame->bitmap()->GetWidth()), h = int32_t(frame->bitmap()->GetHeight());
        for (int part = 0; part < kFrameParts; ++part) {
            const Rect& r = frame->source(FramePart(part));
            if (part == Middle && r.isEmpty()) continue;  // a frame may be open in the middle
            EXPECT_FALSE(r.isEmpty()) << part;
            EXPECT_TRUE(r.left >= 0 && r.top >= 0 && r.right <= w && r.bottom <= h) << part;
        }
        // The parts cut the whole picture: corners in its corners, edges
        // between them, so that a picture and its rectangles cannot drift
        // apart unnoticed.
        auto part = [&](FramePart p) { return frame->source(p); };
        EXPECT_EQ(part(TopLeft).left, 0);
        EXPECT_EQ(part(TopLeft).top, 0);
        EXPECT_EQ(part(BottomRight).right, w);
        EXPECT_EQ(part(BottomRight).bottom, h);
        EXPECT_EQ(part(Top).left, part(TopLeft).right);
        EXPECT_EQ(part(Top).right, part(TopRight).left);
        EXPECT_EQ(part(Left).top, part(TopLeft).bottom);
        EXPECT_EQ(part(Left).bottom, part(BottomLeft).top);
        EXPECT_EQ(part(Bottom).top, part(BottomLeft).top);
        EXPECT_EQ(part(Right).left, part(TopRight).left);
    }
    for (const auto& [iconName, icon] : data.icons) EXPECT_FALSE(icon->IsEmpty()) << iconName;
    for (const auto& [fontName, font] : data.fonts) EXPECT_GT(font->LineHeight(), 8) << fontName;

    // The settings' own names.
    const RulesetSettings& s = data.settings;
    EXPECT_NE(findFrame(s.chatWindow.frameName), nullptr);
    EXPECT_NE(findFrame(s.chatWindow.hilightName), nullptr);
    EXPECT_NE(findFrame(s.dieBox.box.frame), nullptr);
    EXPECT_NE(findIcon(s.dieBox.secretIcon), nullptr);
    EXPECT_NE(findFrame(s.numberControls.modifierFrame), nullptr);
    EXPECT_NE(findFont(s.numberControls.modifierFont), nullptr);
    EXPECT_NE(findFrame(s.numberControls.dropFocus.frame), nullptr);
    for (const std::string* icon : {&s.chatWindow.waitIconName, &s.chatWindow.speakIcon, &s.chatWindow.actionIcon,
                                    &s.chatWindow.emoteIcon, &s.chatWindow.oocIcon})
        EXPECT_NE(findIcon(*icon), nullptr) << *icon;
    ASSERT_TRUE(s.modifierCollector.present);
    for (const std::string* icon : {&s.modifierCollector.baseName, &s.modifierCollector.focusName,
                                    &s.modifierCollector.counterName})
        EXPECT_NE(findIcon(*icon), nullptr) << *icon;
    for (const std::string* font : {&s.modifierCollector.modFontName, &s.modifierCollector.labelFontName})
        EXPECT_NE(findFont(*font), nullptr) << *font;
    EXPECT_GT(s.modifierCollector.limit, 0);
    ASSERT_TRUE(s.viewerList.frame && s.viewerList.mask);
    EXPECT_FALSE(s.viewerList.frame->IsEmpty());
    EXPECT_EQ(s.viewerList.frame->GetWidth(), s.viewerList.mask->GetWidth());
}

TEST_F(DefaultRulesetContent, WhatTheProgramLooksUpByName) {
    ASSERT_NE(LoadRuleset("Lorehaven", db::SessionMode::Host), nullptr);
    // Windows that start-up opens, and the sheet that a character is.
    for (const char* name : {"dmshortcuts", "playershortcuts", "localshortcuts", "identityselection", "charsheet"})
        EXPECT_NE(findWindowClass(name), nullptr) << name;
    // The shortcut panels stand on the Desktop, anchored from its right edge.
    for (const char* name : {"dmshortcuts", "playershortcuts", "localshortcuts"}) {
        const WindowClass* panel = findWindowClass(name);
        ASSERT_NE(panel, nullptr);
        EXPECT_TRUE(panel->desktopWindow && panel->hasDefaultSize && panel->hasDefaultPosition) << name;
        EXPECT_LT(panel->defaultX, 0) << name;
    }
    // The menus of the Desktop, the dice, windows, pointers and tokens, and the
    // mark of a changed minimized window.
    for (const char* name :
         {"menuhub", "menuback", "closeprogram", "restorewindow", "maximizewindow", "arrangedice", "num2", "num3", "num4",
          "num5", "num10", "num15", "num20", "percent", "close", "closeremote", "minimize", "restore", "delete",
          "broadcast", "pointer", "crossed", "pointer_cone", "pointer_circle", "pointer_square", "edit",
          "minimized_glow", "deletetoken", "deletealltokens", "rotatecw", "rotateccw", "locktoken", "unlocktoken"})
        EXPECT_NE(findIcon(name), nullptr) << name;
    EXPECT_NE(findFrame("mini_name"), nullptr);
    // The token bag has an opener and a seal of its own, not the map's.
    for (const char* which : {"button_", "seal_"}) {
        const render::Bitmap* bag = findIcon(std::string(which) + "tokens");
        const render::Bitmap* map = findIcon(std::string(which) + "map");
        ASSERT_TRUE(bag && map) << which;
        EXPECT_NE(bag->Pixels(), map->Pixels()) << which;
    }
    // Fonts of the chat, the menus, the lists, the dice and the controls.
    const char* chatFonts[] = {"chatfont", "dmfont", "npcchatfont", "narratorfont",
                               "emotefont", "oocfont", "msgfont", "systemfont"};
    for (const char* name : chatFonts) ASSERT_NE(findFont(name), nullptr) << name;
    for (const char* name : {"mini_name", "mini_name_selected", "modcollectorlabel", "diemod", "dieresult",
                             "defaultnumbercontrol", "defaultstringcontrol"})
        EXPECT_NE(findFont(name), nullptr) << name;
    // Each kind of chat line has a colour of its own, light enough to read on
    // the dark chat ground.
    std::set<uint32_t> colours;
    for (const char* name : chatFonts) {
        uint32_t c = findFont(name)->color();
        colours.insert(c & 0xFFFFFFu);
        double luma = 0.2126 * ((c >> 16) & 0xFF) + 0.7152 * ((c >> 8) & 0xFF) + 0.0722 * (c & 0xFF);
        EXPECT_GT(luma, 110.0) << name;
    }
    EXPECT_EQ(colours.size(), std::size(chatFonts));
}

}  // namespace
}  // namespace lh::test
