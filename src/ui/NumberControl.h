// NUMBERCONTROL: one integer of a record. The user changes it by typing
// (digits within a second of each other make one number; "-" flips the
// sign, or arms it on a zero), the wheel, a middle drag of 20 pixels a step,
// a middle click that resets it, or a dropped number that adds, subtracts or
// replaces. A left drag carries the number away. Its value may be worked out
// from other numbers of the record (SOURCE), in which case the base takes
// whatever the user changes, so that the sources keep their share.
//
// Typed numbers go out once, when the field loses the keyboard; the wheel,
// the reset, the end of a middle drag and a drop send at once.
#pragma once

#include <cstdint>
#include <string>

#include "ui/Control.h"
#include "ui/KeyboardFocus.h"

namespace lh::db {
class IntValue;
}

namespace lh::ui {

class RulesetFont;

class NumberControl final : public Control, public KeyboardTarget {
public:
    explicit NumberControl(Window& window);
    ~NumberControl() override;

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    void Measure(Size& size, int32_t width) override;
    void TakeFocus() override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseWheel(int notches, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, DesktopObject* source) override;
    void CancelDrag() override;
    int GetDragData(DragPayload& payload) override;
    void HoverChanged(bool entered) override;

    void FocusLost() override;
    void KeyEvent(int message, int code, int scanCode) override;

    db::IntValue& value();
    // The text shown for the current value: "+%d" with DISPLAYSIGN above
    // 0, "-%d" on 0 with a pending minus, else "%d"; empty while hidden.
    std::string shownText();

    bool hasLimits = false;
    int32_t minimum = 0, maximum = 0;
    bool draggable = true, droppable = true, resettable = true;
    bool noKeyEdit = false;
    bool displaySign = false;
    bool hideOnValue = false;
    int32_t hiddenValue = 0;
    char dropOperation = '=';
    std::string fontName = "defaultnumbercontrol";
    std::string descriptionText, descriptionField;
    uint64_t lastKeyTime = 0;
    bool typing = false;  // a digit came, and lastKeyTime is its time
    bool minusPending = false;
    int32_t dragBase = 0;
    bool dragActive = false;

private:
    int32_t limited(int64_t number) const;
    // Sets the base so that the shown value moves by `delta`.
    void moveBaseBy(int64_t delta);
    void typeDigit(int digit);
    void typeMinus();
    RulesetFont* font = nullptr;
};

}  // namespace lh::ui
