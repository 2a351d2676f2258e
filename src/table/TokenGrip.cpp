// A token under the mouse; see TokenGrip.h.
#include "table/TokenGrip.h"

#include "table/TokenDesk.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DragPayload.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/Window.h"

namespace lh::table {

namespace mouse = ui::mouse;

Token* TokenGrip::token() { return desk.board().find(key, id); }

int TokenGrip::MouseButton(int message, uint32_t flags, uint32_t) {
    if (!token()) return ui::kPass;
    if (message == mouse::kMiddleDown || (message == mouse::kLeftDown && (flags & mouse::kControl))) {
        return desk.AcceptProposal(key, id) == 2 ? ui::kTakeNoCapture : ui::kTakeCapture;
    }
    return ui::kTakeCapture;
}

int TokenGrip::MouseWheel(int notches, uint32_t) {
    Token* t = token();
    if (!t) return ui::kPass;
    desk.board().RotateToken(key, id, t->rotation - notches);
    return 1;
}

int TokenGrip::MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) {
    Token* t = token();
    ui::Window* w = desk.windowOf(key);
    if (!t || !w) return ui::kPass;
    const bool free = !t->locked || desk.isHost();
    if (message == mouse::kMove && !t->dragging && (flags & mouse::kLeft) && !(flags & mouse::kControl)) {
        t->dragging = true;
        if (free) {
            t->pendingX = t->pendingY = 0;
            t->lastMouse = startPosition;
            if (t->anchorIndex != 0) {
                render::Rect r = desk.desktopRect(key, *t);
                int32_t wx = 0, wy = 0;
                w->GetOrigin(wx, wy);
                t->rect = render::Rect{r.left - wx, r.top - wy, r.right - wx, r.bottom - wy};
                t->anchorIndex = 0;
            }
        }
    }
    if (!t->dragging) return ui::kPass;
    if (free) {
        const int32_t dx = mouse::xOf(position) - mouse::xOf(t->lastMouse);
        const int32_t dy = mouse::yOf(position) - mouse::yOf(t->lastMouse);
        t->rect = render::Rect{t->rect.left + dx, t->rect.top + dy, t->rect.right + dx, t->rect.bottom + dy};
        t->lastMouse = position;
    } else if (w->rect.contains(mouse::xOf(position), mouse::yOf(position))) {
        t->pendingX = mouse::xOf(position) - mouse::xOf(startPosition);
        t->pendingY = mouse::yOf(position) - mouse::yOf(startPosition);
    } else {
        t->pendingX = t->pendingY = 0;
    }
    w->Invalidate();
    if (message != mouse::kLeftUp) return 1;

    t->dragging = false;
    if (!free) {
        desk.board().MoveToken(key, t->pendingX, t->pendingY, id, true, -1);
        desk.traceToken("moved", key, id);
        return 1;
    }
    t->shownX = t->rect.left;
    t->shownY = t->rect.top;
    int32_t wx = 0, wy = 0;
    w->GetOrigin(wx, wy);
    const render::Rect& r = t->rect;
    if (w->rect.contains(r.left + wx, r.top + wy) && w->rect.contains(r.right - 1 + wx, r.bottom - 1 + wy)) {
        desk.board().MoveToken(key, r.left + wx - w->rect.left, r.top + wy - w->rect.top, id, false, -1);
        desk.traceToken("moved", key, id);
        return 1;
    }
    // Off the window: gone for everybody, left on this machine's Desktop.
    // The drop went first, where the mouse is: on the bare Desktop or on
    // another window it made the Desktop token.
    desk.board().DeleteToken(key, id);
    desk.traceToken("dragged off", key, id);
    ui::inputState().mouseCapture = nullptr;
    return 1;
}

int TokenGrip::GetDragData(ui::DragPayload& payload) {
    Token* t = token();
    if (!t || !t->def) return 0;
    payload.kind = ui::kDragToken;
    payload.icon = t->def->bitmap.get();
    payload.description = t->def->name;
    payload.tokenPath = t->def->name;
    return 1;
}

std::unique_ptr<ui::MenuModel> TokenGrip::BuildMenu() {
    Token* t = token();
    ui::Window* w = desk.windowOf(key);
    if (!t || !w) return nullptr;
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    menu->set(0, "Delete Token", "deletetoken", kMenuDeleteToken);
    menu->set(2, "Rotate Right", "rotatecw", kMenuRotateRight);
    menu->set(6, "Rotate Left", "rotateccw", kMenuRotateLeft);
    if (desk.isHost()) {
        menu->set(1, "Delete All Tokens", "deletealltokens", kMenuDeleteAllTokens);
        if (w->windowClass.sharable) {
            if (desk.board().windowLocked(key)) {
                menu->set(4, "Unlock Tokens", "unlocktoken", kMenuUnlockTokens);
            } else {
                menu->set(4, "Lock Tokens", "locktoken", kMenuLockTokens);
            }
        }
        if (t->locked) menu->set(3, "Accept Move", "pointer", kMenuAcceptMove);
    }
    return menu;
}

void TokenGrip::MenuSelected(int choice) {
    Token* t = token();
    if (!t) return;
    TokenBoard& b = desk.board();
    switch (choice) {
        case kMenuDeleteToken:
            b.DeleteToken(key, id);
            break;
        case kMenuDeleteAllTokens:
            b.DeleteAllTokens(key);
            break;
        case kMenuUnlockTokens:
            b.LockTokens(key, false);
            break;
        case kMenuLockTokens:
            b.LockTokens(key, true);
            break;
        case kMenuRotateRight:
            b.RotateToken(key, id, t->rotation + 1);
            break;
        case kMenuRotateLeft:
            b.RotateToken(key, id, t->rotation - 1);
            break;
        case kMenuAcceptMove:
            desk.AcceptProposal(key, id);
            break;
        default:
            return;
    }
    desk.traceToken("chosen", key, id);
}

}  // namespace lh::table
