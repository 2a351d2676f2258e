// The references that the Desktop's mouse routing keeps between events, in
// one place: whatever the mouse hovers, holds, drags or opened a menu on.
// Each may point at an object that a handler deletes (a window closed from
// its own menu, a record deleted remotely); objectDying() is the one place
// that clears them, and ~DesktopObject calls it.
#pragma once

#include <cstdint>
#include <vector>

namespace lh::ui {

class DesktopObject;

struct InputState {
    DesktopObject* hoverTarget = nullptr;
    DesktopObject* mouseCapture = nullptr;  // took the press; also owns an open menu
    DesktopObject* dragSource = nullptr;    // the object a running drag started from
    DesktopObject* menuOwner = nullptr;
    bool dragging = false;
    uint32_t pressPosition = 0;      // packed x, y
    uint32_t lastMousePosition = 0;  // packed x, y
    uint32_t buttons = 0;            // mouse flags of the buttons held
    bool pointerArmed = false;  // a pointer tool was chosen; the next press draws
    int pointerKind = 0;        // 0 none, 1 arrow, 2 circle, 3 cone, 4 square
    // Every list of input targets alive (one per Desktop): a dying object
    // leaves each.
    std::vector<std::vector<DesktopObject*>*> targetLists;
};

InputState& inputState();

// Clears every reference to `object` and takes it off the target lists.
void objectDying(DesktopObject* object);

}  // namespace lh::ui
