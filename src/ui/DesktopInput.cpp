// Mouse and keys on the Desktop: who gets a press (the dice, a pointer being
// drawn, the radial menu, an object, the bare Desktop), when a press becomes
// a drag, where a drag ends, hover and cursors, and where keys go.
#include <cstdlib>

#include "db/SessionMode.h"
#include "platform/Trace.h"
#include "render/GraphicsDevice.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopMenu.h"
#include "ui/DesktopObject.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/RadialMenu.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// A press and release closer than this in both axes is a click.
constexpr int32_t kDragThreshold = 3;
// The right button held this long opens the menu without its release.
constexpr uint32_t kMenuHoldMs = 1000;
// The menu's area and this margin stay inside the client area.
constexpr int32_t kMenuMargin = 15;

constexpr int kKeyEscape = 0x1B, kKeyReturn = 0x0D, kKeySpace = 0x20, kKeyLeft = 0x25, kKeyUp = 0x26,
              kKeyRight = 0x27, kKeyDown = 0x28, kKeyShift = 0x10, kKeyControl = 0x11, kKeyAlt = 0x12,
              kKeyF1 = 0x70, kKeyF12 = 0x7B, kKeyApps = 0x5D;
// The keys of the numeric pad send these scan codes when not extended.
constexpr int kPadFirstScan = 71, kPadLastScan = 82;

void redrawAll() { render::GraphicsDevice::Get().Invalidate(nullptr); }

void showCursor(int id) { setDesktopCursor(id); }

// The hover target's own cursor for the point, if it names one; a cursor
// it named before and names no longer goes back to the default.
void askCursor(DesktopObject& target, uint32_t position) {
    InputState& s = inputState();
    const int id = target.CursorAt(position);
    if (id) {
        if (id != s.cursor) showCursor(id);
        s.cursorNamed = true;
    } else if (s.cursorNamed) {
        showCursor(cursor::kDefault);
    }
}

void captureMouse(bool on) {
    if (DesktopShell* shell = desktopShell()) shell->captureMouse(on);
}

void chatFrameDirty() { desktopSignals().chatFrameChanged.emit(inputState().overChat); }

bool inChatFrame(int32_t x, int32_t y) {
    bool inside = false;
    desktopSignals().chatFrameContains.forEach([&](const std::function<bool(int32_t, int32_t)>& contains) {
        if (!inside) inside = contains(x, y);
    });
    return inside;
}

bool dieAt(int32_t x, int32_t y) {
    DiceInput* dice = diceInput();
    return dice && dice->DieAt(x, y);
}

bool isModifierKey(int key) { return key == kKeyShift || key == kKeyControl || key == kKeyAlt; }
int modifierBit(int key) { return key == kKeyControl ? 2 : key == kKeyAlt ? 1 : key == kKeyShift ? 4 : 0; }

// The bookmark slot of a numeric pad key: 7 8 9 / 4 5 6 / 1 2 3 / 0 give
// 0..9, the minus and plus keys between them share their neighbours' slots.
int bookmarkSlot(int scanCode) {
    int slot = scanCode - kPadFirstScan;
    if (scanCode >= 75) slot -= 1;
    if (scanCode >= 79) slot -= 1;
    return slot;
}

bool isPadKey(int scanCode, bool extended) {
    return !extended && scanCode >= kPadFirstScan && scanCode <= kPadLastScan;
}

// The kind of a finished pointer: the armed tool, else by the modifier held.
int pointerKindNow() {
    const InputState& s = inputState();
    if (s.pointerKind) return s.pointerKind;
    if (s.modifiers & 2) return 2;
    if (s.modifiers & 1) return 3;
    if (s.modifiers & 4) return 4;
    return 1;
}

// Whether the menu's own button is down: the right one, the left when the
// user swapped them.
bool menuButtonHeld(uint32_t buttons) {
    DesktopShell* shell = desktopShell();
    const bool swapped = shell && shell->buttonsSwapped();
    return (buttons & mouse::kRight) || (swapped && (buttons & mouse::kLeft));
}

}  // namespace

// A menu whose owner died closes before any event reaches it.
void Desktop::dropOrphanedMenu() {
    if (inputState().menuOrphaned) CloseMenu();
}

// --- Presses ---

