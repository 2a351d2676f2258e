// The mouse and key state that the Desktop's routing keeps between events,
// in one place: whatever the mouse hovers, holds, drags or opened a menu on,
// the pointer being drawn, the dice being carried, the key a shortcut took.
// Each object reference may point at something that a handler deletes (a
// window closed from its own menu, a record deleted remotely);
// objectDying() is the one place that clears them, and ~DesktopObject
// calls it.
#pragma once

#include <cstdint>
#include <vector>

namespace lh::ui {

class DesktopObject;

namespace cursor {
constexpr int kDefault = 155, kDraggable = 156, kCarrying = 157;
// The map's own: drawing, measuring the grid, outlining in mask mode.
constexpr int kDrawing = 163, kGrid = 164, kMask = 165;
}

struct InputState {
    DesktopObject* hoverTarget = nullptr;
    // Took the press, or the drag; also the object an open menu belongs to.
    DesktopObject* mouseCapture = nullptr;
    DesktopObject* dragSource = nullptr;  // the object a running drag started from
    bool dragging = false;
    uint32_t menuAnchor = 0;         // packed x, y: the open menu's centre
    uint32_t pressPosition = 0;      // packed x, y
    uint32_t lastMousePosition = 0;  // packed x, y
    uint32_t buttons = 0;            // mouse flags of the buttons held
    int modifiers = 0;               // held keys: 2 control, 1 alt, 4 shift
    bool pointerArmed = false;       // a pointer tool was chosen; the next press draws
    int pointerKind = 0;             // 0 none, 1 arrow, 2 circle, 3 cone, 4 square
    bool pointerDrawing = false;
    DesktopObject* pointerWindow = nullptr;  // the window a pointer is drawn on
    bool carryingDie = false;
    bool menuDie = false;  // the open menu is a die's
    bool menuOpen = false;
    // The open menu's owner died (its window closed from elsewhere): the
    // menu goes before it can hand a choice to anyone else.
    bool menuOrphaned = false;
    bool overChat = false;  // carried dice are over the chat frame
    int keyTaken = 0;       // a key a shortcut took, ignored up to its release
    bool bookmarkStored = false;
    int cursor = cursor::kDefault;
    // The cursor shown is one the hover target named (CursorAt): it goes
    // when the mouse leaves that target or the target names none.
    bool cursorNamed = false;
    // Every list of input targets alive (one per Desktop): a dying object
    // leaves each.
    std::vector<std::vector<DesktopObject*>*> targetLists;
};

InputState& inputState();

// Clears every reference to `object` and takes it off the target lists.
void objectDying(DesktopObject* object);

}  // namespace lh::ui
