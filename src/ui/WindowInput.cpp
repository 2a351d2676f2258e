// The mouse on a window's own surface (where no control took it), and the
// window menu with its actions.
#include <algorithm>

#include "db/DbNode.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"
#include "ui/WindowMessages.h"
#include "ui/WindowNetwork.h"

namespace lh::ui {

int Window::MouseButton(int message, uint32_t, uint32_t position) {
    if (parentWindow) return kPass;
    if (message == mouse::kMiddleDown) {
        scrollStartIndex = subWindowIndex(activeSubWindow);
        scrollStartY = mouse::yOf(position);
    }
    if (isList) return kTakeCapture;
    if (!windowClass.desktopWindow) {
        home->BringToFront(this);
        if (message == mouse::kLeftUp && minimized) ToggleMinimize(nullptr);
    }
    focusFallback();
    return kTakeCapture;
}

int Window::MouseDrag(int message, uint32_t flags, uint32_t, uint32_t position) {
    const int32_t x = mouse::xOf(position), y = mouse::yOf(position);
    if ((flags & mouse::kMiddle) && !subWindows.empty() && scrollStartIndex >= 0) {
        // Every 20 pixels of a middle drag turns one page of the sheet.
        if (Window* sub = subWindowAt(scrollStartIndex + (y - scrollStartY) / 20)) {
            if (sub != activeSubWindow) SetActiveSubWindow(sub);
        }
        return 1;
    }
    if (message == mouse::kMove) {
        if (windowClass.desktopWindow || home->IsModal() || parentWindow) return 0;
        if (!dragging) {
            dragging = true;
            dragX = x;
            dragY = y;
            resizing = (flags & mouse::kControl) && windowClass.dynamic && (!windowClass.hostSized || home->isHost());
            return 1;
        }
        const int32_t dx = x - dragX, dy = y - dragY;
        if (!resizing) {
            MoveBy(dx, dy);
            dragX = x;
            dragY = y;
            return 1;
        }
        const WindowClass& c = windowClass;
        render::Rect& r = minimized ? restoreRect : rect;
        Invalidate();
        if (c.resizeAxis != 1) {
            int32_t wanted = r.width() + dx;
            int32_t width = std::clamp(wanted, std::min(c.minWidth, c.maxWidth), c.maxWidth);
            r.right = r.left + width;
            // At a limit the noted position stays, so the edge waits for the mouse.
            if (width == wanted) dragX = x;
        }
        if (c.resizeAxis != 2) {
            int32_t wanted = r.height() + dy;
            int32_t height = std::clamp(wanted, std::min(c.minHeight, c.maxHeight), c.maxHeight);
            r.bottom = r.top + height;
            if (height == wanted) dragY = y;
        }
        for (auto& [key, sub] : subWindows) sub->rect = rect;
        Layout(false, false);
        return 1;
    }
    if (mouse::isRelease(message)) {
        if (resizing) {
            Layout(false, true);
            if (windowClass.hostSized && home->isHost() && shared && home->network) {
                const render::Rect& r = openRect();
                WindowMessage m{windowClass.name, name, r.width(), r.height()};
                home->network->sendToAll("WINSQ", encodeWindowMessage(m, WindowMessageForm::namesAndSize));
            }
        }
        dragging = false;
        resizing = false;
        scrollStartIndex = -1;
        return 1;
    }
    return 0;
}

void Window::CancelDrag() {
    dragging = false;
    resizing = false;
    scrollStartIndex = -1;
}

int Window::MouseDrop(int message, uint32_t flags, uint32_t position, DesktopObject* source) {
    if (isList && parentWindow) return parentWindow->MouseDrop(message, flags, position, source);
    if (activeSubWindow && activeSubWindow->rect.contains(mouse::xOf(position), mouse::yOf(position))) {
        if (int taken = activeSubWindow->MouseDrop(message, flags, position, source)) return taken;
    }
    // Tokens are placed by their own subsystem; everything else is ignored.
    if (source && !parentWindow) {
        int taken = 0;
        desktopSignals().windowDrop.forEach([&](const auto& h) {
            if (!taken) taken = h(*this, position, *source);
        });
    }
    return 1;
}

void Window::BringToFront() {
    if (!parentWindow && !windowClass.desktopWindow) home->BringToFront(this);
}

std::unique_ptr<MenuModel> Window::BuildMenu() {
    if (windowClass.desktopWindow) return nullptr;
    Window& top = outermost();
    top.BringToFront();
    const WindowClass& c = top.windowClass;
    const bool host = home->isHost();
    auto menu = std::make_unique<MenuModel>("menuhub");
    if (host && top.shared && !c.playerControl) {
        menu->set(0, "Close For All", "closeremote", kMenuCloseForAll);
    } else if (!top.shared || c.playerControl) {
        menu->set(0, "Close Window", "close", kMenuClose);
    }
    if (c.canMinimize && c.minimizedIcon) {
        menu->set(1, top.minimized ? "Restore" : "Minimize", top.minimized ? "restore" : "minimize", kMenuMinimize);
    }
    const bool recordIsStatic = top.record && top.record->isStatic;
    const bool mayDelete = (host && !top.name.empty() && top.record) ||
                           (c.playerControl && top.record && top.record->canEdit());
    if (mayDelete && !recordIsStatic && !c.noDelete) {
        auto confirm = std::make_unique<MenuModel>("menuhub");
        confirm->backSlot = 6;
        confirm->set(0, "Confirm Delete", "delete", kMenuConfirmDelete);
        menu->setSubMenu(2, "Delete Record", "delete", std::move(confirm));
    }
    if (c.sharable && (host || (c.playerControl && top.recordEditable()))) {
        menu->set(6, "Share Sheet", "broadcast", kMenuShare);
    }
    if (c.usePointers) {
        auto pointers = std::make_unique<MenuModel>("menuhub");
        pointers->backSlot = 3;
        pointers->set(0, "Draw Arrow", "pointer", kMenuDrawArrow);
        PointerInput* users = pointerInput();
        if (users && users->HasPointer()) pointers->set(1, "Remove Pointer", "crossed", kMenuRemovePointer);
        pointers->set(5, "Draw Cone", "pointer_cone", kMenuDrawCone);
        pointers->set(6, "Draw Circle", "pointer_circle", kMenuDrawCircle);
        pointers->set(7, "Draw Square", "pointer_square", kMenuDrawSquare);
        menu->setSubMenu(7, "Pointers", "pointer", std::move(pointers));
    }
    if (top.minimized && c.minimizedIcon) {
        menu->anchored = true;
        menu->anchorX = (top.rect.left + top.rect.right) / 2;
        menu->anchorY = (top.rect.top + top.rect.bottom) / 2;
    }
    return menu;
}

void Window::MenuSelected(int id) {
    if (windowClass.desktopWindow) return;
    if (parentWindow) return outermost().MenuSelected(id);
    const bool host = home->isHost();
    switch (id) {
    case kMenuClose:
        if (shared && !windowClass.playerControl) return;
        Close(false);
        return;
    case kMenuShare:
        Share(nullptr);
        return;
    case kMenuConfirmDelete:
        if (!record) return;
        if (!host && !(windowClass.playerControl && record->canEdit())) return;
        // The window dies with its record, after this event.
        if (home->network) {
            home->network->requestDelete(*record);
        } else {
            delete record;
        }
        return;
    case kMenuCloseForAll:
        if (host) Close(true);
        return;
    case kMenuMinimize: {
        uint32_t at = inputState().lastMousePosition;
        ToggleMinimize(&at);
        return;
    }
    case kMenuRemovePointer:
        if (PointerInput* users = pointerInput()) users->SetPointer(nullptr, 0, 0, 0, true);
        return;
    case kMenuDrawArrow:
    case kMenuDrawSquare:
    case kMenuDrawCircle:
    case kMenuDrawCone: {
        static constexpr int kKinds[] = {1, 4, 2, 3};
        inputState().pointerArmed = true;
        inputState().pointerKind = kKinds[id - kMenuDrawArrow];
        return;
    }
    default:
        return;
    }
}

}  // namespace lh::ui
