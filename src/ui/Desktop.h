// The Desktop: the stack of open windows (desktop windows at the bottom,
// a modal one on top), the list of what the mouse can hit, and the mouse
// routing between them. Windows closed during an event are destroyed when
// the event is over (CollectClosed), never inside it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/SessionMode.h"
#include "render/Rect.h"
#include "ui/DragPayload.h"

namespace lh::db {
class DbNode;
}
namespace lh::render {
class RenderContext;
}

namespace lh::ui {

class DesktopObject;
class MenuModel;
class Window;
class WindowNetwork;
struct WindowClass;

class Desktop {
public:
    Desktop();
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // Takes the window: a desktop window goes to the bottom, any other to
    // the top, and to the front of the input targets; a modal window stays
    // on top of both.
    Window* Add(std::unique_ptr<Window> window);
    // Takes the window off both lists; it is destroyed at CollectClosed.
    void Remove(Window* window);
    void BringToFront(Window* window);
    // The first window of the pair, bottom up; null when it is not open.
    Window* Find(std::string_view className, std::string_view recordName) const;
    Window* WindowAt(int32_t x, int32_t y) const;
    void Draw(render::RenderContext& context, const render::Rect& clip);
    void OnMainWindowSized(int32_t width, int32_t height);
    void SetModal(bool on) { modal = on; }
    bool IsModal() const { return modal; }
    bool DispatchShortcut(int modifiers, int key);
    DesktopObject* HitTestAll(int32_t x, int32_t y);
    // Destroys the windows closed since the last call.
    void CollectClosed();

    // Makes a window of the class on the record, opens it, puts it on the
    // Desktop and marks the whole client area dirty.
    Window* OpenWindow(const WindowClass& windowClass, std::string_view recordName);
    // The shortcut window of the way in: "dmshortcuts" (host),
    // "playershortcuts" (join) or "localshortcuts"; none when the Ruleset
    // has no such class.
    Window* OpenShortcutWindow(db::SessionMode mode);

    // A user has left the session: no window counts as shared with them.
    void ForgetUser(const std::string& userName);

    // Other things the mouse can reach (the singletons, tokens on the bare
    // Desktop) join at the front; they leave by dying or RemoveTarget.
    void AddTarget(DesktopObject* object);
    void RemoveTarget(DesktopObject* object);

    // --- Mouse and keys, as the platform's handler passes them on ---
    // `message` and `flags` are the platform's mouse numbers.
    void MousePress(int message, uint32_t flags, int32_t x, int32_t y);
    void MouseRelease(int message, uint32_t flags, int32_t x, int32_t y);
    void MouseMove(uint32_t flags, int32_t x, int32_t y);
    void MouseWheel(int notches, int32_t x, int32_t y);
    // Key down: shortcuts first, then the keyboard focus. True when a
    // shortcut took it.
    bool KeyDown(int modifiers, int key, int scanCode);
    void Char(int code, int scanCode);
    // Builds the menu of the object under the point (walking by owner);
    // the first object that gives one owns it.
    MenuModel* OpenMenuAt(int32_t x, int32_t y);
    // A menu choice goes to the menu's owner, then the menu closes.
    void ChooseMenu(int id);
    // Starts a drag from `source` with its payload (the drag layer draws it).
    void BeginDrag(DesktopObject& source, const DragPayload& payload);

    bool isHost() const;
    int32_t clientWidth = 1024, clientHeight = 768;
    db::DbNode* root;                   // the record tree windows bind into
    WindowNetwork* network = nullptr;   // null: no session
    std::vector<std::unique_ptr<Window>> windows;  // bottom first
    std::vector<DesktopObject*> inputTargets;      // newest first
    std::unique_ptr<MenuModel> activeMenu;
    DragPayload dragPayload;

private:
    void putOnTop(std::unique_ptr<Window> window);
    void putOnTopKeepingModal(std::unique_ptr<Window> window);
    std::vector<std::unique_ptr<Window>> closedWindows;
    bool modal = false;
};

// The process's Desktop.
Desktop& desktop();

}  // namespace lh::ui
