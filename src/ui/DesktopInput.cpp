// Mouse and keys on the Desktop: who gets a press, when a press becomes a
// drag, where a drag ends, and hover. The dice, the pointers and the radial
// menu's drawing join this routing as they arrive.
#include <cstdlib>

#include "render/GraphicsDevice.h"
#include "ui/Desktop.h"
#include "ui/DesktopObject.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// A press and release closer than this in both axes is a click.
constexpr int32_t kDragThreshold = 3;

}  // namespace

void Desktop::MousePress(int message, uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    if (message == mouse::kRightDown) {
        // The right button reaches no object on its own: it opens the menu
        // at its release.
        if (s.dragging && s.mouseCapture) {
            s.mouseCapture->CancelDrag();
            s.mouseCapture = nullptr;
            s.dragging = false;
            dragEnded(*this);
        }
        s.pointerArmed = false;
        s.pointerKind = 0;
        return;
    }
    if (activeMenu || s.mouseCapture) return;
    s.dragging = false;
    s.mouseCapture = nullptr;
    s.pressPosition = mouse::pack(x, y);
    DesktopObject* hit = HitTestAll(x, y);
    if (!hit) {
        focusFallback();
        return;
    }
    const uint32_t position = mouse::pack(x, y);
    for (DesktopObject* o = hit; o;) {
        int result = o->MouseButton(message, flags, position);
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
    CollectClosed();
}

void Desktop::MouseRelease(int message, uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    const uint32_t position = mouse::pack(x, y);
    if (message == mouse::kRightUp) {
        if (activeMenu) {
            activeMenu.reset();
        } else {
            OpenMenuAt(x, y);
        }
        CollectClosed();
        return;
    }
    DesktopObject* capture = s.mouseCapture;
    if (!capture) {
        s.dragging = false;
        return;
    }
    if (!s.dragging) {
        capture->MouseButton(message, flags, position);
        s.mouseCapture = nullptr;
        CollectClosed();
        return;
    }
    // A drag ends: the drop goes to the object under the mouse or one of
    // its owners, then the source hears the release.
    bool taken = false;
    for (DesktopObject* o = HitTestAll(x, y); o && s.mouseCapture; o = o->owner) {
        if (o == capture || o->MouseDrop(message, flags, position, capture)) {
            taken = true;
            break;
        }
    }
    if (!taken && s.mouseCapture && currentDragKind(*this)) dropOnBareDesktop(*this, flags, x, y, capture);
    if (s.mouseCapture) s.mouseCapture->MouseDrag(message, flags, s.pressPosition, position);
    dragEnded(*this);
    s.dragging = false;
    s.mouseCapture = nullptr;
    CollectClosed();
}

void Desktop::MouseMove(uint32_t flags, int32_t x, int32_t y) {
    InputState& s = inputState();
    s.buttons = flags;
    s.lastMousePosition = mouse::pack(x, y);
    if (s.dragSource) dragMoved(*this, x, y);
    const uint32_t position = mouse::pack(x, y);
    if (!s.dragging && !activeMenu) {
        DesktopObject* hit = HitTestAll(x, y);
        if (hit != s.hoverTarget) {
            if (DesktopObject* old = s.hoverTarget) {
                s.hoverTarget = nullptr;
                old->HoverChanged(false);
            }
            s.hoverTarget = hit;
            if (hit) hit->HoverChanged(true);
        } else if (hit) {
            hit->HoverMove(position);
        }
    }
    if (!s.dragging) {
        const int32_t px = mouse::xOf(s.pressPosition), py = mouse::yOf(s.pressPosition);
        if (std::abs(x - px) < kDragThreshold && std::abs(y - py) < kDragThreshold) return;
    }
    if (activeMenu) return;
    if (!(flags & (mouse::kLeft | mouse::kMiddle))) return;
    if (!s.dragging) {
        s.dragging = true;
        DesktopObject* taker = nullptr;
        for (DesktopObject* o = HitTestAll(mouse::xOf(s.pressPosition), mouse::yOf(s.pressPosition)); o;
             o = o->owner) {
            if (o->MouseDrag(mouse::kMove, flags, s.pressPosition, position)) {
                taker = o;
                break;
            }
        }
        s.mouseCapture = taker;
        if (!taker) s.dragging = false;
    } else if (s.mouseCapture) {
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

bool Desktop::KeyDown(int modifiers, int key, int scanCode) {
    if (DispatchShortcut(modifiers, key)) {
        CollectClosed();
        return true;
    }
    if (KeyboardTarget* target = KeyboardFocus()) target->KeyEvent(kKeyDownMessage, key, scanCode);
    CollectClosed();
    return false;
}

void Desktop::Char(int code, int scanCode) {
    if (KeyboardTarget* target = KeyboardFocus()) target->KeyEvent(kCharMessage, code, scanCode);
    CollectClosed();
}

MenuModel* Desktop::OpenMenuAt(int32_t x, int32_t y) {
    if (modal) return nullptr;
    InputState& s = inputState();
    activeMenu.reset();
    s.menuOwner = nullptr;
    for (DesktopObject* o = HitTestAll(x, y); o; o = o->owner) {
        if (auto menu = o->BuildMenu()) {
            activeMenu = std::move(menu);
            s.menuOwner = o;
            break;
        }
    }
    // FIXME: the Desktop's own menu (exit, window size, dice) when nothing
    // under the mouse gives one.
    render::GraphicsDevice::Get().Invalidate(nullptr);
    return activeMenu.get();
}

void Desktop::ChooseMenu(int id) {
    InputState& s = inputState();
    DesktopObject* owner = s.menuOwner;
    activeMenu.reset();
    s.menuOwner = nullptr;
    if (owner) owner->MenuSelected(id);
    render::GraphicsDevice::Get().Invalidate(nullptr);
    CollectClosed();
}

void Desktop::BeginDrag(DesktopObject& source, const DragPayload& payload) {
    inputState().dragSource = &source;
    dragPayload = payload;
    dragStarted(*this);
}

}  // namespace lh::ui
