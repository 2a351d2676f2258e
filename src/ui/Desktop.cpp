// The window stack, the input targets, and deferred destruction.
#include "ui/Desktop.h"

#include <algorithm>

#include "db/DbNode.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "db/Campaign.h"
#include "platform/Trace.h"
#include "ui/DesktopHooks.h"
#include "ui/InputState.h"
#include "ui/RadialMenu.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"
#include "ui/WindowNetwork.h"

namespace lh::ui {

namespace {
constexpr uint32_t kBookmarkBlinkMs = 100;
}  // namespace

Desktop::Desktop() : root(&db::rootNode()) {
    inputState().targetLists.push_back(&inputTargets);
    menuHold.setHandler([this] { rightHeld(); });
    blink.setHandler([this] {
        if (blinking) blinking->Invalidate();
        blinking = nullptr;
    });
}

Desktop::~Desktop() {
    auto& lists = inputState().targetLists;
    lists.erase(std::remove(lists.begin(), lists.end(), &inputTargets), lists.end());
    if (activeMenu) inputState().menuOpen = false;
    activeMenu.reset();
    // Top first, as a user closing everything would.
    while (!windows.empty()) {
        std::unique_ptr<Window> w = std::move(windows.back());
        windows.pop_back();
        w.reset();
    }
    closedWindows.clear();
}

Desktop& desktop() {
    static Desktop d;
    return d;
}

bool Desktop::isHost() const { return !network || network->isHost(); }

void Desktop::putOnTop(std::unique_ptr<Window> window) {
    Window* raw = window.get();
    if (raw->windowClass.desktopWindow) {
        // Desktop windows lie under all others, in the order they came.
        auto firstOther = std::find_if(windows.begin(), windows.end(),
                                       [](auto& w) { return !w->windowClass.desktopWindow; });
        windows.insert(firstOther, std::move(window));
    } else {
        windows.push_back(std::move(window));
    }
    inputTargets.insert(inputTargets.begin(), raw);
}

void Desktop::putOnTopKeepingModal(std::unique_ptr<Window> window) {
    // A modal window stays on top of both lists: it steps aside and comes back.
    std::unique_ptr<Window> modalWindow;
    if (modal && !windows.empty()) {
        modalWindow = std::move(windows.back());
        windows.pop_back();
        RemoveTarget(modalWindow.get());
    }
    putOnTop(std::move(window));
    if (modalWindow) putOnTop(std::move(modalWindow));
}

Window* Desktop::Add(std::unique_ptr<Window> window) {
    if (!window) return nullptr;
    Window* raw = window.get();
    putOnTopKeepingModal(std::move(window));
    raw->Invalidate();
    return raw;
}

void Desktop::Remove(Window* window) {
    auto it = std::find_if(windows.begin(), windows.end(), [&](auto& w) { return w.get() == window; });
    if (it == windows.end()) return;
    window->Invalidate();
    RemoveTarget(window);
    if (blinking == window) blinking = nullptr;
    closedWindows.push_back(std::move(*it));
    windows.erase(it);
}

void Desktop::BringToFront(Window* window) {
    if (!window || window->windowClass.desktopWindow) return;
    auto it = std::find_if(windows.begin(), windows.end(), [&](auto& w) { return w.get() == window; });
    if (it == windows.end()) return;
    if (!(modal && it + 1 == windows.end())) {
        std::unique_ptr<Window> w = std::move(*it);
        windows.erase(it);
        RemoveTarget(window);
        putOnTopKeepingModal(std::move(w));
    }
    window->Invalidate();
}

Window* Desktop::Find(std::string_view className, std::string_view recordName) const {
    for (auto& w : windows) {
        if (w->windowClass.name == className && w->name == recordName) return w.get();
    }
    return nullptr;
}

Window* Desktop::WindowAt(int32_t x, int32_t y) const {
    for (auto it = windows.rbegin(); it != windows.rend(); ++it) {
        if ((*it)->rect.contains(x, y)) return it->get();
    }
    return nullptr;
}

void Desktop::Draw(render::RenderContext& context, const render::Rect& clip) {
    for (size_t i = 0; i < windows.size(); ++i) {
        Window& w = *windows[i];
        if (modal && i + 1 == windows.size()) {
            context.DrawRect(0, 0, clientWidth, clientHeight, 0x7F000000, true);
        }
        // A minimized icon's glow may reach past the icon.
        render::Rect reach = w.rect;
        if (w.minimized) reach = {w.rect.left - 64, w.rect.top - 64, w.rect.right + 64, w.rect.bottom + 64};
        if (render::intersect(reach, clip).isEmpty() || &w == blinking) continue;
        w.Draw(context, clip);
        if (!w.minimized) {
            if (PointerInput* pointers = pointerInput()) pointers->DrawPointersOn(w, context);
        }
    }
}

void Desktop::OnMainWindowSized(int32_t width, int32_t height) {
    clientWidth = width;
    clientHeight = height;
    for (auto& w : windows) {
        if (w->windowClass.desktopWindow) w->Anchor();
    }
    desktopSignals().clientSized.emit(width, height);
    render::GraphicsDevice::Get().Invalidate(nullptr);
    platform::trace("desktop sized %d %d", int(width), int(height));
}

bool Desktop::DispatchShortcut(int modifiers, int key) {
    for (size_t i = 0; i < windows.size(); ++i) {
        if (windows[i]->windowClass.desktopWindow && windows[i]->DispatchShortcut(modifiers, key)) return true;
    }
    return false;
}

DesktopObject* Desktop::HitTestAll(int32_t x, int32_t y) {
    if (modal) {
        return inputTargets.empty() ? nullptr : inputTargets.front()->HitTest(x, y);
    }
    // A copy: a hit test must not change the list, but a careless one could.
    for (DesktopObject* target : std::vector<DesktopObject*>(inputTargets)) {
        if (DesktopObject* hit = target->HitTest(x, y)) return hit;
    }
    return nullptr;
}

void Desktop::CollectClosed() {
    while (!closedWindows.empty()) {
        // Destroying one may close another (a sub-window's record): take
        // them one by one.
        std::unique_ptr<Window> w = std::move(closedWindows.back());
        closedWindows.pop_back();
        w.reset();
    }
}

Window* Desktop::OpenWindow(const WindowClass& windowClass, std::string_view recordName) {
    auto window = std::make_unique<Window>(*this, windowClass, recordName);
    window->Open(nullptr, false);
    Window* raw = Add(std::move(window));
    render::GraphicsDevice::Get().Invalidate(nullptr);
    return raw;
}

Window* Desktop::OpenShortcutWindow(db::SessionMode mode) {
    const char* className = mode == db::SessionMode::Host   ? "dmshortcuts"
                            : mode == db::SessionMode::Join ? "playershortcuts"
                                                            : "localshortcuts";
    const WindowClass* cls = findWindowClass(className);
    if (!cls) return nullptr;
    return OpenWindow(*cls, "");
}

void Desktop::ForgetUser(const std::string& userName) {
    for (auto& w : windows) w->sharedWith.erase(userName);
}

void Desktop::StoreBookmark(int slot) {
    if (slot < 0 || slot >= int(db::campaign().bookmarks.size()) || windows.empty()) return;
    Window* top = windows.back().get();
    auto& mark = db::campaign().bookmarks[size_t(slot)];
    mark.className.set(top->windowClass.name);
    mark.recordName.set(top->name);
    // The window blinks to confirm: it is left out of the drawing briefly.
    blinking = top;
    top->Invalidate();
    blink.start(kBookmarkBlinkMs);
    inputState().bookmarkStored = true;
    platform::trace("bookmark stored %d %s %s", slot, top->windowClass.name.c_str(), top->name.c_str());
}

void Desktop::RecallBookmark(int slot) {
    if (slot < 0 || slot >= int(db::campaign().bookmarks.size())) return;
    const auto& mark = db::campaign().bookmarks[size_t(slot)];
    Window* w = Find(mark.className.view(), mark.recordName.view());
    if (!w) return;
    if (w->minimized) w->ToggleMinimize(nullptr);
    BringToFront(w);
    platform::trace("bookmark recalled %d %s %s", slot, w->windowClass.name.c_str(), w->name.c_str());
}

void Desktop::AddTarget(DesktopObject* object) {
    RemoveTarget(object);
    inputTargets.insert(inputTargets.begin(), object);
}

void Desktop::RemoveTarget(DesktopObject* object) {
    inputTargets.erase(std::remove(inputTargets.begin(), inputTargets.end(), object), inputTargets.end());
}

}  // namespace lh::ui
