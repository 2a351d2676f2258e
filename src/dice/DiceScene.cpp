// The dice scene: pacing, the hand, throws, received rolls and readings.
#include "dice/DiceScene.h"

#include <algorithm>
#include <cassert>
#include <cstdio>

#include "platform/Registry.h"
#include "ui/DieType.h"
#include "ui/RulesetData.h"

namespace lh::dice {

namespace {

constexpr double kStepSeconds = 0.006;
constexpr int kSettleSteps = 100;
constexpr float kHandZ = -5.0f;
constexpr float kHomeZ = -1.0f;
constexpr float kTrailSeconds = 0.1f;
constexpr float kMinTrailSeconds = 0.05f;
constexpr float kPixelSpeedToWorld = 0.0005f;
constexpr float kPickRadiusSquared = 400.0f;  // pixels
constexpr float kGrabRadiusSquared = 1.0f;    // world units
constexpr float kTwoPi = 6.28318530718f;
// The camera's numbers (see render::diceCamera): one pixel at the near
// plane is 39/1024 units, the top left corner stays at (-19.5, 15.234375),
// and the near plane is 130 in front of the eye at z = -150.
constexpr float kUnitsPerPixel = 0.0380859375f;
constexpr float kLeft = -19.5f, kTop = 15.234375f;
constexpr float kEyeZ = -150.0f, kNear = 130.0f;

const char* registryKey = "Software\\Lorehaven";

}  // namespace

DiceScene::DiceScene(bool isHostMachine, int32_t width, int32_t height, const render::Rect& chatFrame,
                     Hooks h)
    : host(isHostMachine), hooks(std::move(h)), rollFrame(chatFrame) {
    colorFlags = host ? (kGamemasterDice | kWhiteNumerals) : kWhiteNumerals;
    diceWorld.onDieFinished = [this](DieBody& die, int32_t value) { onDieFinished(die, value); };
    diceWorld.AddPermanentDice(bodyColor, colorFlags);
    SetCamera(width, height);
    for (int i = 0; i < kSettleSteps; ++i) diceWorld.Step();
    Arrange(true);
}

Vec3 DiceScene::nearPicture(int32_t x, int32_t y) const {
    // Exact in floats, and the same at every window size: the roll area
    // must come out alike on every machine.
    return Vec3{kLeft + float(x) * kUnitsPerPixel, kTop - float(y) * kUnitsPerPixel, kEyeZ + kNear};
}

Vec3 DiceScene::pointUnder(int32_t x, int32_t y, float z) const {
    Vec3 n = nearPicture(x, y);
    const float t = (z - kEyeZ) / kNear;  // the ray from the eye through the near picture
    return Vec3{n.x * t, n.y * t, z};
}

glm::vec3 DiceScene::project(Vec3 p) const {
    return render::projectPoint({p.x, p.y, p.z}, cam.viewport, cam.projection, cam.view, glm::mat4(1.0f));
}

void DiceScene::SetCamera(int32_t width, int32_t height) {
    cam = render::diceCamera(width, height);
    Vec3 a = nearPicture(0, 0), b = nearPicture(width, height);
    diceWorld.viewBounds = Bounds{a.x, a.y, b.x, b.y};
    if (!rollAreaTaken) {
        Vec3 c = nearPicture(rollFrame.left, rollFrame.top), d = nearPicture(rollFrame.right, rollFrame.bottom);
        diceWorld.rollBounds = Bounds{c.x, c.y, d.x, d.y};
        rollAreaTaken = true;
    }
}

void DiceScene::markDiceDirty() {
    if (!hooks.invalidate) return;
    dirtyBoxes.Mark(diceWorld, host, cam, [this](const render::Rect& r) { hooks.invalidate(&r); });
}

void DiceScene::Advance(double now) {
    if (lastTime == 0.0) lastTime = now;
    delta = now - lastTime;
    lastTime = now;
    accumulator += delta;
    while (accumulator > kStepSeconds) {
        // After a long stall the dice catch up in one go, step by step; once
        // nothing moves, the steps left would change nothing: they are
        // counted off, not run, and a machine that slept for an hour does
        // not step its dice half a million times.
        if (!isDragging && diceWorld.Still()) {
            for (; accumulator > kStepSeconds; accumulator -= kStepSeconds) ++stepsRun, ++stepsCountedOff;
            break;
        }
        if (isDragging) grabStep(mouseX, mouseY, float(delta));
        diceWorld.Step();
        ++stepsRun;
        accumulator -= kStepSeconds;
    }
    // Whatever changed the dice since the last frame (these steps, the
    // mouse, a roll that came in, a colour) shows as it is drawn next: the
    // frame redraws only around the dice that changed, over the kept picture.
    markDiceDirty();
}

std::vector<DieBody*> DiceScene::heldDice() const {
    std::vector<DieBody*> held;
    for (const auto& d : diceWorld.dice())
        if (d->held) held.push_back(d.get());
    return held;
}

void DiceScene::randomTurn(DieBody& die) {
    const float pitch = float(nextRandom() % 628) * 0.01f;
    const float yaw = float(nextRandom() % 628) * 0.01f;
    die.SetOrientation(yaw, pitch, 0.0f);
}

void DiceScene::grabStep(int32_t x, int32_t y, float dt) {
    if (!grabbed) {
        // The nearest permanent die that is in no roll. The mouse's ray is
        // followed down to each die's own depth, so that a click on the
        // die where it is drawn takes it, wherever it lies on the screen.
        DieBody* best = nullptr;
        float bestDistance = kGrabRadiusSquared;
        const auto& dice = diceWorld.dice();
        for (size_t i = 0; i < dice.size() && i < size_t(kPermanentDice); ++i) {
            DieBody* die = dice[i].get();
            if (die->rollGroup != 0 || die->inRollArea) continue;
            Vec3 p = pointUnder(x, y, die->center.z);
            const float dx = die->center.x - p.x, dy = die->center.y - p.y;
            const float d2 = dx * dx + dy * dy;
            if (d2 < bestDistance) {
                best = die;
                bestDistance = d2;
            }
        }
        if (!best) return;
        grabbed = best;
        diceWorld.SetHeld(*best, true);
        randomTurn(*best);
    }
    for (size_t i = 0; i < mouseTrail.size(); ++i) {
        mouseTrail[i].age += dt;
        if (mouseTrail.front().age > kTrailSeconds) {
            mouseTrail.erase(mouseTrail.begin());
            if (mouseTrail.empty()) break;
        }
    }
    mouseTrail.push_back({x, y, dt});
    // The hand follows the mouse's ray at its own height, so the carried
    // dice stay under the cursor.
    holdPoint = pointUnder(x, y, kHandZ);
    layOutHand();
}

void DiceScene::layOutHand() {
    std::vector<DieBody*> held = heldDice();
    const size_t n = held.size();
    if (n == 1) {
        held[0]->MoveTo(holdPoint);
    } else {
        size_t placed = 0;
        for (int ring = 1; placed < n; ++ring) {
            const size_t capacity = size_t(6 * ring);
            const size_t inRing = std::min(capacity, n - placed);
            const float radius = 2.0f * float(ring);
            for (size_t k = 0; k < inRing; ++k) {
                const float angle = kTwoPi * float(k) / float(inRing);
                Vec3 p{holdPoint.x + radius * reproducibleCos(angle), holdPoint.y + radius * reproducibleSin(angle),
                       holdPoint.z};
                held[placed + k]->MoveTo(p);
            }
            placed += inRing;
        }
    }
}

int DiceScene::Mouse(int32_t x, int32_t y, MousePhase phase, bool ctrl) {
    auto hold = [](int32_t v, int32_t size) {
        if (v < 0 || v > 32768) v = 0;
        return std::min(v, std::max(size - 1, 0));
    };
    mouseX = hold(x, cam.viewport.width);
    mouseY = hold(y, cam.viewport.height);
    if (phase != MousePhase::PressOrMove) {
        isDragging = false;
        const int32_t mode = ctrl && diceWorld.heldCount == 1 ? kThrowSpin : kThrowRolling;
        throwHand(mouseX, mouseY, mode, phase == MousePhase::ReleaseThrow);
        return 0;
    }
    if (isDragging) return 0;
    grabStep(mouseX, mouseY, float(delta));
    if (!grabbed) return 0;
    isDragging = true;
    return 1;
}

void DiceScene::AddDie(int32_t shape) {
    if (diceWorld.heldCount >= kMaxHeldDice) return;
    std::vector<DieBody*> held = heldDice();
    for (DieBody* d : held)
        if (d->shape == kShapePercentile) return;  // the percentile pair takes no more dice
    if (shape < 0) {
        if (!grabbed) return;
        shape = grabbed->shape;
    }
    if (!isValidShape(shape)) return;
    DieBody* die = diceWorld.Add(std::make_unique<DieBody>(diceWorld, shape, bodyColor, colorFlags));
    diceWorld.SetHeld(*die, true);
    randomTurn(*die);
    layOutHand();
}

void DiceScene::RollCount(int32_t n, int32_t pickX, int32_t pickY, int32_t x, int32_t y) {
    DieBody* die = PickAt(pickX, pickY);
    if (!die || isDragging) return;
    glm::vec3 s = project(die->center);
    Mouse(int32_t(s.x), int32_t(s.y), MousePhase::PressOrMove, false);
    Mouse(x, y, MousePhase::PressOrMove, false);
    if (!grabbed) return;
    if (n == 100) {
        AddDie(kShapePercentile);
    } else {
        for (int32_t i = 1; i < n; ++i) AddDie(-1);
    }
}

DieBody* DiceScene::PickAt(int32_t x, int32_t y) {
    const auto& dice = diceWorld.dice();
    for (size_t i = 0; i < dice.size() && i < size_t(kPermanentDice); ++i) {
        DieBody* die = dice[i].get();
        glm::vec3 s = project(die->center);
        const float dx = s.x - float(x), dy = s.y - float(y);
        if (dx * dx + dy * dy <= kPickRadiusSquared) return die->inRollArea ? nullptr : die;
    }
    return nullptr;
}

void DiceScene::Arrange(bool all) {
    const auto& dice = diceWorld.dice();
    for (size_t i = 0; i < dice.size() && i < size_t(kPermanentDice); ++i) {
        DieBody& die = *dice[i];
        if (!all && !die.atRest) continue;
        if (die.held) continue;
        const ui::DieType* type = ui::findDieType(die.info().dieTypeName);
        if (!type) continue;  // a Ruleset without this die: it stays where it is
        Vec3 p = nearPicture(int32_t(type->homeX), int32_t(type->homeY));
        die.MoveTo(Vec3{p.x, p.y, kHomeZ});
        die.Fit();
        die.atRest = false;
    }
}

void DiceScene::throwHand(int32_t x, int32_t y, int32_t mode, bool send) {
    if (!grabbed) return;
    float sx = 0.0f, sy = 0.0f;
    if (!mouseTrail.empty()) {
        const TrailSample& s = mouseTrail.front();
        if (s.age >= kMinTrailSeconds) {
            sx = float(x - s.x) / s.age;
            sy = float(s.y - y) / s.age;  // the screen's y grows downward
        }
    }
    mouseTrail.clear();
    std::vector<DieBody*> held = heldDice();
    RollGroup* group = nullptr;
    int32_t groupId = 0;
    if (send) group = &startGroup(groupId, held.size());
    const Vec3 v{kPixelSpeedToWorld * sx, kPixelSpeedToWorld * sy, 0.0f};
    for (DieBody* die : held) {
        if (send) {
            die->rollGroup = groupId;
            die->inRollArea = true;
        }
        ThrowStart start = diceWorld.ThrowFromHand(*die, v, mode);
        if (send) appendThrowRecord(group->message, start);
    }
    grabbed = nullptr;
    if (send && hooks.sendRoll) hooks.sendRoll(group->message);
}

RollGroup& DiceScene::startGroup(int32_t& id, size_t dice) {
    id = nextGroup++;
    RollGroup& group = groups[id];
    group.remaining = int32_t(dice);
    group.result = std::make_unique<DieResult>();
    return group;
}

void DiceScene::clampIntoRollArea(ThrowStart& s) const {
    const Bounds& area = diceWorld.rollBounds;
    s.center.x = std::max(std::min(s.center.x, area.right - 1.0f), area.left + 1.0f);
    s.center.y = std::min(std::max(s.center.y, area.bottom + 1.0f), area.top - 1.0f);
}

std::string DiceScene::ThrowRecorded(const uint8_t* body, size_t size) {
    DecodedThrows decoded = decodeThrowRecords(body, size);
    if (!decoded.error.empty()) return decoded.error;
    if (decoded.starts.empty()) return "no throw record";
    if (decoded.starts.size() > size_t(kMaxHeldDice))
        return "more than " + std::to_string(kMaxHeldDice) + " dice in one hand";
    int32_t groupId = 0;
    RollGroup& group = startGroup(groupId, decoded.starts.size());
    // Clamped as every receiver clamps, and sent as played: the records
    // that go out are the ones the dice here started from.
    for (ThrowStart s : decoded.starts) {
        clampIntoRollArea(s);
        DieBody* die = diceWorld.AddThrown(s);
        assert(die);  // the records were validated, and clamping keeps them valid
        die->rollGroup = groupId;
        appendThrowRecord(group.message, s);
    }
    if (hooks.sendRoll) hooks.sendRoll(group.message);
    return {};
}

std::string DiceScene::ReceiveRoll(const uint8_t* body, size_t size, bool fromPlayer) {
    DecodedThrows decoded = decodeThrowRecords(body, size);
    if (!decoded.error.empty()) return decoded.error;
    if (fromPlayer)
        for (const ThrowStart& s : decoded.starts)
            if (s.colorFlags & kGamemasterDice) return "a player's dice marked as the Gamemaster's";
    const size_t live = diceWorld.dice().size() - std::min(diceWorld.dice().size(), size_t(kPermanentDice));
    if (live + decoded.starts.size() > kMaxReceivedDice)
        return "too many dice on the table (" + std::to_string(live) + " already)";
    // An honest thrower held its dice inside the roll area already, so this
    // changes nothing for it; anyone else's dice land on the table too.
    for (ThrowStart s : decoded.starts) {
        clampIntoRollArea(s);
        diceWorld.AddThrown(s);
    }
    return {};
}

void DiceScene::onDieFinished(DieBody& die, int32_t value) {
    if (hooks.dieStopped) hooks.dieStopped(die, value);
    if (die.rollGroup == 0) return;
    auto it = groups.find(die.rollGroup);
    die.rollGroup = 0;
    if (it == groups.end()) return;
    RollGroup& g = it->second;
    g.result->AddDie(value, ui::findDieType(die.info().dieTypeName));
    if (--g.remaining > 0) return;
    std::unique_ptr<DieResult> result = std::move(g.result);
    result->rolled = true;
    result->throwRecords = std::move(g.message);
    if (host) result->hidden = true;
    groups.erase(it);
    if (hooks.rollFinished) hooks.rollFinished(std::move(result));
}

void DiceScene::SetColors(const float body[4], const float numerals[4]) {
    bodyColor = packColor(body);
    if (packColor(numerals) == 0xFFFFFFFFu)
        colorFlags |= kWhiteNumerals;
    else
        colorFlags &= ~kWhiteNumerals;
    const auto& dice = diceWorld.dice();
    for (size_t i = 0; i < dice.size() && i < size_t(kPermanentDice); ++i) {
        dice[i]->bodyColor = bodyColor;
        dice[i]->colorFlags = colorFlags;
    }
}

uint32_t packColor(const float rgba[4]) {
    auto byte = [](float v) -> uint32_t {
        if (!(v > 0.0f)) return 0;
        if (v >= 1.0f) return 255;
        return uint32_t(v * 255.0f + 0.5f);
    };
    return byte(rgba[3]) << 24 | byte(rgba[0]) << 16 | byte(rgba[1]) << 8 | byte(rgba[2]);
}

uint32_t readDiceColor() {
    auto text = platform::readRegistryValue(registryKey, "DiceColor");
    if (!text) return kDefaultDiceColor;
    char* end = nullptr;
    unsigned long v = std::strtoul(text->c_str(), &end, 0);
    if (end == text->c_str()) return kDefaultDiceColor;
    return uint32_t(v);
}

void writeDiceColor(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%u", value);
    platform::writeRegistryValue(registryKey, "DiceColor", text);
}

void diceColorToFloats(uint32_t value, float body[4], float numerals[4]) {
    body[0] = float(value & 0xFF) / 255.0f;
    body[1] = float((value >> 8) & 0xFF) / 255.0f;
    body[2] = float((value >> 16) & 0xFF) / 255.0f;
    body[3] = 1.0f;
    const float top = float(value >> 24) / 255.0f;
    for (int i = 0; i < 4; ++i) numerals[i] = top;
}

}  // namespace lh::dice
