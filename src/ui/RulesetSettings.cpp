// Readers of the settings tags. Every child and attribute is optional.
#include "ui/RulesetSettings.h"

#include "render/Bitmap.h"
#include "ui/RulesetFiles.h"

namespace lh::ui {

namespace {

using Element = db::XmlElement;

void readFrameMargins(Element& child, const std::string& tag, FrameMargins& out) {
    if (tag == "FRAME") readText(child, "NAME", out.frame);
    if (tag == "MARGIN") {
        readInt(child, "VALUE", out.margin);
        readInt(child, "NUMBERTAILMARGIN", out.numberTailMargin);
    }
}

void readNamePlate(Element& child, NamePlate& out) {
    readText(child, "FRAME", out.frame);
    readInt(child, "OFFSET", out.offset);
    readInt(child, "MARGIN", out.margin);
    readInt(child, "HEIGHT", out.height);
    readInt(child, "MAXWIDTH", out.maxWidth);
}

// A picture file of a settings tag: the path is kept and the picture loaded.
void readPicture(Element& child, std::string_view attribute, std::string& path,
                 std::shared_ptr<render::Bitmap>& bitmap) {
    if (!readText(child, attribute, path)) return;
    bitmap = loadRulesetBitmap(path);
}

void readFocusFrame(Element& child, FocusFrame& out) {
    readText(child, "FRAME", out.frame);
    readInt(child, "PADX", out.padX);
    readInt(child, "PADY", out.padY);
}

}  // namespace

void readChatWindow(Element& element, ChatWindowSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "FRAME") {
            readText(*c, "NAME", out.frameName);
            readText(*c, "HILIGHT", out.hilightName);
        } else if (tag == "POSITION") {
            readRect(*c, "RECT", out.position);
        } else if (tag == "CHATAREA") {
            readRect(*c, "RECT", out.chatArea);
        } else if (tag == "ENTRYAREA") {
            readRect(*c, "RECT", out.entryArea);
        } else if (tag == "WAITICON") {
            readPoint(*c, "POSITION", out.waitIconPosition);
            readText(*c, "NAME", out.waitIconName);
        } else if (tag == "STATE") {
            readPoint(*c, "POSITION", out.statePosition);
            readText(*c, "SPEAK", out.speakIcon);
            readText(*c, "ACTION", out.actionIcon);
            readText(*c, "EMOTE", out.emoteIcon);
            readText(*c, "OOC", out.oocIcon);
        }
    });
}

void readDieBox(Element& element, DieBoxSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        readFrameMargins(*c, tag, out.box);
        if (tag == "SECRETICON") readText(*c, "NAME", out.secretIcon);
        if (tag == "TRACKER") {
            readInt(*c, "DIECOUNTMARGIN", out.dieCountMargin);
            readText(*c, "DIECOUNTFONT", out.dieCountFont);
        }
    });
}

void readPollBox(Element& element, PollBoxSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        readFrameMargins(*c, tag, out.box);
        if (tag == "ICONS") {
            readText(*c, "EMPTY", out.emptyIcon);
            readText(*c, "CHECKED", out.checkedIcon);
        }
    });
}

void readCharacterList(Element& element, CharacterListSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "LOCATION") {
            readPoint(*c, "POSITION", out.position);
            readInt(*c, "SPACING", out.spacing);
        } else if (tag == "PORTRAIT") {
            readPicture(*c, "FILE", out.portraitFile, out.portraitBase);
            readPicture(*c, "MASK", out.maskFile, out.portraitMask);
        } else if (tag == "NAME") {
            readNamePlate(*c, out.name);
        } else if (tag == "DATASOURCE") {
            readText(*c, "NAME", out.dataSource);
        } else if (tag == "INDICATORS") {
            readText(*c, "TYPING", out.typingIcon);
            readText(*c, "IDLING", out.idlingIcon);
            readPoint(*c, "POSITION", out.indicatorPosition);
        } else if (tag == "POINTERINDICATOR") {
            readPoint(*c, "POSITION", out.pointerIconPosition);
            readText(*c, "IMAGE", out.pointerIcon);
        } else if (tag == "DRAGICON") {
            readText(*c, "NAME", out.dragIcon);
        } else if (tag == "MENUCLASS") {
            readText(*c, "PORTRAIT", out.portraitMenuClass);
            readText(*c, "POINTER", out.pointerMenuClass);
        }
    });
}

