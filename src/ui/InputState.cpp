// The input references and the one place that clears them.
#include "ui/InputState.h"

#include <algorithm>

#include "render/GraphicsDevice.h"
#include "ui/DesktopObject.h"
#include "ui/DragImage.h"

namespace lh::ui {

InputState& inputState() {
    static InputState state;
    return state;
}

void objectDying(DesktopObject* object) {
    InputState& s = inputState();
    if (s.hoverTarget == object) s.hoverTarget = nullptr;
    if (s.mouseCapture == object) {
        if (s.menuOpen) s.menuOrphaned = true;
        s.mouseCapture = nullptr;
        s.dragging = false;
    }
    if (s.dragSource == object) {
        // The drag dies with its source: no drop, no picture.
        s.dragSource = nullptr;
        render::GraphicsDevice::Get().Invalidate(nullptr);
        if (s.cursor == cursor::kCarrying && !s.carryingDie) setDesktopCursor(cursor::kDefault);
    }
    if (s.pointerWindow == object) s.pointerWindow = nullptr;
    for (std::vector<DesktopObject*>* list : s.targetLists) {
        list->erase(std::remove(list->begin(), list->end(), object), list->end());
    }
}

}  // namespace lh::ui
