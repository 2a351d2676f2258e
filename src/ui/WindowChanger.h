// WINDOWCHANGECONTROL: the tab of a sheet. Any mouse message on it makes
// the TARGET sub-window the one that shows.
#pragma once

#include "ui/Control.h"

namespace lh::ui {

class WindowChanger final : public Control {
public:
    using Control::Control;
    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;

    std::string target;  // a key of the window's sub-windows
};

}  // namespace lh::ui