void Desktop::MousePress(int message, uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    dropOrphanedMenu();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    if (message == mouse::kRightDown) {
        if (s.carryingDie) {
            if (DiceInput* dice = diceInput()) dice->AddDie(-1);
            return;
        }
        if (s.dragging) cancelDrag();
        s.pointerArmed = false;
        s.pointerKind = 0;
        if (!activeMenu) menuHold.start(kMenuHoldMs);
    }
    captureMouse(true);
    if (s.carryingDie) return;
    const bool bothDown = message != mouse::kMiddleDown && (flags & mouse::kLeft) && (flags & mouse::kRight);
    if (s.pointerArmed || bothDown) {
        startPointer(x, y);
        return;
    }
    if (s.pointerDrawing || activeMenu || s.mouseCapture) return;
    // The right button reaches no object on its own: its release opens the
    // menu. Its press still counts for the click and drag distance.
    if (message == mouse::kRightDown) {
        s.pressPosition = mouse::pack(x, y);
        return;
    }
    pressObject(message, flags, x, y);
    CollectClosed();
}

void Desktop::pressObject(int message, uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    s.dragging = false;
    s.mouseCapture = nullptr;
    s.pressPosition = mouse::pack(x, y);
    if (DiceInput* dice = diceInput(); dice && dice->Mouse(x, y, 0) == 1) {
        s.carryingDie = true;
        showCursor(cursor::kCarrying);
        return;
    }
    DesktopObject* hit = HitTestAll(x, y);
    if (!hit) {
        focusFallback();
        chatFrameDirty();
        return;
    }
    const uint32_t position = mouse::pack(x, y);
    for (DesktopObject* o = hit; o;) {
        const int result = o->MouseButton(message, flags, position);
        if (result == kTakeNoCapture) break;
        // The handler may have closed the window it stands in; closed
        // windows live until the event is over, so `o` is still there.
        if (o->owner) o->owner->BringToFront();
        if (result != kPass) {
            s.mouseCapture = o;
            break;
        }
        o = o->owner;
    }
}

void Desktop::startPointer(int32_t x, int32_t y) {
    InputState& s = inputState();
    s.pointerArmed = false;
    menuHold.stop();
    if (s.mouseCapture) s.mouseCapture->CancelDrag();
    endDragState();
    CloseMenu();
    s.mouseCapture = nullptr;
    Window* w = WindowAt(x, y);
    if (w && !w->windowClass.desktopWindow && w->windowClass.usePointers) {
        s.pointerDrawing = true;
        s.pointerWindow = w;
        s.pressPosition = mouse::pack(x, y);
    } else {
        s.pointerDrawing = false;
        s.pointerWindow = nullptr;
    }
    redrawAll();
}

// --- Releases ---

void Desktop::MouseRelease(int message, uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    dropOrphanedMenu();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    const uint32_t position = mouse::pack(x, y);
    captureMouse(false);
    if (message == mouse::kRightUp) {
        menuHold.stop();
        if (s.carryingDie) return;
        if (activeMenu) {
            releaseOnMenu(x, y);
        } else if (!s.pointerDrawing) {
            OpenMenuAt(x, y);
        } else {
            endPointer(x, y);
        }
        CollectClosed();
        return;
    }
    if (s.carryingDie) {
        // Dice let go over the chat are thrown; anywhere else they go back.
        const bool throwThem = inChatFrame(x, y) && db::sessionMode() != db::SessionMode::LocalCharacters;
        if (DiceInput* dice = diceInput()) dice->Mouse(x, y, throwThem ? 2 : 1);
        s.carryingDie = false;
        s.overChat = false;
        showCursor(cursor::kDefault);
        chatFrameDirty();
        return;
    }
    if (s.pointerDrawing) {
        endPointer(x, y);
        return;
    }
    if (activeMenu) {
        releaseOnMenu(x, y);
        // While the menu stays open its owner keeps the capture, so that the
        // next choice still reaches it.
        if (activeMenu) return;
    }
    DesktopObject* capture = s.mouseCapture;
    if (!capture) {
        endDragState();
        return;
    }
    if (!s.dragging) {
        capture->MouseButton(message, flags, position);
        s.dragging = false;
        s.mouseCapture = nullptr;
        CollectClosed();
        return;
    }
    // A drag ends: a die under the mouse takes it, else the object under
    // the mouse or one of its owners, else the bare Desktop.
    DiceInput* dice = diceInput();
    if (dice && dice->DieAt(x, y)) {
        dice->DropOnDie(x, y, *capture);
    } else {
        bool taken = false;
        for (DesktopObject* o = HitTestAll(x, y); o && s.mouseCapture && !taken; o = o->owner) {
            taken = o->MouseDrop(message, flags, position, capture) != 0;
        }
        if (!taken && s.mouseCapture) {
            desktopSignals().desktopDrop.forEach(
                [&](const std::function<int(int32_t, int32_t, uint32_t, DesktopObject&)>& drop) {
                    if (!taken && s.mouseCapture) taken = drop(x, y, flags, *s.mouseCapture) != 0;
                });
        }
    }
    if (s.mouseCapture) s.mouseCapture->MouseDrag(message, flags, s.pressPosition, position);
    endDragState();
    s.mouseCapture = nullptr;
    CollectClosed();
}

