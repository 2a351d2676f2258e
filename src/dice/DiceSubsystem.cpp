// Starting the dice with the Desktop: the scene, its drawing and pacing,
// the roll messages, the modifier collector and the Desktop's input.
#include "dice/DiceSubsystem.h"

#include <cstdio>
#include <string_view>

#include "dice/ChatCommands.h"
#include "dice/ChatDieResult.h"
#include "dice/DiceDrawing.h"
#include "dice/DiceScene.h"
#include "dice/DieMeshes.h"
#include "dice/LightState.h"
#include "dice/ThrowRecord.h"
#include "dice/ModifierCollector.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Clock.h"
#include "platform/Events.h"
#include "platform/Scheduler.h"
#include "platform/ScriptVerbs.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "render/DiceRenderer.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/ChatPort.h"
#include "ui/ColorPort.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopObject.h"
#include "ui/DragPayload.h"
#include "ui/FrameLayers.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"

namespace lh::dice {

namespace {

constexpr int kKeyControl = 0x11;

// The dice as the Desktop's mouse routing sees them.
class DiceHookup : public ui::DiceInput {
public:
    int Mouse(int32_t x, int32_t y, int phase) override;
    void AddDie(int shape) override;
    bool DieAt(int32_t x, int32_t y) override;
    std::unique_ptr<ui::MenuModel> BuildDieMenu(int32_t x, int32_t y) override;
    bool DieMenuChosen(int id, int32_t x, int32_t y) override;
    void DieMenuClosed() override { menuOpen = false; }
    void DropOnDie(int32_t x, int32_t y, ui::DesktopObject& source) override;

