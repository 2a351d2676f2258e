// The dice on the Desktop: the simulation world with its camera, the hand
// that grabs and carries dice, throws that go to the other machines, rolls
// that come from them, and the readings that become a result in the chat.
// No GL here: DiceDrawing draws what the scene holds, and the scene asks
// for the parts of the screen that must be redrawn.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dice/DiceDrawing.h"
#include "dice/DiceWorld.h"
#include "dice/DieResult.h"
#include "dice/ThrowRecord.h"
#include "render/Camera.h"
#include "render/Rect.h"

namespace lh::dice {

constexpr int32_t kMaxHeldDice = 30;
// Dice of other people's rolls alive at once; a roll beyond it is refused,
// so that a flood of throws cannot slow every machine down.
constexpr size_t kMaxReceivedDice = 150;
constexpr uint32_t kDefaultBodyColor = 0xFF70002A;
constexpr uint32_t kWhiteNumerals = 0x1;
constexpr uint32_t kGamemasterDice = 0x10000000;

enum class MousePhase {
    PressOrMove = 0,
    Release = 1,      // the dice drop where they are; nothing is sent
    ReleaseThrow = 2,  // a roll: thrown, sent, read
};

// One roll of this user's on the table, filling up as its dice stop.
struct RollGroup {
    int32_t remaining = 0;
    std::unique_ptr<DieResult> result;
    std::vector<uint8_t> message;  // the throw records, kept with the result
};

class DiceScene {
public:
    struct Hooks {
        // A roll's message body, for DIETQ (client) or DIETR (host).
        std::function<void(const std::vector<uint8_t>& body)> sendRoll;
        // A finished roll of this user's; the records let anyone replay it.
        std::function<void(std::unique_ptr<DieResult> result)> rollFinished;
        // Parts of the client area to redraw; null for all of it.
        std::function<void(const render::Rect* rect)> invalidate;
        // Every die that comes to rest, this user's or not, with its reading.
        std::function<void(const DieBody& die, int32_t value)> dieStopped;
    };

    // The start-up of the scene: colours (Gamemaster dice on a host), the
    // six permanent dice, the camera for a back buffer of width x height,
    // 100 steps so that they lie still, then home.
    DiceScene(bool host, int32_t width, int32_t height, const render::Rect& chatFrame, Hooks hooks);

    // A new back buffer size: the camera and `viewBounds` follow; the roll
    // area stays as it was first taken.
    void SetCamera(int32_t width, int32_t height);

    // Pacing, from the millisecond clock: steps of 0.006 s as time passes,
    // the held dice following the mouse in each.
    void Advance(double nowSeconds);

    // The one entry of mouse input. Answers 1 when a press grabbed a die.
    int Mouse(int32_t x, int32_t y, MousePhase phase, bool ctrl);
    void AddDie(int32_t shape);
    // The die menu's action on the die at (pickX, pickY): that die in the
    // hand at the mouse, and n - 1 more like it (100: its percentile mate).
    void RollCount(int32_t n, int32_t pickX, int32_t pickY, int32_t mouseX, int32_t mouseY);
    DieBody* PickAt(int32_t x, int32_t y);
    void Arrange(bool all);
    // Colours as floats from 0 to 1; see packColor.
    void SetColors(const float body[4], const float numerals[4]);
    // Plays somebody else's roll. Empty when taken; otherwise why not.
    // `fromPlayer`: a host's copy of a player's roll, which may not claim
    // to be the Gamemaster's (players would see only its shadows).
    std::string ReceiveRoll(const uint8_t* body, size_t size, bool fromPlayer = false);
    // A roll of this user's from given throw records, as if the hand had
    // thrown those dice: played, sent, read into the chat. For replaying a
    // roll exactly (the test driver's "throw"). Empty when thrown;
    // otherwise why not.
    std::string ThrowRecorded(const uint8_t* body, size_t size);

    bool dragging() const { return isDragging; }
    bool isHost() const { return host; }
    DiceWorld& world() { return diceWorld; }
    const DiceWorld& world() const { return diceWorld; }
    const render::DiceCamera& camera() const { return cam; }
    const render::Rect& chatFrame() const { return rollFrame; }
    uint32_t bodyColor = kDefaultBodyColor;
    uint32_t colorFlags = kWhiteNumerals;
    uint64_t stepsRun = 0;         // steps of the clock, run or counted off
    uint64_t stepsCountedOff = 0;  // of those, the ones not run: nothing moved

    // Pixel of a world point, and the point on the table-parallel plane at
    // depth z under a pixel.
    glm::vec3 project(Vec3 p) const;
    Vec3 pointUnder(int32_t x, int32_t y, float z) const;
    // A pixel's picture on the near plane.
    Vec3 nearPicture(int32_t x, int32_t y) const;

private:
    void markDiceDirty();
    void grabStep(int32_t x, int32_t y, float delta);
    void layOutHand();
    void throwHand(int32_t x, int32_t y, int32_t mode, bool send);
    void randomTurn(DieBody& die);
    void onDieFinished(DieBody& die, int32_t value);
    RollGroup& startGroup(int32_t& id, size_t dice);
    void clampIntoRollArea(ThrowStart& start) const;
    std::vector<DieBody*> heldDice() const;

    struct TrailSample {
        int32_t x, y;
        float age;
    };

    bool host;
    Hooks hooks;
    DiceWorld diceWorld;
    render::DiceCamera cam;
    render::Rect rollFrame;
    bool rollAreaTaken = false;
    double accumulator = 0.0, lastTime = 0.0, delta = 0.0;
    int32_t mouseX = 0, mouseY = 0;
    bool isDragging = false;
    DieBody* grabbed = nullptr;
    Vec3 holdPoint;
    std::vector<TrailSample> mouseTrail;
    int32_t nextGroup = 1;
    std::map<int32_t, RollGroup> groups;
    DiceDirtyBoxes dirtyBoxes;
};

// Four floats from 0 to 1 packed into 0xAARRGGBB: x 255 + 0.5, with 1.0 and
// above as 255, and 0 and below as 0.
uint32_t packColor(const float rgba[4]);

// "DiceColor" in the registry: body 0x00BBGGRR in the low bits, 0xFF in the
// top byte for white numerals, 0 for black. Missing: 0xFF2A0070.
constexpr uint32_t kDefaultDiceColor = 0xFF2A0070;
uint32_t readDiceColor();
void writeDiceColor(uint32_t value);
// The registry value as SetColors arguments.
void diceColorToFloats(uint32_t value, float body[4], float numerals[4]);

}  // namespace lh::dice
