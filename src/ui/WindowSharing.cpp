// Receiving the window messages.
#include "ui/WindowSharing.h"

#include <algorithm>
#include <memory>

#include "db/DbNode.h"
#include "db/Users.h"
#include "render/GraphicsDevice.h"
#include "ui/Desktop.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// Size limits keep a forged size from asking for a window of any size.
void refresh(Window& w, const WindowMessage& m) {
    const WindowClass& c = w.windowClass;
    w.shared = true;
    w.Resize(std::clamp(m.width, std::min(c.minWidth, c.maxWidth), c.maxWidth),
             std::clamp(m.height, std::min(c.minHeight, c.maxHeight), c.maxHeight));
    if (w.minimized) w.ToggleMinimize(nullptr);
}

Window* openShared(Desktop& desktop, const WindowClass& cls, const WindowMessage& m) {
    auto window = std::make_unique<Window>(desktop, cls, m.recordName);
    window->shared = true;
    window->Open(nullptr, false);
    Window* w = desktop.Add(std::move(window));
    refresh(*w, m);
    if (!cls.hasDefaultPosition) {
        render::Rect r = w->rect;
        w->MoveBy((desktop.clientWidth - r.width()) / 2 - r.left, (desktop.clientHeight - r.height()) / 2 - r.top);
    }
    render::GraphicsDevice::Get().Invalidate(nullptr);
    return w;
}

// The record of the pair on the host, if it exists.
db::DbNode* recordOf(Desktop& desktop, const WindowClass& cls, const std::string& recordName) {
    if (recordName.empty()) return nullptr;
    db::DbNode* source = cls.dataSource.empty() ? desktop.root : desktop.root->child(cls.dataSource);
    return source ? source->child(recordName) : nullptr;
}

// A player may share only a PLAYERCONTROL window whose record is theirs.
bool playerMayShare(Desktop& desktop, const std::string& user, const WindowClass& cls,
                    const std::string& recordName) {
    if (!cls.playerControl) return false;
    if (recordName.empty()) return true;
    db::DbNode* record = recordOf(desktop, cls, recordName);
    if (!record) return false;  // nothing of theirs to share
    return !record->isStatic && record->owner && record->owner == db::findKnownUser(user);
}

}  // namespace

void onWindowShared(Desktop& desktop, const WindowMessage& m) {
    if (Window* w = desktop.Find(m.className, m.recordName)) {
        refresh(*w, m);
    } else if (const WindowClass* cls = findWindowClass(m.className)) {
        openShared(desktop, *cls, m);
    }
    desktop.CollectClosed();
}

bool onShareRequest(Desktop& desktop, const std::string& user, const WindowMessage& m) {
    const WindowClass* cls = findWindowClass(m.className);
    if (!cls || !playerMayShare(desktop, user, *cls, m.recordName)) return false;
    if (Window* w = desktop.Find(m.className, m.recordName)) {
        refresh(*w, m);
    } else {
        Window* opened = openShared(desktop, *cls, m);
        opened->Share(nullptr);
    }
    desktop.CollectClosed();
    return true;
}

bool onCreateRequest(Desktop& desktop, const std::string& user, const WindowMessage& m) {
    const WindowClass* cls = findWindowClass(m.className);
    if (!cls || !cls->playerControl) return false;
    db::DbNode* source = desktop.root;
    if (!cls->dataSource.empty()) {
        source = desktop.root->child(cls->dataSource);
        if (!source) source = desktop.root->addChild(cls->dataSource);
    }
    if (!source) return false;
    // The host's window only makes the record; it never shows.
    Window window(desktop, *cls, source->nextRecordId());
    window.Open(nullptr, false);
    if (!window.record) return false;
    window.record->addHolder(user, true);
    window.Share(&user);
    window.shared = false;
    window.Close(false);
    desktop.CollectClosed();
    return true;
}

void onWindowClosed(Desktop& desktop, const WindowMessage& m) {
    if (Window* w = desktop.Find(m.className, m.recordName)) w->Close(false);
    desktop.CollectClosed();
}

void onWindowSized(Desktop& desktop, const WindowMessage& m) {
    if (Window* w = desktop.Find(m.className, m.recordName)) {
        const WindowClass& c = w->windowClass;
        w->Resize(std::clamp(m.width, std::min(c.minWidth, c.maxWidth), c.maxWidth),
                  std::clamp(m.height, std::min(c.minHeight, c.maxHeight), c.maxHeight));
    }
    desktop.CollectClosed();
}

}  // namespace lh::ui
