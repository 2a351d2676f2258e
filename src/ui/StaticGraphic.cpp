// STATICGRAPHIC: a fixed picture (its frame, then an icon). It takes no input.
#include <memory>

#include "render/RenderContext.h"
#include "ui/Control.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/StandardControls.h"
#include "ui/WindowChanger.h"
#include "ui/NumberControl.h"
#include "ui/StringControl.h"
#include "ui/WindowOpener.h"

namespace lh::ui {

namespace {

class StaticGraphic final : public Control {
public:
    using Control::Control;

    void Parse(db::XmlElement& element, db::DbNode*) override {
        readText(element, "NAME", name);
        forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
            if (ParseCommonChild(*child)) return;
            if (tag == "ICON") readText(*child, "NAME", iconName);
        });
    }

    void Draw(render::RenderContext& context, const render::Rect& clip) override {
        DrawControlFrame(context, clip);
        if (!icon) icon = findIcon(iconName);  // looked up at the first drawing
        if (!icon) return;
        int32_t x, y;
        GetOrigin(x, y);
        context.DrawBitmap(*icon, x, y, lights().icon, &clip);
    }

    // Pictures are not for the mouse: the window under them takes it.
    DesktopObject* HitTest(int32_t, int32_t) override { return nullptr; }

private:
    std::string iconName;
    render::Bitmap* icon = nullptr;
};

}  // namespace

void registerStandardControls(const std::function<void(std::string_view, ControlMaker)>& enter) {
    enter("STATICGRAPHIC", [](Window& w) -> std::unique_ptr<Control> { return std::make_unique<StaticGraphic>(w); });
    enter("WINDOWOPENCONTROL", [](Window& w) -> std::unique_ptr<Control> { return std::make_unique<WindowOpener>(w); });
    enter("NUMBERCONTROL", [](Window& w) -> std::unique_ptr<Control> { return std::make_unique<NumberControl>(w); });
    enter("STRINGCONTROL", [](Window& w) -> std::unique_ptr<Control> { return std::make_unique<StringControl>(w); });
    enter("WINDOWCHANGECONTROL",
          [](Window& w) -> std::unique_ptr<Control> { return std::make_unique<WindowChanger>(w); });
}

}  // namespace lh::ui
