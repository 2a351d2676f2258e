// The settings that the Ruleset's top-level tags give the program's
// singletons (chat window, die box, poll box, lists, hotkey bar, modifier
// collector, number controls, category tabs, viewer lists). Kept as plain
// values: names are looked up when first drawn, pictures are loaded here.
// Each struct's `present` says that its tag stood in the Ruleset.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ui/RulesetXml.h"

namespace lh::render {
class Bitmap;
}

namespace lh::ui {

struct FrameMargins {
    std::string frame;
    int32_t margin = 0;
    int32_t numberTailMargin = 0;
};

struct ChatWindowSettings {
    bool present = false;
    std::string frameName, hilightName;  // in FrameDefs
    RectXYWH position, chatArea, entryArea;
    Point waitIconPosition;
    std::string waitIconName;
    Point statePosition;
    std::string speakIcon, actionIcon, emoteIcon, oocIcon;
};

struct DieBoxSettings {
    bool present = false;
    FrameMargins box;
    std::string secretIcon;
    int32_t dieCountMargin = 0;  // kept; nothing draws with it
    std::string dieCountFont;
};

struct PollBoxSettings {
    bool present = false;
    FrameMargins box;
    std::string emptyIcon, checkedIcon;
};

struct NamePlate {
    std::string frame;
    int32_t offset = 0, margin = 0, height = 0, maxWidth = 0;
};

struct CharacterListSettings {
    bool present = false;
    Point position;
    int32_t spacing = 0;
    std::string portraitFile, maskFile;
    std::shared_ptr<render::Bitmap> portraitBase, portraitMask;
    NamePlate name;
    std::string dataSource;
    std::string typingIcon, idlingIcon;
    Point indicatorPosition;
    Point pointerIconPosition;
    std::string pointerIcon;
    std::string dragIcon;
    std::string portraitMenuClass, pointerMenuClass;
};

struct AcceptDrop {
    std::string windowClass, field;
};

struct IdentityListSettings {
    bool present = false;
    Point position;
    int32_t spacing = 0;
    NamePlate name;
    std::vector<AcceptDrop> acceptDrops;
};

struct HotkeyBarSettings {
    bool present = false;
    int32_t offset = 0, height = 0;
    std::string frame;
    Point titleMargin, labelMargin;
    std::string titleFont, labelFont;
    std::string dragIcon;
    int32_t tokenMarginLeft = 0, tokenMarginTop = 0, tokenMarginRight = 0, tokenMarginBottom = 0;
};

struct ModifierCollectorSettings {
    bool present = false;
    std::string baseName, focusName;
    Point position;
    std::string counterName;
    Point counterOffset;
    int32_t counterSpacing = 0, limit = 0;
    std::string modFontName;
    int32_t modOffset = 0;
    std::string labelFontName;
    int32_t labelOffset = 0;
};

struct FocusFrame {
    std::string frame;
    int32_t padX = 0, padY = 0;
};

struct NumberControlSettings {
    bool present = false;
    std::string modifierFrame, modifierFont;
    int32_t modifierFrameMargin = 0, modifierFrameHeight = 0;
    FocusFrame dropFocus, dragFocus, locked;  // the last two are read and kept only
};

struct CategoryBaseIcon {
    std::string normalName, selectedName;
};

struct CategorySelectionSettings {
    bool present = false;
    std::vector<CategoryBaseIcon> baseIcons;  // in file order
    std::vector<std::string> decalIcons;
    Point decalOffsetNormal, decalOffsetSelected;
};

struct ViewerListSettings {
    bool present = false;
    int32_t spacing = 0;
    std::string portraitFile, maskFile;
    std::shared_ptr<render::Bitmap> frame, mask;
};

struct RulesetSettings {
    ChatWindowSettings chatWindow;
    DieBoxSettings dieBox;
    PollBoxSettings pollBox;
    CharacterListSettings characterList;
    IdentityListSettings identityList;
    HotkeyBarSettings hotkeyBar;
    ModifierCollectorSettings modifierCollector;
    NumberControlSettings numberControls;
    CategorySelectionSettings categorySelection;
    ViewerListSettings viewerList;
};

// Each reads its tag's children into the settings, leaving what is absent
// as it was, so a second tag of the same kind adds to the first.
void readChatWindow(db::XmlElement& element, ChatWindowSettings& out);
void readDieBox(db::XmlElement& element, DieBoxSettings& out);
void readPollBox(db::XmlElement& element, PollBoxSettings& out);
void readCharacterList(db::XmlElement& element, CharacterListSettings& out);
void readIdentityList(db::XmlElement& element, IdentityListSettings& out);
void readHotkeyBar(db::XmlElement& element, HotkeyBarSettings& out);
void readModifierCollector(db::XmlElement& element, ModifierCollectorSettings& out);
void readNumberControlSettings(db::XmlElement& element, NumberControlSettings& out);
void readCategorySelection(db::XmlElement& element, CategorySelectionSettings& out);
void readViewerList(db::XmlElement& element, ViewerListSettings& out);

}  // namespace lh::ui