void readIdentityList(Element& element, IdentityListSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "LOCATION") {
            readPoint(*c, "POSITION", out.position);
            readInt(*c, "SPACING", out.spacing);
        } else if (tag == "NAME") {
            readNamePlate(*c, out.name);
        } else if (tag == "ACCEPTDROP") {
            AcceptDrop drop;
            readText(*c, "CLASS", drop.windowClass);
            readText(*c, "FIELD", drop.field);
            out.acceptDrops.push_back(std::move(drop));
        }
    });
}

void readHotkeyBar(Element& element, HotkeyBarSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "LOCATION") {
            readInt(*c, "OFFSET", out.offset);
            readInt(*c, "HEIGHT", out.height);
        } else if (tag == "FRAME") {
            readText(*c, "NAME", out.frame);
        } else if (tag == "TITLE") {
            readPoint(*c, "MARGIN", out.titleMargin);
            readText(*c, "FONT", out.titleFont);
        } else if (tag == "LABEL") {
            readPoint(*c, "MARGIN", out.labelMargin);
            readText(*c, "FONT", out.labelFont);
        } else if (tag == "DRAGICON") {
            readText(*c, "NAME", out.dragIcon);
        } else if (tag == "TOKENMARGINS") {
            RectXYWH r;  // here the four numbers are margins: left, top, right, bottom
            if (readRect(*c, "RECT", r)) {
                out.tokenMarginLeft = r.x;
                out.tokenMarginTop = r.y;
                out.tokenMarginRight = r.width;
                out.tokenMarginBottom = r.height;
            }
        }
    });
}

void readModifierCollector(Element& element, ModifierCollectorSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "BASE") {
            readText(*c, "NAME", out.baseName);
            readText(*c, "FOCUS", out.focusName);
            readPoint(*c, "POSITION", out.position);
        } else if (tag == "COUNTERS") {
            readText(*c, "ICON", out.counterName);
            readPoint(*c, "OFFSET", out.counterOffset);
            readInt(*c, "SPACING", out.counterSpacing);
            readInt(*c, "LIMIT", out.limit);
        } else if (tag == "MODIFIER") {
            readText(*c, "FONT", out.modFontName);
            readInt(*c, "OFFSET", out.modOffset);
        } else if (tag == "LABEL") {
            readText(*c, "FONT", out.labelFontName);
            readInt(*c, "OFFSET", out.labelOffset);
        }
    });
}

void readNumberControlSettings(Element& element, NumberControlSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "MODIFIER") {
            readText(*c, "FRAME", out.modifierFrame);
            readText(*c, "FONT", out.modifierFont);
            readInt(*c, "FRAMEMARGIN", out.modifierFrameMargin);
            readInt(*c, "FRAMEHEIGHT", out.modifierFrameHeight);
        } else if (tag == "DROPFOCUS") {
            readFocusFrame(*c, out.dropFocus);
        } else if (tag == "DRAGFOCUS") {
            readFocusFrame(*c, out.dragFocus);
        } else if (tag == "LOCKED") {
            readFocusFrame(*c, out.locked);
        }
    });
}

void readCategorySelection(Element& element, CategorySelectionSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "BASEICON") {
            CategoryBaseIcon icon;
            readText(*c, "NORMAL", icon.normalName);
            readText(*c, "SELECTED", icon.selectedName);
            out.baseIcons.push_back(std::move(icon));
        } else if (tag == "DECALICON") {
            std::string name;
            readText(*c, "NAME", name);
            out.decalIcons.push_back(std::move(name));
        } else if (tag == "ICONPOSITION") {
            readPoint(*c, "NORMAL", out.decalOffsetNormal);
            readPoint(*c, "SELECTED", out.decalOffsetSelected);
        }
    });
}

void readViewerList(Element& element, ViewerListSettings& out) {
    out.present = true;
    forEachChild(element, [&](std::unique_ptr<Element> c, const std::string& tag) {
        if (tag == "SPACING") {
            readInt(*c, "VALUE", out.spacing);
        } else if (tag == "PORTRAIT") {
            readPicture(*c, "FILE", out.portraitFile, out.frame);
            readPicture(*c, "MASK", out.maskFile, out.mask);
        }
    });
}

}  // namespace lh::ui
