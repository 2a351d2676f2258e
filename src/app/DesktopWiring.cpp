// The Desktop's place in the spine, and the translation of the platform's
// input events into the mouse messages and flags the routing is written in.
#include "app/DesktopWiring.h"

#include <memory>

#include "app/AppState.h"
#include "app/Frame.h"
#include "app/SessionSetup.h"
#include "net/Replication.h"
#include "platform/Events.h"
#include "platform/Platform.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "platform/Window.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopObject.h"
#include "ui/DesktopToken.h"
#include "ui/DragImage.h"
#include "ui/FrameLayers.h"
#include "ui/RadialMenu.h"
#include "ui/SessionWindowPort.h"
#include "ui/Subsystems.h"

namespace lh::app {

namespace {

// The buttons held now, as mouse flags, and the modifier keys held as the
// key events told them (a mouse event may come without its modifiers).
uint32_t heldButtons = 0;
uint16_t heldModifiers = 0;

constexpr int kKeyShift = 0x10, kKeyControl = 0x11, kKeyAlt = 0x12;

uint16_t modifierOfKey(int key) {
    return key == kKeyShift ? platform::ModShift : key == kKeyControl ? platform::ModCtrl
                                              : key == kKeyAlt        ? platform::ModAlt
                                                                      : 0;
}

uint32_t buttonFlag(platform::MouseButton b) {
    switch (b) {
    case platform::MouseButton::Left: return ui::mouse::kLeft;
    case platform::MouseButton::Middle: return ui::mouse::kMiddle;
    case platform::MouseButton::Right: return ui::mouse::kRight;
    default: return 0;
    }
}

uint32_t mouseFlags(const platform::Event& e) {
    uint32_t flags = heldButtons;
    const uint16_t modifiers = e.modifiers | heldModifiers;
    if (modifiers & platform::ModShift) flags |= ui::mouse::kShift;
    if (modifiers & platform::ModCtrl) flags |= ui::mouse::kControl;
    return flags;
}

int controlCharacterOfKey(int key) {
    constexpr int kBack = 0x08, kTab = 0x09, kReturn = 0x0D, kEscape = 0x1B;
    return key == kBack || key == kTab || key == kReturn || key == kEscape ? key : 0;
}

// The shortcut mask: 2 control, 1 alt, 4 shift.
int shortcutModifiers(uint16_t modifiers) {
    int mask = 0;
    if (modifiers & platform::ModCtrl) mask |= 2;
    if (modifiers & platform::ModAlt) mask |= 1;
    if (modifiers & platform::ModShift) mask |= 4;
    return mask;
}

// The main window as the Desktop's routing uses it.
class MainWindowShell : public ui::DesktopShell {
public:
    void quit(int exitCode) override { platform::postQuit(exitCode); }
    bool fullScreen() const override { return app().fullScreen; }
    void setFullScreen(bool on) override {
        AppState& a = app();
        a.fullScreen = on;
        if (a.mainWindow) a.mainWindow->setFullScreen(on);
    }
    void setCursor(int id) override {
        if (app().mainWindow) app().mainWindow->setCursor(id);
    }
    void warpMouse(int32_t x, int32_t y) override {
        if (app().mainWindow) app().mainWindow->warpMouse(x, y);
    }
    void captureMouse(bool on) override {
        if (app().mainWindow) app().mainWindow->captureMouse(on);
    }
};

}  // namespace

void startDesktop(db::SessionMode mode, int clientWidth, int clientHeight) {
    ui::Desktop& desk = ui::desktop();
    // On a HiDPI screen the Desktop lays out in drawable pixels.
    if (platform::Window* window = app().mainWindow) window->drawableSize(clientWidth, clientHeight);
    desk.OnMainWindowSized(clientWidth, clientHeight);
    static MainWindowShell shell;
    static platform::Subscription shellHandle = ui::attachDesktopShell(shell);
    if (mode != db::SessionMode::LocalCharacters && hasSession() && db::replication()) {
        static std::unique_ptr<ui::SessionWindowPort> port;
        port = std::make_unique<ui::SessionWindowPort>(session(), *db::replication());
        port->attach(desk);
    }
    static platform::Subscription layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [](render::RenderContext& context) {
        ui::desktop().Draw(context, context.ClipRect());
    });
    static platform::Subscription tokens = ui::drawOnFrameStep(ui::FrameStep::DesktopTokens, ui::drawDesktopTokens);
    static platform::Subscription dragImage = ui::drawOnFrameStep(ui::FrameStep::DragImage, [](render::RenderContext& context) {
        ui::drawDragImage(ui::desktop(), context);
    });
    static platform::Subscription menuLayer = ui::drawOnFrameStep(ui::FrameStep::RadialMenu, [](render::RenderContext& context) {
        ui::desktop().DrawMenu(context);
    });
    static platform::Subscription bareDrops = ui::desktopSignals().desktopDrop.subscribe(
        [](int32_t x, int32_t y, uint32_t flags, ui::DesktopObject& source) {
            return ui::dropOnBareDesktop(ui::desktop(), flags, x, y, &source);
        });
    bool online = mode != db::SessionMode::LocalCharacters && hasSession();
    ui::startSubsystems({mode, desk, online ? &session() : nullptr, online ? db::replication() : nullptr});
    desk.OpenShortcutWindow(mode);
    static platform::Subscription input = platform::spine().routeInput.subscribe(routeDesktopInput);
}

