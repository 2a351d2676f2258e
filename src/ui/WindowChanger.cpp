// The tab of a sheet.
#include "ui/WindowChanger.h"

#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::ui {

void WindowChanger::Parse(db::XmlElement& element, db::DbNode*) {
    readText(element, "NAME", name);
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "TARGET") readText(*child, "NAME", target);
    });
}

void WindowChanger::Draw(render::RenderContext& context, const render::Rect& clip) { DrawControlFrame(context, clip); }

int WindowChanger::MouseButton(int, uint32_t, uint32_t) {
    // A tab row may stand on the sheet or on one of its pages: the pages are
    // the sheet's either way.
    for (Window* w = window; w; w = w->parentWindow) {
        for (auto& [key, sub] : w->subWindows) {
            if (key == target) {
                w->SetActiveSubWindow(sub.get());
                Invalidate();
                return kTakeCapture;
            }
        }
    }
    Invalidate();
    return kTakeCapture;
}

}  // namespace lh::ui
