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
#include "platform/Scheduler.h"
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
class RadialMenu;
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
    // `message` and `flags` are the platform's mouse numbers; x, y are
    // Desktop pixels.
    void MousePress(int message, uint32_t flags, int32_t x, int32_t y);
    void MouseRelease(int message, uint32_t flags, int32_t x, int32_t y);
    void MouseMove(uint32_t flags, int32_t x, int32_t y);
    void MouseWheel(int notches, int32_t x, int32_t y);
    // Keys by virtual-key code and the keyboard's scan code; `extended`
    // tells the keys of the cursor block from those of the numeric pad,
    // which share scan codes. `modifiers`: 2 control, 1 alt, 4 shift.
    // True when a shortcut took the key.
    bool KeyDown(int modifiers, int key, int scanCode, bool repeat = false, bool extended = false);
    void KeyUp(int key, int scanCode, bool extended = false);
    void Char(int code, int scanCode, bool extended = false);
    // Opens the menu for the point: a die's, the first object's under it
    // that builds one (walking by owner; it becomes the mouse capture), or
    // the Desktop's own. Null while modal.
    RadialMenu* OpenMenuAt(int32_t x, int32_t y);
    // A choice of the open menu (as a release on its slot would make it):
    // to the die, the menu's owner or the Desktop; then the menu closes.
    void ChooseMenu(int id);
    void CloseMenu();
    // Starts a drag from `source` with its payload (the drag layer draws it).
    void BeginDrag(DesktopObject& source, const DragPayload& payload);
    // Draws the open menu, if any.
    void DrawMenu(render::RenderContext& context);

    // Window bookmarks: the top window into slot 0..9, and back.
    void StoreBookmark(int slot);
    void RecallBookmark(int slot);

    bool isHost() const;
    int32_t clientWidth = 1024, clientHeight = 768;
    db::DbNode* root;                   // the record tree windows bind into
    WindowNetwork* network = nullptr;   // null: no session
    std::vector<std::unique_ptr<Window>> windows;  // bottom first
    std::vector<DesktopObject*> inputTargets;      // newest first
    std::unique_ptr<RadialMenu> activeMenu;
    DragPayload dragPayload;

private:
    void pressObject(int message, uint32_t flags, int32_t x, int32_t y);
    void startPointer(int32_t x, int32_t y);
    void endPointer(int32_t x, int32_t y);
    void releaseOnMenu(int32_t x, int32_t y);
    void cancelDrag();
    void endDragState();
    void menuKey(int key);
    void rightHeld();
    void dropOrphanedMenu();
    void putOnTop(std::unique_ptr<Window> window);
    void putOnTopKeepingModal(std::unique_ptr<Window> window);
    std::vector<std::unique_ptr<Window>> closedWindows;
    bool modal = false;
    Window* blinking = nullptr;  // left out of the drawing while a bookmark blinks
    platform::Timer menuHold;    // the right button held opens the menu
    platform::Timer blink;       // the end of a bookmark's blink
};

// The process's Desktop.
Desktop& desktop();

}  // namespace lh::ui
