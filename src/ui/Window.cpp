// A window's life: construction, opening on its record, closing, sharing,
// minimizing, moving, drawing and hit testing. Layout is in WindowLayout.cpp,
// the mouse and the menu in WindowInput.cpp.
#include "ui/Window.h"

#include <algorithm>

#include "db/DbNode.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/FrameDef.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/WindowMessages.h"
#include "ui/WindowNetwork.h"

namespace lh::ui {

Window::Window(Desktop& desktop, const WindowClass& cls, std::string_view recordName)
    : windowClass(cls), name(recordName), home(&desktop) {
    if (cls.desktopWindow && cls.hasDefaultSize && cls.hasDefaultPosition) {
        Anchor();
    } else if (cls.hasDefaultSize) {
        rect = {0, 0, cls.defaultWidth, cls.defaultHeight};
        centreInClientArea(rect);
        if (cls.hasDefaultPosition) rect = {cls.defaultX, cls.defaultY, cls.defaultX + cls.defaultWidth,
                                            cls.defaultY + cls.defaultHeight};
    }
}

Window::~Window() {
    stopObserving();
    // Controls go before the sub-windows they may point into.
    controls.clear();
    activeSubWindow = nullptr;
    subWindows.clear();
}

void Window::Anchor() {
    const WindowClass& c = windowClass;
    if (!c.desktopWindow || !c.hasDefaultSize || !c.hasDefaultPosition) return;
    int32_t left = c.defaultX < 0 ? home->clientWidth + c.defaultX : c.defaultX;
    int32_t top = c.defaultY < 0 ? home->clientHeight + c.defaultY : c.defaultY;
    Invalidate();
    render::Rect& r = minimized ? restoreRect : rect;
    int32_t dx = left - r.left, dy = top - r.top;
    r = {left, top, left + c.defaultWidth, top + c.defaultHeight};
    if (!minimized) {
        for (auto& [key, sub] : subWindows) sub->rect = rect;
        for (auto& control : controls) control->MoveBy(dx, dy);
    }
    Invalidate();
}

void Window::centreInClientArea(render::Rect& r) const {
    int32_t w = r.width(), h = r.height();
    r.left = (home->clientWidth - w) / 2;
    r.top = (home->clientHeight - h) / 2;
    r.right = r.left + w;
    r.bottom = r.top + h;
}

Window& Window::outermost() {
    Window* w = this;
    while (w->parentWindow) w = w->parentWindow;
    return *w;
}

bool Window::recordEditable() const { return !record || record->canEdit(); }

void Window::Open(db::DbNode* parentNode, bool list) {
    openedUnder = parentNode;
    if (!name.empty()) {
        db::DbNode* parent = parentNode ? parentNode : home->root;
        db::DbNode* source = parent;
        if (!windowClass.dataSource.empty()) {
            source = parent->child(windowClass.dataSource);
            if (!source) source = parent->addChild(windowClass.dataSource);
        }
        if (source) {
            record = source->child(name);
            if (!record) record = source->addChild(name);
        }
        if (record) {
            if (list) {
                isList = true;
            } else {
                observation.observe(*record, *this);
            }
        }
    }
    if (windowClass.sheetData) BuildControls(*this, *windowClass.sheetData, record, {});
    Layout(true, false);
    if (!parentWindow && !isList) desktopSignals().windowOpened.emit(*this);
    if (!parentWindow) platform::trace("window opened %s %s", windowClass.name.c_str(), name.c_str());
}

void Window::stopObserving() { observation.reset(); }

void Window::Close(bool force) {
    if (closed) return;
    Invalidate();
    if (home->isHost() && home->network && ((shared && !windowClass.playerControl) || force)) {
        WindowMessage m{windowClass.name, name, 0, 0};
        home->network->sendToAll("WINDQ", encodeWindowMessage(m, WindowMessageForm::names));
    }
    // A page of a sheet closes with its sheet, whatever its class says.
    if (windowClass.softClose && !parentWindow) {
        ToggleMinimize(nullptr);
        return;
    }
    closed = true;
    if (!parentWindow) home->Remove(this);
    for (auto& [key, sub] : subWindows) sub->Close(false);
    stopObserving();
    if (!parentWindow && !isList) desktopSignals().windowClosed.emit(*this);
    if (!parentWindow) platform::trace("window closed %s %s", windowClass.name.c_str(), name.c_str());
}

void Window::Resize(int32_t width, int32_t height) {
    Invalidate();
    render::Rect& r = minimized ? restoreRect : rect;
    r.right = r.left + width;
    r.bottom = r.top + height;
    if (!minimized) {
        for (auto& [key, sub] : subWindows) sub->rect = rect;
    }
    Layout(false, false);
    MarkChanged();
}

void Window::Share(const std::string* client) {
    WindowNetwork* net = home->network;
    if (net) {
        if (record) net->sendRecord(*record, client);
        for (auto& control : controls) control->ShareData();
        const render::Rect& r = openRect();
        WindowMessage m{windowClass.name, name, r.width(), r.height()};
        std::vector<uint8_t> body = encodeWindowMessage(m, WindowMessageForm::namesAndSize);
        if (net->isHost()) {
            if (client) {
                if (net->sendToUser(*client, "WINCR", body)) sharedWith.insert(*client);
            } else {
                for (const std::string& user : net->connectedUsers()) {
                    if (net->sendToUser(user, "WINCR", body)) sharedWith.insert(user);
                }
            }
        } else {
            net->sendToHost("WINBQ", std::move(body));
        }
    }
    shared = true;
    platform::trace("window shared %s %s", windowClass.name.c_str(), name.c_str());
}

void Window::ToggleMinimize(const uint32_t* centre) {
    Invalidate();
    std::swap(rect, restoreRect);
    minimized = !minimized;
    if (minimized) {
        changed = false;
        render::Bitmap* icon = windowClass.minimizedIcon;
        if (!icon || icon->IsEmpty()) {
            rect = {};
        } else if (rect == render::Rect{}) {
            int32_t w = int32_t(icon->GetWidth()), h = int32_t(icon->GetHeight());
            int32_t left = restoreRect.left, top = restoreRect.top;
            if (centre) {
                left = mouse::xOf(*centre) - w / 2;
                top = mouse::yOf(*centre) - h / 2;
            }
            rect = {left, top, left + w, top + h};
        }
    } else if (!windowClass.desktopWindow && !parentWindow) {
        home->BringToFront(this);
    }
    Invalidate();
    platform::trace("window %s %s %s", minimized ? "minimized" : "restored", windowClass.name.c_str(), name.c_str());
}

void Window::MoveBy(int32_t dx, int32_t dy) {
    Invalidate();
    rect = {rect.left + dx, rect.top + dy, rect.right + dx, rect.bottom + dy};
    if (!minimized) {
        for (auto& [key, sub] : subWindows) sub->MoveBy(dx, dy);
        for (auto& control : controls) control->MoveBy(dx, dy);
    }
    Invalidate();
}

render::Rect Window::glowRect() const {
    render::Bitmap* glow = findIcon("minimized_glow");
    render::Bitmap* icon = windowClass.minimizedIcon;
    if (!glow || !icon) return {};
    int32_t cx = rect.left + int32_t(icon->GetWidth()) / 2, cy = rect.top + int32_t(icon->GetHeight()) / 2;
    int32_t w = int32_t(glow->GetWidth()), h = int32_t(glow->GetHeight());
    return {cx - w / 2, cy - h / 2, cx - w / 2 + w, cy - h / 2 + h};
}

void Window::Invalidate() {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    device.Invalidate(&rect);
    if (minimized && changed) {
        render::Rect glow = glowRect();
        device.Invalidate(&glow);
    }
}

void Window::MarkChanged() {
    changed = true;
    Invalidate();
}

Control* Window::FindControl(std::string_view controlName) const {
    for (const auto& c : controls) {
        if (c->name == controlName) return c.get();
    }
    return nullptr;
}

Control* Window::ControlAt(size_t index) const { return index < controls.size() ? controls[index].get() : nullptr; }

int Window::DispatchShortcut(int modifiers, int key) {
    for (size_t i = 0; i < controls.size(); ++i) {
        if (controls[i]->ShortcutKey(modifiers, key)) return 1;
    }
    return 0;
}

void Window::AddControl(std::unique_ptr<Control> control) { controls.push_back(std::move(control)); }

void Window::AddSubWindow(const std::string& key, const WindowClass& subClass, bool activate) {
    auto sub = std::make_unique<Window>(*home, subClass, name);
    sub->parentWindow = this;
    sub->owner = &outermost();
    sub->rect = rect;
    Window* raw = sub.get();
    // A later SUBWINDOW of the same name replaces the earlier one.
    auto it = std::find_if(subWindows.begin(), subWindows.end(), [&](auto& p) { return p.first == key; });
    if (it != subWindows.end()) {
        if (activeSubWindow == it->second.get()) activeSubWindow = nullptr;
        it->second = std::move(sub);
    } else {
        subWindows.emplace_back(key, std::move(sub));
    }
    raw->Open(openedUnder, false);
    if (activate) activeSubWindow = raw;
}

void Window::SetActiveSubWindow(Window* sub) {
    activeSubWindow = sub;
    Invalidate();
    platform::trace("window tab %s %s %s", windowClass.name.c_str(), name.c_str(),
                    sub ? sub->windowClass.name.c_str() : "");
}

Window* Window::subWindowAt(int index) const {
    return index >= 0 && size_t(index) < subWindows.size() ? subWindows[size_t(index)].second.get() : nullptr;
}

int Window::subWindowIndex(const Window* sub) const {
    for (size_t i = 0; i < subWindows.size(); ++i) {
        if (subWindows[i].second.get() == sub) return int(i);
    }
    return -1;
}

void Window::Draw(render::RenderContext& context, const render::Rect& clip) {
    if (minimized) {
        render::Bitmap* icon = windowClass.minimizedIcon;
        if (!icon) return;
        context.DrawBitmap(*icon, rect.left, rect.top, lights().icon, &clip);
        if (changed) {
            if (render::Bitmap* glow = findIcon("minimized_glow")) {
                render::Rect g = glowRect();
                context.DrawBitmap(*glow, g.left, g.top, lights().icon, &clip);
            }
        }
        return;
    }
    if (!windowClass.frameName.empty()) {
        if (!frame) frame = findFrame(windowClass.frameName);
        if (frame) frame->Draw(context, rect, lights().desktop, &clip);
    }
    if (activeSubWindow) activeSubWindow->Draw(context, clip);
    const render::Rect inside = render::intersect(rect, clip);
    if (inside.isEmpty()) return;
    for (auto& control : controls) {
        int32_t x, y;
        control->GetOrigin(x, y);
        // A control wholly outside the clip costs nothing more.
        render::Rect reach{x - control->frameOffset.left, y - control->frameOffset.top,
                           x + control->rect.width() + control->frameOffset.right,
                           y + control->rect.height() + control->frameOffset.bottom};
        if (render::intersect(reach, inside).isEmpty() && !reach.isEmpty()) continue;
        control->Draw(context, inside);
    }
    // FIXME: tokens standing on the window are drawn here once tokens exist.
}

DesktopObject* Window::HitTest(int32_t x, int32_t y) {
    if (closed || !rect.contains(x, y)) return nullptr;
    if (minimized) return this;
    if (!parentWindow) {
        DesktopObject* above = nullptr;
        desktopSignals().windowObjectAt.forEach([&](const auto& h) {
            if (!above) above = h(*this, x, y);
        });
        if (above) return above;
    }
    for (auto it = controls.rbegin(); it != controls.rend(); ++it) {
        if (DesktopObject* hit = (*it)->HitTest(x - rect.left, y - rect.top)) return hit;
    }
    if (activeSubWindow) {
        DesktopObject* hit = activeSubWindow->HitTest(x, y);
        if (hit && hit != activeSubWindow) return hit;
    }
    return this;
}

void Window::onChanged(db::ChangeKind) { MarkChanged(); }

void Window::onNodeDeleted() {
    // The record is going: nothing may point into it from here on, a drag
    // that carries it included.
    if (home->dragPayload.sourceNode == record) home->dragPayload.sourceNode = nullptr;
    stopObserving();
    record = nullptr;
    if (parentWindow) return;  // the outermost window closes for all
    Close(false);
}

}  // namespace lh::ui