void routeDesktopInput(const platform::Event& e) {
    using platform::EventType;
    ui::Desktop& desk = ui::desktop();
    switch (e.type) {
    case EventType::MouseDown: {
        heldButtons |= buttonFlag(e.button);
        int message = e.button == platform::MouseButton::Left     ? ui::mouse::kLeftDown
                      : e.button == platform::MouseButton::Middle ? ui::mouse::kMiddleDown
                                                                  : ui::mouse::kRightDown;
        desk.MousePress(message, mouseFlags(e), e.x, e.y);
        break;
    }
    case EventType::MouseUp: {
        heldButtons &= ~buttonFlag(e.button);
        int message = e.button == platform::MouseButton::Left     ? ui::mouse::kLeftUp
                      : e.button == platform::MouseButton::Middle ? ui::mouse::kMiddleUp
                                                                  : ui::mouse::kRightUp;
        desk.MouseRelease(message, mouseFlags(e), e.x, e.y);
        break;
    }
    case EventType::MouseMove:
        desk.MouseMove(mouseFlags(e), e.x, e.y);
        break;
    case EventType::MouseWheel:
        desk.MouseWheel(e.wheel, e.x, e.y);
        break;
    case EventType::KeyDown:
        heldModifiers |= modifierOfKey(e.keyCode);
        if (!desk.KeyDown(shortcutModifiers(e.modifiers | heldModifiers), e.keyCode, e.scanCode, e.repeat,
                          e.extended)) {
            // The keys that type a character of their own without giving
            // text: backspace, tab, return and escape.
            if (int c = controlCharacterOfKey(e.keyCode)) desk.Char(c, e.scanCode, e.extended);
        }
        break;
    case EventType::KeyUp:
        heldModifiers &= uint16_t(~modifierOfKey(e.keyCode));
        desk.KeyUp(e.keyCode, e.scanCode, e.extended);
        break;
    case EventType::Char:
        for (const char* c = e.text; *c; ++c) desk.Char(static_cast<unsigned char>(*c), e.scanCode, e.extended);
        break;
    default:
        break;
    }
}

bool chooseDesktopMenu(int32_t x, int32_t y, const std::string& labels) {
    ui::Desktop& desk = ui::desktop();
    const ui::RadialMenu* ring = desk.OpenMenuAt(x, y);
    size_t from = 0;
    while (ring) {
        size_t slash = labels.find('/', from);
        std::string label = labels.substr(from, slash == std::string::npos ? std::string::npos : slash - from);
        int slot = -1;
        for (int i = 0; i < ui::RadialMenu::kSlots && slot < 0; ++i)
            if (ring->icons[size_t(i)] && ring->labels[size_t(i)] == label) slot = i;
        if (slot < 0) break;
        const ui::RadialMenu* below = ring->subMenus[size_t(slot)].get();
        if (below && slash != std::string::npos) {
            ring = below;
            from = slash + 1;
            continue;
        }
        if (below || slash != std::string::npos) break;
        platform::trace("menu %s %d", label.c_str(), ring->ids[size_t(slot)]);
        desk.ChooseMenu(ring->ids[size_t(slot)]);
        return true;
    }
    desk.CloseMenu();
    return false;
}

}  // namespace lh::app
