// Defaults of the Desktop object's operations.
#include "ui/DesktopObject.h"

#include "ui/InputState.h"
#include "ui/MenuModel.h"

namespace lh::ui {

DesktopObject::~DesktopObject() { objectDying(this); }

DesktopObject* DesktopObject::HitTest(int32_t x, int32_t y) {
    if (!rect.contains(x, y)) return nullptr;
    for (DesktopObject* child : children) {
        if (DesktopObject* hit = child->HitTest(x, y)) return hit;
    }
    return this;
}

void DesktopObject::GetOrigin(int32_t& x, int32_t& y) const {
    x = rect.left;
    y = rect.top;
}

int DesktopObject::MouseButton(int, uint32_t, uint32_t) { return kPass; }
int DesktopObject::MouseWheel(int, uint32_t) { return 0; }
int DesktopObject::MouseDrag(int, uint32_t, uint32_t, uint32_t) { return 0; }
int DesktopObject::MouseDrop(int, uint32_t, uint32_t, DesktopObject*) { return 0; }
int DesktopObject::GetDragData(DragPayload&) { return 0; }
void DesktopObject::MenuSelected(int) {}
std::unique_ptr<MenuModel> DesktopObject::BuildMenu() { return nullptr; }
void DesktopObject::HoverChanged(bool entered) { hovered = entered; }
void DesktopObject::HoverMove(uint32_t) {}
int DesktopObject::CursorAt(uint32_t) { return 0; }

}  // namespace lh::ui
