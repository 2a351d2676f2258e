// What the Ruleset says about a kind of window: its properties, and its
// SHEETDATA element, kept alive (with its document) until the window's
// controls are built from it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace lh::db {
class XmlElement;
}
namespace lh::render {
class Bitmap;
}

namespace lh::ui {

struct WindowClass {
    std::string name;
    std::string dataSource;
    std::string frameName;  // looked up in FrameDefs when first drawn
    int32_t defaultWidth = 0, defaultHeight = 0;
    int32_t minWidth = 100, minHeight = 100;
    int32_t maxWidth = 1025, maxHeight = 768;
    int32_t defaultX = 0, defaultY = 0;
    render::Bitmap* minimizedIcon = nullptr;  // owned by Icons
    bool canMinimize = false;
    bool sharable = false;
    bool playerControl = false;
    bool allowTokens = true;
    bool desktopWindow = false;
    bool softClose = false;
    bool noDelete = false;
    bool usePointers = false;
    std::string pointerControlName;
    bool hasDefaultSize = false, hasDefaultPosition = false;
    bool dynamic = false;
    int32_t resizeAxis = 0;  // 0 both, 1 vertical, 2 horizontal
    bool hostSized = false;
    int32_t minTopMargin = 0, minBottomMargin = 0;
    std::shared_ptr<db::XmlElement> sheetData;

    // NAME is required: false without it (the class is then given up). A
    // MINIMIZE ICON is looked up in Icons now, so its ICON must come first.
    bool Load(db::XmlElement& element);
};

}  // namespace lh::ui