void Desktop::releaseOnMenu(int32_t x, int32_t y) {
    InputState& s = inputState();
    const int result = activeMenu->Release(s.menuAnchor, mouse::pack(x, y));
    if (result < 0) {
        s.menuDie = false;
        return;
    }
    ChooseMenu(result);
    s.pressPosition = mouse::pack(x, y);
}

void Desktop::endPointer(int32_t x, int32_t y) {
    InputState& s = inputState();
    if (s.buttons & (mouse::kLeft | mouse::kRight)) return;
    // A click without movement takes the user's pointer away.
    if (s.pressPosition == mouse::pack(x, y)) s.pointerWindow = nullptr;
    if (PointerInput* pointers = pointerInput()) {
        pointers->SetPointer(static_cast<Window*>(s.pointerWindow), pointerKindNow(), s.pressPosition,
                             mouse::pack(x, y), true);
    }
    s.pointerDrawing = false;
    s.pointerKind = 0;
    s.pointerWindow = nullptr;
    redrawAll();
}

// --- Moves and the wheel ---

void Desktop::MouseMove(uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    dropOrphanedMenu();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    const uint32_t position = mouse::pack(x, y);
    // The drag image follows the mouse.
    if (currentDragKind(*this)) dragMoved(*this, x, y);
    if (s.carryingDie) {
        if (DiceInput* dice = diceInput()) dice->Mouse(x, y, 0);
        const bool over = inChatFrame(x, y);
        if (over != s.overChat) {
            s.overChat = over;
            chatFrameDirty();
        }
        return;
    }
    if (!s.dragging && !activeMenu) {
        if (dieAt(x, y)) {
            showCursor(cursor::kDraggable);
        } else {
            DesktopObject* hit = HitTestAll(x, y);
            if (!hit) {
                if (DesktopObject* old = s.hoverTarget) {
                    s.hoverTarget = nullptr;
                    old->HoverChanged(false);
                }
                showCursor(cursor::kDefault);
            } else if (hit != s.hoverTarget) {
                if (DesktopObject* old = s.hoverTarget) {
                    s.hoverTarget = nullptr;
                    old->HoverChanged(false);
                }
                // What the old target named is not the new one's.
                if (s.cursorNamed) showCursor(cursor::kDefault);
                s.hoverTarget = hit;
                hit->HoverChanged(true);
                if (s.hoverTarget == hit) askCursor(*hit, position);
            } else {
                hit->HoverMove(position);
                if (s.hoverTarget == hit) askCursor(*hit, position);
            }
        }
    }
    if (!s.dragging) {
        const int32_t px = mouse::xOf(s.pressPosition), py = mouse::yOf(s.pressPosition);
        if (std::abs(x - px) < kDragThreshold && std::abs(y - py) < kDragThreshold) return;
    }
    if (s.pointerDrawing) {
        if (PointerInput* pointers = pointerInput()) {
            pointers->SetPointer(static_cast<Window*>(s.pointerWindow), pointerKindNow(), s.pressPosition, position,
                                 false);
        }
        return;
    }
    if (activeMenu) {
        activeMenu->Move(s.menuAnchor, position, menuButtonHeld(flags));
        return;
    }
    if (flags & mouse::kRight) {
        OpenMenuAt(x, y);
        CollectClosed();
        return;
    }
    if ((flags & (mouse::kLeft | mouse::kMiddle)) && !s.dragging) {
        s.dragging = true;
        DesktopObject* taker = nullptr;
        for (DesktopObject* o = HitTestAll(mouse::xOf(s.pressPosition), mouse::yOf(s.pressPosition)); o && !taker;
             o = o->owner) {
            if (o->MouseDrag(mouse::kMove, flags, s.pressPosition, position)) taker = o;
        }
        s.mouseCapture = taker;
        if (taker) platform::trace("drag started %d %d", mouse::xOf(s.pressPosition), mouse::yOf(s.pressPosition));
    } else if (s.dragging && s.mouseCapture) {
        s.mouseCapture->MouseDrag(mouse::kMove, flags, s.pressPosition, position);
    }
    CollectClosed();
}

void Desktop::MouseWheel(int notches, int32_t x, int32_t y) {
    for (DesktopObject* o = HitTestAll(x, y); o; o = o->owner) {
        if (o->MouseWheel(notches, mouse::pack(x, y))) break;
    }
    CollectClosed();
}

