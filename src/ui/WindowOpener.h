// WINDOWOPENCONTROL: a link button. It opens or brings up the window of
// (CLASS, record), minimizes and restores it with CLOSETOGGLE, makes a new
// record with NEWRECORD (or control plus ALTCLASS), can be dragged as a
// window link, and answers a keyboard SHORTCUT.
#pragma once

#include "ui/Control.h"

namespace lh::render {
class Bitmap;
}

namespace lh::ui {

class WindowOpener final : public Control {
public:
    explicit WindowOpener(Window& window);
    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    void CancelDrag() override;
    int GetDragData(DragPayload& payload) override;
    void HoverChanged(bool entered) override;
    int ShortcutKey(int modifiers, int key) override;

    // Opens, toggles or creates, as a click does.
    void Activate();
    // A new record of ALTCLASS: made here on the host, asked for by WINCQ
    // on a client.
    void CreateFromClass();
    // DATASOURCE NAME when given, else the record name of the window.
    const std::string& ownRecordName() const;

    render::Bitmap* iconNormal = nullptr;
    render::Bitmap* iconPressed = nullptr;
    std::string descriptionText, descriptionField;
    std::string className, recordName, altClassName;
    bool hasRecordName = false;
    bool newRecord = false, noDrag = false, closeToggle = false;
    int shortcutKey = 0;
    int shortcutModifier = 0;  // 2 control, 1 alt, 4 shift
    bool pressed = false;

private:
    void click(uint32_t flags);
};

}  // namespace lh::ui