    bool menuOpen = false;
    int32_t menuX = 0, menuY = 0;
};

struct DiceState {
    db::SessionMode mode = db::SessionMode::Host;
    net::Session* session = nullptr;
    ui::Desktop* desktop = nullptr;
    std::unique_ptr<DiceScene> scene;
    std::unique_ptr<ModifierCollector> collector;
    std::unique_ptr<render::DiceRenderer> renderer;
    std::vector<platform::Subscription> subscriptions;
    render::Rect chatFrame;
    bool ctrlHeld = false;
    LightState light;
    platform::TickSubscription fade;
    DiceHookup hookup;
    std::unique_ptr<CommandActions> commands;
};

DiceState* state = nullptr;

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

// A roll of this user's is read: it goes into the chat with the modifier
// box's total and description.
void rollFinished(std::unique_ptr<DieResult> result) {
    platform::trace("dice result %s%s", result->hidden ? "?" : "", encodeDieText(*result).c_str());
    if (ui::ChatPort* chat = ui::chatPort())
        chat->attachDieResult(toChatResult(*result, state->mode == db::SessionMode::Host), nullptr);
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

void drawDice(render::RenderContext& context) {
    if (!state || !state->scene || !state->renderer) return;
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    const render::Viewport& vp = state->scene->camera().viewport;
    if (device.Width() > 0 && (vp.width != device.Width() || vp.height != device.Height()))
        state->scene->SetCamera(device.Width(), device.Height());
    std::vector<render::DieDrawItem> items = drawItemsOf(state->scene->world(), state->scene->isHost());
    // Dice and shadows wholly outside the frame's clip would be cut away
    // pixel by pixel: a frame for a chat line beside resting dice draws none.
    const render::Rect clip = context.ClipRect();
    std::erase_if(items, [&](const render::DieDrawItem& item) {
        const render::Rect box =
            render::DiceRenderer::ScreenBox(state->scene->camera(), item.world, meshRadius(item.mesh));
        return render::intersect(box, clip).isEmpty();
    });
    state->renderer->Draw(state->scene->camera(), items);
}

// Ctrl held at a release spins a single die: the routing does not pass the
// keys with the mouse, so they are followed here.
void followKeys(const platform::Event& e) {
    if (e.type == platform::EventType::KeyDown && e.keyCode == kKeyControl) state->ctrlHeld = true;
    if (e.type == platform::EventType::KeyUp && e.keyCode == kKeyControl) state->ctrlHeld = false;
}

// The chat's hooks that lead to the dice: results drawn with their dice,
// the slash commands, and the modifier box that a roll empties.
void joinChat(const ui::SubsystemStart& s) {
    const bool host = s.mode == db::SessionMode::Host;
    ui::setDieResultFactory([host]() -> std::unique_ptr<ui::DieResult> { return std::make_unique<ChatDieResult>(host); });
    state->commands = makeChatCommandActions(s.session, s.desktop);
    ui::setSlashCommandHandler([](const std::string& line, uint16_t) {
        if (!state || !state->commands) return false;
        runSlashCommand(line, *state->commands);
        return true;
    });
    ui::setModifierTaker([](int32_t& total, std::string& description) {
        if (!state || !state->collector) return;
        total = state->collector->Get(description);
        state->collector->Clear();
    });
    if (s.session) receiveWhispers(*s.session);
}

void leaveChat() {
    ui::setDieResultFactory(nullptr);
    ui::setSlashCommandHandler(nullptr);
    ui::setModifierTaker(nullptr);
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
    ui::ColorPort& colors = ui::colorPort();
    colors.whiteNumerals = [] { return state && (state->scene->colorFlags & kWhiteNumerals) != 0; };
    colors.setDiceColor = [](uint32_t bgr, bool white) {
        const uint32_t value = (bgr & 0xFFFFFFu) | (white ? 0xFF000000u : 0u);
        writeDiceColor(value);
        float body[4], numerals[4];
        diceColorToFloats(value, body, numerals);
        if (state) state->scene->SetColors(body, numerals);
    };

    if (device.IsCreated()) {
        state->renderer = std::make_unique<render::DiceRenderer>();
        DiceArt art = makeDiceArt();
        state->renderer->SetContent(std::move(art.meshes), std::move(art.numerals));
    }
    auto& subs = state->subscriptions;
    subs.push_back(platform::spine().stepDice.subscribe(
        [] { state->scene->Advance(double(platform::nowMs()) * 0.001); }));
    subs.push_back(ui::drawOnFrameStep(ui::FrameStep::DiceScene, drawDice));
    subs.push_back(platform::spine().routeInput.subscribe(followKeys));
    subs.push_back(ui::attachDiceInput(state->hookup));
    subs.push_back(ui::addDesktopMenuEntry(6, "Arrange Dice", "arrangedice", arrangeDice));
    // The chat says where its frame is; until it does, the Ruleset's frame.
    subs.push_back(ui::desktopSignals().chatFrameContains.subscribe(
        [](int32_t x, int32_t y) { return state && state->chatFrame.contains(x, y); }));
    if (s.session) s.session->setPairHandler("DIET", receiveRoll);
    if (s.session && !s.session->isHost()) s.session->setHandler(net::tags::CLRPR, receiveLight);
    if (s.session && s.session->isHost()) {
        state->light.sendToClients = [](const std::vector<uint8_t>& body) {
            state->session->sendToAll(net::NetMessage(net::tags::CLRPR, body));
        };
    }
    state->light.random = nextRandom;
    state->fade.setHandler(fadeTick);
    joinChat(s);

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
    ui::colorPort().whiteNumerals = nullptr;
    ui::colorPort().setDiceColor = nullptr;
    leaveChat();
    if (state->session) {
        // Messages that come after the dice are gone are let fall.
        auto ignore = [](net::SessionPeer*, const net::NetMessage&) { return net::HandlerResult::Rejected; };
        state->session->setPairHandler("DIET", ignore);
        state->session->setHandler(net::tags::MESGQ, ignore);
        if (!state->session->isHost()) state->session->setHandler(net::tags::CLRPR, ignore);
    }
    if (state->collector && state->desktop) state->desktop->RemoveTarget(state->collector.get());
    delete state;
    state = nullptr;
}

ui::SubsystemRegistration registration{"dice", 60, start, stop};

// The test driver's "throw RECORDS": a roll of this user's from throw
// records in hexadecimal (216 digits each), so that a test can throw the
// same roll on any machine and replay it anywhere else.
bool recordsFromHex(std::string_view hex, std::vector<uint8_t>& bytes) {
    auto digit = [](char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    };
    if (hex.size() % 2 != 0) return false;
    bytes.clear();
    for (size_t i = 0; i < hex.size(); i += 2) {
        const int high = digit(hex[i]), low = digit(hex[i + 1]);
        if (high < 0 || low < 0) return false;
        bytes.push_back(uint8_t(high << 4 | low));
    }
    return true;
}

std::string checkThrowStep(std::string_view arguments) {
    std::vector<uint8_t> bytes;
    if (!recordsFromHex(arguments, bytes) || bytes.empty() || bytes.size() % kThrowRecordSize != 0)
        return "throw needs whole throw records in hexadecimal";
    DecodedThrows decoded = decodeThrowRecords(bytes.data(), bytes.size());
    if (!decoded.error.empty()) return "throw: " + decoded.error;
    if (decoded.starts.size() != bytes.size() / kThrowRecordSize) return "throw: a record lacks its marker";
    if (decoded.starts.size() > size_t(kMaxHeldDice)) return "throw: a hand holds at most 30 dice";
    return {};
}

std::string runThrowStep(std::string_view arguments) {
    std::vector<uint8_t> bytes;
    if (!recordsFromHex(arguments, bytes)) return "not hexadecimal";
    if (!state || !state->scene) return "the dice are not on the table";
    return state->scene->ThrowRecorded(bytes.data(), bytes.size());
}

platform::ScriptVerbRegistration throwStep{"throw", {checkThrowStep, runThrowStep}};

}  // namespace

DiceScene* diceScene() {
    return state ? state->scene.get() : nullptr;
}

ModifierCollector* modifierCollector() {
    return state ? state->collector.get() : nullptr;
}

int DiceHookup::Mouse(int32_t x, int32_t y, int phase) {
    if (!state || !state->scene) return 0;
    const MousePhase p = phase == 2 ? MousePhase::ReleaseThrow : phase == 1 ? MousePhase::Release : MousePhase::PressOrMove;
    return state->scene->Mouse(x, y, p, state->ctrlHeld);
}

void DiceHookup::AddDie(int shape) {
    if (state && state->scene) state->scene->AddDie(shape);
}

bool DiceHookup::DieAt(int32_t x, int32_t y) {
    return state && state->scene && state->scene->PickAt(x, y) != nullptr;
}

std::unique_ptr<ui::MenuModel> DiceHookup::BuildDieMenu(int32_t x, int32_t y) {
    std::unique_ptr<ui::MenuModel> menu = buildDieMenuAt(x, y);
    menuOpen = menu != nullptr;
    menuX = x;
    menuY = y;
    return menu;
}

bool DiceHookup::DieMenuChosen(int id, int32_t x, int32_t y) {
    if (!menuOpen || !state || !state->scene || id <= 0) return false;
    menuOpen = false;
    state->scene->RollCount(id, menuX, menuY, x, y);
    return state->scene->dragging();
}

void DiceHookup::DropOnDie(int32_t, int32_t, ui::DesktopObject& source) {
    // A number dropped on a die goes to the modifier collector, labelled
    // with where it came from.
    ui::DragPayload payload;
    if (!state || !state->collector || !source.GetDragData(payload) || payload.kind != ui::kDragNumber) return;
    state->collector->Add(payload.number, payload.description);
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

void arrangeDice() {
    if (state && state->scene) state->scene->Arrange(false);
}

void setDesktopLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content) {
    if (!state) return;
    state->light.setLight(system, window, control, content, platform::nowMs());
    state->fade.wake();
}

}  // namespace lh::dice