// --- Drags ---

void Desktop::BeginDrag(DesktopObject& source, const DragPayload& payload) {
    inputState().dragSource = &source;
    dragPayload = payload;
    showCursor(cursor::kCarrying);
    dragStarted(*this);
}

void Desktop::endDragState() {
    InputState& s = inputState();
    if (dragPayload.kind) redrawAll();
    dragPayload = {};
    s.dragSource = nullptr;
    s.dragging = false;
    if (s.cursor == cursor::kCarrying && !s.carryingDie) showCursor(cursor::kDefault);
}

void Desktop::cancelDrag() {
    InputState& s = inputState();
    if (s.mouseCapture) s.mouseCapture->CancelDrag();
    s.mouseCapture = nullptr;
    endDragState();
}

// --- The radial menu ---

RadialMenu* Desktop::OpenMenuAt(int32_t x, int32_t y) {
    if (modal) return nullptr;
    InputState& s = inputState();
    if (activeMenu) CloseMenu();
    std::unique_ptr<MenuModel> model;
    DiceInput* dice = diceInput();
    if (dice && dice->DieAt(x, y)) {
        model = dice->BuildDieMenu(x, y);
        s.menuDie = model != nullptr;
    }
    if (!model) {
        for (DesktopObject* o = HitTestAll(x, y); o; o = o->owner) {
            if ((model = o->BuildMenu())) {
                s.mouseCapture = o;
                break;
            }
        }
    }
    if (!model) {
        DesktopShell* shell = desktopShell();
        model = BuildDesktopMenu(shell && shell->fullScreen());
    }
    activeMenu = MakeRadialMenu(*model, [](std::string_view name) { return findIcon(name); });
    int32_t ax = activeMenu->hasFixedAnchor ? activeMenu->fixedAnchorX : x;
    int32_t ay = activeMenu->hasFixedAnchor ? activeMenu->fixedAnchorY : y;
    // The whole menu with every ring below it, and a margin for the icons,
    // stays inside the client area; the mouse moves along.
    render::Rect area{ax, ay, ax, ay};
    activeMenu->GetBounds(ax, ay, area);
    area = {area.left - kMenuMargin, area.top - kMenuMargin, area.right + kMenuMargin, area.bottom + kMenuMargin};
    int32_t dx = 0, dy = 0;
    if (area.left < 0) dx = -area.left;
    else if (area.right > clientWidth) dx = clientWidth - area.right;
    if (area.top < 0) dy = -area.top;
    else if (area.bottom > clientHeight) dy = clientHeight - area.bottom;
    if (dx || dy) {
        ax += dx;
        ay += dy;
        const int32_t mx = mouse::xOf(s.lastMousePosition) + dx, my = mouse::yOf(s.lastMousePosition) + dy;
        s.lastMousePosition = mouse::pack(mx, my);
        if (DesktopShell* shell = desktopShell()) shell->warpMouse(mx, my);
    }
    s.menuAnchor = mouse::pack(ax, ay);
    s.menuOpen = true;
    s.menuOrphaned = false;
    platform::trace("menu opened %d %d", ax, ay);
    showCursor(cursor::kDefault);
    redrawAll();
    return activeMenu.get();
}

void Desktop::ChooseMenu(int id) {
    InputState& s = inputState();
    const bool forDie = s.menuDie;
    DesktopObject* owner = s.mouseCapture;
    const int32_t x = mouse::xOf(s.lastMousePosition), y = mouse::yOf(s.lastMousePosition);
    activeMenu.reset();
    s.menuOpen = false;
    s.menuDie = false;
    s.dragging = false;
    s.mouseCapture = nullptr;
    redrawAll();
    platform::trace("menu chosen %d", id);
    if (forDie) {
        DiceInput* dice = diceInput();
        if (dice && dice->DieMenuChosen(id, x, y)) {
            s.carryingDie = true;
            showCursor(cursor::kCarrying);
        }
    } else if (owner) {
        owner->MenuSelected(id);
        // The choice may have changed what the object under the mouse
        // does there (a map put in drawing mode): its cursor says so now.
        if (s.hoverTarget && !s.carryingDie && currentDragKind(*this) == 0) askCursor(*s.hoverTarget, s.lastMousePosition);
    } else {
        HandleMenuChoice(id);
    }
    CollectClosed();
}

