// Reading a window class's properties.
#include "ui/WindowClass.h"

#include <algorithm>

#include "db/XmlElement.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"

namespace lh::ui {

bool WindowClass::Load(db::XmlElement& element) {
    if (!readText(element, "NAME", name)) return false;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> c, const std::string& tag) {
        std::string text;
        if (tag == "FRAME") {
            readText(*c, "NAME", frameName);
        } else if (tag == "DATASOURCE") {
            readText(*c, "NAME", dataSource);
        } else if (tag == "SHARABLE") {
            sharable = true;
        } else if (tag == "PLAYERCONTROL") {
            playerControl = true;
        } else if (tag == "NOTOKENS") {
            allowTokens = false;
        } else if (tag == "DESKTOPWINDOW") {
            desktopWindow = true;
        } else if (tag == "SOFTCLOSE") {
            softClose = true;
        } else if (tag == "NODELETE") {
            noDelete = true;
        } else if (tag == "USEPOINTERS") {
            usePointers = true;
            readText(*c, "CONTROL", pointerControlName);
        } else if (tag == "MINIMIZE") {
            canMinimize = true;
            if (readText(*c, "ICON", text)) minimizedIcon = findIcon(text);
        } else if (tag == "DEFAULTSIZE") {
            readInt(*c, "WIDTH", defaultWidth);
            readInt(*c, "HEIGHT", defaultHeight);
            hasDefaultSize = true;
            if (defaultWidth > 0) minWidth = std::min(minWidth, defaultWidth);
            if (defaultHeight > 0) minHeight = std::min(minHeight, defaultHeight);
        } else if (tag == "MAXIMUMSIZE") {
            readInt(*c, "WIDTH", maxWidth);
            readInt(*c, "HEIGHT", maxHeight);
        } else if (tag == "MINIMUMSIZE") {
            readInt(*c, "WIDTH", minWidth);
            readInt(*c, "HEIGHT", minHeight);
            if (hasDefaultSize && defaultWidth > 0) minWidth = std::min(minWidth, defaultWidth);
            if (hasDefaultSize && defaultHeight > 0) minHeight = std::min(minHeight, defaultHeight);
        } else if (tag == "DEFAULTPOSITION") {
            readInt(*c, "X", defaultX);
            readInt(*c, "Y", defaultY);
            hasDefaultPosition = true;
        } else if (tag == "DYNAMIC") {
            dynamic = true;
            Point margins;
            if (readPoint(*c, "MINVMARGIN", margins)) {
                minTopMargin = margins.x;
                minBottomMargin = margins.y;
            }
            if (readText(*c, "RESIZE", text))
                resizeAxis = text == "vertical" ? 1 : text == "horizontal" ? 2 : 0;
            if (readText(*c, "CONTROL", text)) hostSized = text == "host";
        } else if (tag == "SHEETDATA") {
            sheetData = std::move(c);
        }
    });
    return true;
}

}  // namespace lh::ui
