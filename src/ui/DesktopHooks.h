// Where the table's subsystems join the Desktop's mouse and key routing from
// their own folders, and what the routing needs of the main window. Each
// joins by a handle it keeps: the dice attach their input while their scene
// lives, the pointers theirs, the hot-key bar listens for F1..F12, the chat
// says where its frame is, the drag layer takes drops on the bare Desktop,
// and any subsystem may put an entry on the Desktop's own menu ("Arrange
// Dice"). Nothing here is a one-slot hook: a handle that goes takes its part
// away, and without any the routing carries on as if the thing were absent.
//
// Menus of objects: an object under the mouse offers its radial menu by
// overriding DesktopObject::BuildMenu (fill a MenuModel: slots 0..7, a label,
// an icon name, an id or a sub-menu with its back slot) and hears the choice
// in MenuSelected(id). A control that adds to its window's menu calls the
// window's BuildMenu, sets its own slots, and hands the ids it does not know
// to the window's MenuSelected.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Signal.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

class DesktopObject;
class MenuModel;
class Window;

// The dice as the mouse routing sees them (the dice subsystem implements it).
class DiceInput {
public:
    virtual ~DiceInput() = default;
    // The one entry of mouse input. Phase 0 is a press or a move, 1 a release
    // that puts the dice back, 2 a release that throws them. Answers 1 when a
    // phase-0 press grabbed a die now (the mouse then carries dice).
    virtual int Mouse(int32_t x, int32_t y, int phase) = 0;
    // Adds a die to the hand; -1 is the shape of the grabbed die.
    virtual void AddDie(int shape) = 0;
    // A permanent die lies at the pixel: cursor 156 over it, a drop there is
    // the die's, and the radial menu there is the die menu.
    virtual bool DieAt(int32_t x, int32_t y) = 0;
    // The die menu for the die at the point (the dice keep which die it was,
    // as the menu's die). Null: no die there.
    virtual std::unique_ptr<MenuModel> BuildDieMenu(int32_t x, int32_t y) = 0;
    // A choice in the die menu, the mouse at x, y; id 0 does nothing. Answers
    // true when the mouse now carries dice.
    virtual bool DieMenuChosen(int id, int32_t x, int32_t y) = 0;
    // The die menu closed without a choice.
    virtual void DieMenuClosed() {}
    // A drag ended on a die: the source is asked for its payload there.
    virtual void DropOnDie(int32_t x, int32_t y, DesktopObject& source) = 0;
};

// Each user's pointer as the routing draws it (the pointer subsystem
// implements it). Positions are packed x, y in Desktop coordinates; kinds
// are 1 arrow, 2 circle, 3 cone, 4 square.
class PointerInput {
public:
    virtual ~PointerInput() = default;
    // Whether the local user has a pointer to take away ("Remove Pointer").
    virtual bool HasPointer() = 0;
    // The local user's pointer: `window` null takes it away. While the mouse
    // draws, `finish` is false; at the release it is true, which sends it.
    virtual void SetPointer(Window* window, int kind, uint32_t start, uint32_t end, bool finish) = 0;
    // After a window that is not minimized has drawn: the pointers on it.
    virtual void DrawPointersOn(Window& window, render::RenderContext& context) = 0;
};

// The main window's operations that the routing uses; the app attaches the
// one implementation. Without it (tests in one process) the routing keeps
// the cursor in the input state and does nothing else.
class DesktopShell {
public:
    virtual ~DesktopShell() = default;
    virtual void quit(int exitCode) = 0;
    virtual bool fullScreen() const = 0;
    virtual void setFullScreen(bool on) = 0;
    // Cursor ids: 155 default, 156 over something that can be dragged,
    // 157 carrying a die or dragging a payload.
    virtual void setCursor(int id) = 0;
    // Moves the real mouse cursor (client coordinates).
    virtual void warpMouse(int32_t x, int32_t y) = 0;
    // Keeps the mouse's events while a button is held outside the window.
    virtual void captureMouse(bool on) = 0;
    // Whether the user swapped the mouse buttons (the left then holds menus).
    virtual bool buttonsSwapped() const { return false; }
};

// What the routing tells and asks the table's subsystems. Handlers that
// answer run in the order they came; the first that answers yes wins.
struct DesktopSignals {
    // F1..F12 pressed: the hot key of index 0..11.
    platform::Signal<void(int index)> hotKey;
    // Control, shift or alt went down or up: the hot-key bar and the chat
    // frame show something else while one is held.
    platform::Signal<void()> modifiersChanged;
    // Whether the point (Desktop coordinates) lies in the chat frame, where
    // carried dice are thrown; the chat answers.
    platform::Signal<bool(int32_t x, int32_t y)> chatFrameContains;
    // Carried dice came over the chat frame or left it (the chat draws its
    // HILIGHT frame meanwhile), or the chat frame must be drawn again.
    platform::Signal<void(bool overChat)> chatFrameChanged;
    // The client area took a new size (pixels): what is placed by the
    // client's edges rather than as a window places itself again.
    platform::Signal<void(int32_t width, int32_t height)> clientSized;
    // A drag ended on the bare Desktop: no die and no object took it. Answers
    // 1 when handled (a link opens its window, a token stays on the Desktop).
    platform::Signal<int(int32_t x, int32_t y, uint32_t flags, DesktopObject& source)> desktopDrop;

    // What stands on windows besides their controls (tokens): a top-level
    // window opened with its controls built, or closed for good; the object
    // at a point of a window above its controls (the first answer wins);
    // and a drop on a window that no control took, answering 1 if handled.
    platform::Signal<void(Window& window)> windowOpened;
    platform::Signal<void(Window& window)> windowClosed;
    platform::Signal<DesktopObject*(Window& window, int32_t x, int32_t y)> windowObjectAt;
    platform::Signal<int(Window& window, uint32_t position, DesktopObject& source)> windowDrop;
};

DesktopSignals& desktopSignals();

[[nodiscard]] platform::Subscription attachDiceInput(DiceInput& dice);
[[nodiscard]] platform::Subscription attachPointerInput(PointerInput& pointers);
[[nodiscard]] platform::Subscription attachDesktopShell(DesktopShell& shell);
// The first attached of each, or null.
DiceInput* diceInput();
PointerInput* pointerInput();
DesktopShell* desktopShell();

// An entry of the Desktop's own menu, the one the bare Desktop opens: slot
// 0..7, its label and icon name; `chosen` runs when the user picks it. The
// entry stays while the handle lives. Slots 0 and 2 are the Desktop's own
// (exit, window size); a later entry on a taken slot is not shown.
[[nodiscard]] platform::Subscription addDesktopMenuEntry(int slot, std::string label, std::string icon,
                                                         std::function<void()> chosen);

}  // namespace lh::ui