void Desktop::CloseMenu() {
    InputState& s = inputState();
    s.menuOrphaned = false;
    if (!activeMenu) return;
    if (s.menuDie) {
        if (DiceInput* dice = diceInput()) dice->DieMenuClosed();
    }
    activeMenu.reset();
    s.menuOpen = false;
    s.menuDie = false;
    s.mouseCapture = nullptr;
    redrawAll();
}

void Desktop::rightHeld() {
    // The right button held for a second opens the menu under the mouse,
    // before its release.
    InputState& s = inputState();
    if (!(s.buttons & mouse::kRight) || activeMenu || s.pointerDrawing || s.carryingDie) return;
    OpenMenuAt(mouse::xOf(s.lastMousePosition), mouse::yOf(s.lastMousePosition));
    CollectClosed();
}

void Desktop::DrawMenu(render::RenderContext& context) {
    dropOrphanedMenu();
    if (!activeMenu) return;
    const InputState& s = inputState();
    activeMenu->Draw(context, mouse::xOf(s.menuAnchor), mouse::yOf(s.menuAnchor), s.lastMousePosition);
}

// The keyboard in an open menu: the arrows walk the slots of the deepest
// ring, Return or Space picks, Escape closes a ring, then the menu.
void Desktop::menuKey(int key) {
    if (key == kKeyLeft || key == kKeyUp) {
        activeMenu->StepMarked(-1);
    } else if (key == kKeyRight || key == kKeyDown) {
        activeMenu->StepMarked(1);
    } else if (key == kKeyReturn || key == kKeySpace) {
        const int result = activeMenu->PickMarked();
        if (result >= 0) ChooseMenu(result);
    } else if (key == kKeyEscape) {
        if (!activeMenu->CloseDeepest()) CloseMenu();
    }
}

// --- Keys ---

bool Desktop::KeyDown(int modifiers, int key, int scanCode, bool repeat, bool extended) {
    InputState& s = inputState();
    dropOrphanedMenu();
    if (key == s.keyTaken && key != 0) return false;
    if (isModifierKey(key)) {
        s.modifiers |= modifierBit(key);
        desktopSignals().modifiersChanged.emit();
        chatFrameDirty();
    }
    if (key >= kKeyF1 && key <= kKeyF12) {
        desktopSignals().hotKey.emit(key - kKeyF1);
        return false;
    }
    if (isPadKey(scanCode, extended)) {
        // Held down (the keyboard repeats it), the key stores the top
        // window; a tap recalls at the release.
        if (repeat && !s.bookmarkStored) StoreBookmark(bookmarkSlot(scanCode));
        return false;
    }
    if (activeMenu && (key == kKeyLeft || key == kKeyUp || key == kKeyRight || key == kKeyDown ||
                       key == kKeyReturn || key == kKeySpace || key == kKeyEscape)) {
        menuKey(key);
        CollectClosed();
        return false;
    }
    if (key == kKeyApps && !activeMenu) {
        // The menu key opens the menu of what is under the mouse.
        OpenMenuAt(mouse::xOf(s.lastMousePosition), mouse::yOf(s.lastMousePosition));
        CollectClosed();
        return false;
    }
    if (key == kKeyEscape && s.dragging) {
        s.pointerArmed = false;
        s.pointerKind = 0;
        cancelDrag();
        redrawAll();
    }
    const bool taken = DispatchShortcut(modifiers, key);
    if (taken) {
        s.keyTaken = key;
    } else if (KeyboardTarget* target = KeyboardFocus()) {
        target->KeyEvent(kKeyDownMessage, key, scanCode);
    }
    CollectClosed();
    return taken;
}

void Desktop::KeyUp(int key, int scanCode, bool extended) {
    InputState& s = inputState();
    if (key == s.keyTaken && key != 0) {
        s.keyTaken = 0;
        return;
    }
    if (isModifierKey(key)) {
        s.modifiers &= ~modifierBit(key);
        desktopSignals().modifiersChanged.emit();
        chatFrameDirty();
    }
    if (isPadKey(scanCode, extended)) {
        if (!s.bookmarkStored) RecallBookmark(bookmarkSlot(scanCode));
        s.bookmarkStored = false;
    }
    CollectClosed();
}

void Desktop::Char(int code, int scanCode, bool extended) {
    InputState& s = inputState();
    // While a shortcut's key is held, what it types is the shortcut's.
    if (s.keyTaken) return;
    // Digits typed on the numeric pad belong to its bookmarks.
    if (!extended && scanCode >= kPadFirstScan && scanCode <= kPadLastScan + 1) return;
    if (KeyboardTarget* target = KeyboardFocus()) target->KeyEvent(kCharMessage, code, scanCode);
    CollectClosed();
}

}  // namespace lh::ui
