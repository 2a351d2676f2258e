// An open window of a WindowClass: its frame, its controls, normally one
// record behind them, and its sub-windows. Known on every machine by the
// pair (class name, record name); when shared, each machine holds its own
// Window of the pair and the window messages keep them together.
//
// A window never deletes itself: Close takes it off the Desktop, which
// destroys it after the event that closed it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "db/NodeObserver.h"
#include "ui/Control.h"
#include "ui/DesktopObject.h"
#include "ui/WindowClass.h"

namespace lh::db {
class DbNode;
}

namespace lh::ui {

class Desktop;
class FrameDef;

// Ids of the window menu's entries.
enum WindowMenuId : int {
    kMenuClose = 1,
    kMenuShare = 2,
    kMenuConfirmDelete = 3,
    kMenuCloseForAll = 4,
    kMenuMinimize = 5,
    kMenuRemovePointer = 1000,
    kMenuDrawArrow = 1001,
    kMenuDrawSquare = 1002,
    kMenuDrawCircle = 1003,
    kMenuDrawCone = 1004,
};

class Window : public DesktopObject, public db::NodeObserver {
public:
    // Construction fixes the first rectangle: anchored for a desktop
    // window, centred at the default size (then at the default position)
    // otherwise, or empty until Layout sizes it from its content.
    Window(Desktop& desktop, const WindowClass& windowClass, std::string_view recordName = {});
    ~Window() override;

    // Binds to the record (made when missing), builds the controls from
    // SHEETDATA and lays the window out. `parentNode` null means the root.
    void Open(db::DbNode* parentNode, bool isList);
    void Close(bool force);
    void Layout(bool first, bool force);
    void Resize(int32_t width, int32_t height);
    // Null: everybody.
    void Share(const std::string* client);
    // `centre` is packed x, y; null: the icon goes at the old top left.
    void ToggleMinimize(const uint32_t* centre);
    void MoveBy(int32_t dx, int32_t dy);
    void Invalidate();
    void MarkChanged();
    // Re-anchors a desktop window to the client area's size.
    void Anchor();

    Control* FindControl(std::string_view controlName) const;
    Control* ControlAt(size_t index) const;
    int DispatchShortcut(int modifiers, int key);
    void AddControl(std::unique_ptr<Control> control);
    // A SUBWINDOW: opened at once on the same record and rectangle.
    void AddSubWindow(const std::string& key, const WindowClass& subClass, bool activate);
    void SetActiveSubWindow(Window* sub);

    void Draw(render::RenderContext& context, const render::Rect& clip);

    DesktopObject* HitTest(int32_t x, int32_t y) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, DesktopObject* source) override;
    void CancelDrag() override;
    void MenuSelected(int id) override;
    std::unique_ptr<MenuModel> BuildMenu() override;
    void BringToFront() override;

    void onChanged(db::ChangeKind change) override;
    void onNodeDeleted() override;

    // The window a control of this one reports to: the outermost parent.
    Window& outermost();
    Desktop& desktop() const { return *home; }
    bool isClosed() const { return closed; }
    // The rectangle of the open window, whether or not it is minimized.
    const render::Rect& openRect() const { return minimized ? restoreRect : rect; }
    // Whether this machine may edit the record (no record: yes).
    bool recordEditable() const;

    const WindowClass& windowClass;
    std::string name;  // record name; empty for a window with no record
    render::Rect restoreRect;
    Window* parentWindow = nullptr;
    std::vector<std::unique_ptr<Control>> controls;
    std::vector<std::pair<std::string, std::unique_ptr<Window>>> subWindows;  // file order
    Window* activeSubWindow = nullptr;
    db::DbNode* record = nullptr;
    bool minimized = false;
    bool shared = false;
    bool changed = false;
    bool isList = false;
    std::set<std::string> sharedWith;
    bool dragging = false, resizing = false;
    int32_t dragX = 0, dragY = 0;

private:
    void layoutPass(bool first, bool force, bool secondPass);
    void centreInClientArea(render::Rect& r) const;
    void stopObserving();
    Window* subWindowAt(int index) const;
    int subWindowIndex(const Window* sub) const;
    render::Rect glowRect() const;

    Desktop* home;
    db::NodeObservation observation;    // of the record; ends itself when either side goes
    db::DbNode* openedUnder = nullptr;  // the parent node Open was given
    FrameDef* frame = nullptr;          // looked up when first drawn
    bool closed = false;
    int scrollStartIndex = -1;  // middle-drag through the sub-windows
    int32_t scrollStartY = 0;
};

}  // namespace lh::ui
