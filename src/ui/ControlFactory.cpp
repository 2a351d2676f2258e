// The control factory's table and walk.
#include "ui/ControlFactory.h"

#include <map>

#include "db/XmlElement.h"
#include "render/RenderContext.h"
#include "ui/Control.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/StandardControls.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// A control of a subsystem that is not there yet: it is laid out like any
// other and draws nothing.
class PlaceholderControl final : public Control {
public:
    using Control::Control;
    void Draw(render::RenderContext&, const render::Rect&) override {}
};

std::unique_ptr<Control> makePlaceholder(Window& w) { return std::make_unique<PlaceholderControl>(w); }

struct Table {
    std::map<std::string, ControlMaker, std::less<>> makers;
    Table() {
        for (const char* tag :
             {"NUMBERCONTROL", "STRINGCONTROL", "FORMATTEDTEXTCONTROL", "WINDOWCHANGECONTROL", "WINDOWOPENCONTROL",
              "MULTISTATE", "LIGHTINGSELECTION", "COLORSELECTION", "STATICGRAPHIC", "SCROLLER", "FILTER",
              "VIEWERLIST", "IDENTITYACTIVATION", "IDENTITYSELECTION", "IMAGE", "WINDOWLIST", "TOKENBAG",
              "PORTRAITSELECTION", "CATEGORYSELECTION", "MODULESELECTION"}) {
            makers[tag] = makePlaceholder;
        }
        registerStandardControls([this](std::string_view tag, ControlMaker maker) {
            makers[std::string(tag)] = maker;
        });
    }
};

Table& table() {
    static Table t;
    return t;
}

void buildSubWindow(Window& window, db::XmlElement& element) {
    std::string key, className;
    bool activate = false;
    readText(element, "NAME", key);
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (tag == "CLASS") readText(*child, "NAME", className);
        if (tag == "ACTIVATE") activate = true;
    });
    const WindowClass* subClass = findWindowClass(className);
    // A class that holds itself would open sub-windows without end.
    if (key.empty() || !subClass) return;
    for (Window* w = &window; w; w = w->parentWindow) {
        if (&w->windowClass == subClass) return;
    }
    window.AddSubWindow(key, *subClass, activate);
}

}  // namespace

void registerControlTag(std::string_view tag, ControlMaker maker) {
    if (maker) table().makers[std::string(tag)] = maker;
}

bool isControlTag(std::string_view tag) { return table().makers.count(tag) != 0; }

bool isPlaceholderTag(std::string_view tag) {
    auto it = table().makers.find(tag);
    return it != table().makers.end() && it->second == makePlaceholder;
}

void BuildControls(Window& window, db::XmlElement& element, db::DbNode* record, const std::string& groupId) {
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (tag == "GROUP") {
            std::string id;
            readText(*child, "ID", id);
            BuildControls(window, *child, record, id);
            return;
        }
        if (tag == "SUBWINDOW") {
            buildSubWindow(window, *child);
            return;
        }
        auto it = table().makers.find(tag);
        if (it == table().makers.end()) return;
        std::unique_ptr<Control> control = it->second(window);
        if (!control) return;
        control->Parse(*child, record);
        control->groupId = groupId;
        window.AddControl(std::move(control));
    });
}

}  // namespace lh::ui
