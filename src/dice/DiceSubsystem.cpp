// Starting the dice with the Desktop: the scene, its drawing and pacing,
// the roll messages, the modifier collector and the Desktop's input.
#include "dice/DiceSubsystem.h"

#include <cstdio>

#include "dice/DiceDrawing.h"
#include "dice/DiceScene.h"
#include "dice/DieMeshes.h"
#include "dice/LightState.h"
#include "dice/ModifierCollector.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Clock.h"
#include "platform/Events.h"
#include "platform/Scheduler.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "render/DiceRenderer.h"
#include "render/GraphicsDevice.h"
#include "ui/Desktop.h"
#include "ui/FrameLayers.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"

namespace lh::dice {

namespace {

constexpr int kKeyControl = 0x11;

struct DiceState {
    db::SessionMode mode = db::SessionMode::Host;
    net::Session* session = nullptr;
    ui::Desktop* desktop = nullptr;
    std::unique_ptr<DiceScene> scene;
    std::unique_ptr<ModifierCollector> collector;
    std::unique_ptr<render::DiceRenderer> renderer;
    std::vector<platform::Subscription> subscriptions;
    render::Rect chatFrame;
    bool carrying = false;
    bool ctrlHeld = false;
    LightState light;
    platform::TickSubscription fade;
};

DiceState* state = nullptr;
std::function<void(std::unique_ptr<DieResult>)> resultSink;

render::Rect chatFrameRect() {
    const ui::ChatWindowSettings& c = ui::ruleset().settings.chatWindow;
    return render::Rect{c.position.x, c.position.y, c.position.x + c.position.width, c.position.y + c.position.height};
}

void invalidate(const render::Rect* rect) {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    if (device.IsCreated()) device.Invalidate(rect);
}

std::string hexFloat(float v) {
    char text[32];
    std::snprintf(text, sizeof text, "%a", double(v));
    return text;
}

void sendRoll(const std::vector<uint8_t>& body) {
    platform::trace("dice thrown %zu", body.size() / kThrowRecordSize);
    if (!state->session || body.empty()) return;
    if (state->session->isHost())
        state->session->sendToAll(net::NetMessage(net::tags::DIETR, body));
    else
        state->session->sendToHost(net::NetMessage(net::tags::DIETQ, body));
}

void rollFinished(std::unique_ptr<DieResult> result) {
    platform::trace("dice result %s%s", result->hidden ? "?" : "", encodeDieText(*result).c_str());
    if (resultSink) resultSink(std::move(result));
}

void dieStopped(const DieBody& die, int32_t value) {
    if (!platform::traceOn()) return;
    platform::trace("die stopped %d %d %s %s %s", die.shape, value, hexFloat(die.center.x).c_str(),
                    hexFloat(die.center.y).c_str(), hexFloat(die.center.z).c_str());
}

net::HandlerResult receiveRoll(net::SessionPeer* from, const net::NetMessage& message) {
    if (!state || !state->scene) return net::HandlerResult::Rejected;
    const std::vector<uint8_t>& body = message.body;
    const bool fromPlayer = from && state->session && state->session->isHost();
    std::string error = state->scene->ReceiveRoll(body.data(), body.size(), fromPlayer);
    if (!error.empty()) {
        if (state->session) state->session->reportMalformed(from, message, error);
        return net::HandlerResult::Rejected;
    }
    platform::trace("dice received %zu", body.size() / kThrowRecordSize);
    return net::HandlerResult::Handled;
}

net::HandlerResult receiveLight(net::SessionPeer* from, const net::NetMessage& message) {
    uint32_t colors[4];
    if (!decodeLight(message.body.data(), message.body.size(), colors)) {
        state->session->reportMalformed(from, message, "a light is four colours of 4 bytes");
        return net::HandlerResult::Rejected;
    }
    setDesktopLight(colors[0], colors[1], colors[2], colors[3]);
    return net::HandlerResult::Handled;
}

bool fadeTick() {
    if (!state) return false;
    if (!state->light.fadeStep(platform::nowMs(), ui::lights().desktop)) return false;
    invalidate(nullptr);
    return state->light.fading();
}

void drawDice(render::RenderContext&) {
    if (!state || !state->scene || !state->renderer) return;
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    const render::Viewport& vp = state->scene->camera().viewport;
    if (device.Width() > 0 && (vp.width != device.Width() || vp.height != device.Height()))
        state->scene->SetCamera(device.Width(), device.Height());
    std::vector<render::DieDrawItem> items = drawItemsOf(state->scene->world(), state->scene->isHost());
    state->renderer->Draw(state->scene->camera(), items);
}

void routeInput(const platform::Event& e) {
    using platform::EventType;
    switch (e.type) {
    case EventType::KeyDown:
        if (e.keyCode == kKeyControl) state->ctrlHeld = true;
        break;
    case EventType::KeyUp:
        if (e.keyCode == kKeyControl) state->ctrlHeld = false;
        break;
    case EventType::MouseDown:
        if (e.button == platform::MouseButton::Right)
            diceRightPress();
        else
            diceMousePress(e.x, e.y);
        break;
    case EventType::MouseMove:
        diceMouseMove(e.x, e.y);
        break;
    case EventType::MouseUp:
        if (e.button != platform::MouseButton::Right)
            diceMouseRelease(e.x, e.y, state->ctrlHeld || (e.modifiers & platform::ModCtrl));
        break;
    default:
        break;
    }
}

void start(const ui::SubsystemStart& s) {
    state = new DiceState;
    state->mode = s.mode;
    state->session = s.session;
    state->desktop = &s.desktop;
    state->chatFrame = chatFrameRect();
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    const int32_t width = device.IsCreated() ? device.Width() : s.desktop.clientWidth;
    const int32_t height = device.IsCreated() ? device.Height() : s.desktop.clientHeight;
    DiceScene::Hooks hooks;
    hooks.sendRoll = sendRoll;
    hooks.rollFinished = rollFinished;
    hooks.invalidate = invalidate;
    hooks.dieStopped = dieStopped;
    state->scene = std::make_unique<DiceScene>(s.mode == db::SessionMode::Host, width, height, state->chatFrame,
                                               std::move(hooks));
    float body[4], numerals[4];
    diceColorToFloats(readDiceColor(), body, numerals);
    state->scene->SetColors(body, numerals);

    if (device.IsCreated()) {
        state->renderer = std::make_unique<render::DiceRenderer>();
        DiceArt art = makeDiceArt();
        state->renderer->SetContent(std::move(art.meshes), std::move(art.numerals));
    }
    auto& subs = state->subscriptions;
    subs.push_back(platform::spine().stepDice.subscribe(
        [] { state->scene->Advance(double(platform::nowMs()) * 0.001); }));
    subs.push_back(ui::drawOnFrameStep(ui::FrameStep::DiceScene, drawDice));
    subs.push_back(platform::spine().routeInput.subscribe(routeInput));
    if (s.session) s.session->setPairHandler("DIET", receiveRoll);
    if (s.session && !s.session->isHost()) s.session->setHandler(net::tags::CLRPR, receiveLight);
    if (s.session && s.session->isHost()) {
        state->light.sendToClients = [](const std::vector<uint8_t>& body) {
            state->session->sendToAll(net::NetMessage(net::tags::CLRPR, body));
        };
    }
    state->light.random = nextRandom;
    state->fade.setHandler(fadeTick);

    const ui::ModifierCollectorSettings& mc = ui::ruleset().settings.modifierCollector;
    if (mc.present && s.mode != db::SessionMode::LocalCharacters) {
        state->collector = std::make_unique<ModifierCollector>(mc);
        s.desktop.AddTarget(state->collector.get());
        subs.push_back(ui::drawOnFrameStep(ui::FrameStep::ModifierCollector, [](render::RenderContext& context) {
            if (state && state->collector)
                state->collector->Draw(context, state->desktop && state->desktop->dragPayload.kind == 1);
        }));
    }
}

void stop() {
    if (!state) return;
    if (state->session) {
        // Messages that come after the dice are gone are let fall.
        auto ignore = [](net::SessionPeer*, const net::NetMessage&) { return net::HandlerResult::Rejected; };
        state->session->setPairHandler("DIET", ignore);
        if (!state->session->isHost()) state->session->setHandler(net::tags::CLRPR, ignore);
    }
    if (state->collector && state->desktop) state->desktop->RemoveTarget(state->collector.get());
    delete state;
    state = nullptr;
}

ui::SubsystemRegistration registration{"dice", 60, start, stop};

}  // namespace

DiceScene* diceScene() {
    return state ? state->scene.get() : nullptr;
}

ModifierCollector* modifierCollector() {
    return state ? state->collector.get() : nullptr;
}

void setRollResultSink(std::function<void(std::unique_ptr<DieResult>)> sink) {
    resultSink = std::move(sink);
}

bool carryingDice() {
    return state && state->carrying;
}

bool diceMousePress(int32_t x, int32_t y) {
    if (!state || !state->scene || state->carrying) return state && state->carrying;
    if (state->desktop && state->desktop->IsModal()) return false;
    state->carrying = state->scene->Mouse(x, y, MousePhase::PressOrMove, false) == 1;
    return state->carrying;
}

bool diceMouseMove(int32_t x, int32_t y) {
    if (!carryingDice()) return false;
    state->scene->Mouse(x, y, MousePhase::PressOrMove, false);
    return true;
}

bool diceRightPress() {
    if (!carryingDice()) return false;
    state->scene->AddDie(-1);
    return true;
}

bool diceMouseRelease(int32_t x, int32_t y, bool ctrl) {
    if (!carryingDice()) return false;
    const bool overChat = state->chatFrame.contains(x, y);
    const bool rolls = overChat && state->mode != db::SessionMode::LocalCharacters;
    state->scene->Mouse(x, y, rolls ? MousePhase::ReleaseThrow : MousePhase::Release, ctrl);
    state->carrying = false;
    return true;
}

std::unique_ptr<ui::MenuModel> buildDieMenuAt(int32_t x, int32_t y) {
    if (!state || !state->scene) return nullptr;
    DieBody* die = state->scene->PickAt(x, y);
    if (!die) return nullptr;
    static const struct {
        const char* text;
        const char* icon;
        int n;
    } entries[] = {{"Roll 2", "num2", 2},   {"Roll 3", "num3", 3},   {"Roll 4", "num4", 4},
                   {"Roll 5", "num5", 5},   {"Roll 10", "num10", 10}, {"Roll 15", "num15", 15},
                   {"Roll 20", "num20", 20}};
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    for (int slot = 0; slot < 7; ++slot) menu->set(slot, entries[slot].text, entries[slot].icon, entries[slot].n);
    if (die->shape == kShapeD10) menu->set(7, "Roll d100", "percent", 100);
    menu->anchored = true;
    menu->anchorX = x;
    menu->anchorY = y;
    return menu;
}

void chooseDieMenu(int id, int32_t menuX, int32_t menuY, int32_t mouseX, int32_t mouseY) {
    if (!state || !state->scene || id <= 0) return;
    state->scene->RollCount(id, menuX, menuY, mouseX, mouseY);
    state->carrying = state->scene->dragging();
}

void arrangeDice() {
    if (state && state->scene) state->scene->Arrange(false);
}

void setDesktopLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content) {
    if (!state) return;
    state->light.setLight(system, window, control, content, platform::nowMs());
    state->fade.wake();
}

}  // namespace lh::dice
