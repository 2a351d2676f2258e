// The fixed throws of the determinism check: the six permanent dice settle,
// then rolls of mixed shapes are thrown one after another, some while earlier
// ones still roll or sink, both from the hand and as received records.
#include "HashScenario.h"

#include <cstring>

#include "dice/DiceWorld.h"

namespace lh::dice::test {

namespace {

class Fnv64 {
public:
    void add(uint64_t word) {
        for (int i = 0; i < 8; ++i) {
            h ^= (word >> (8 * i)) & 0xffu;
            h *= 0x100000001b3ull;
        }
    }
    void add(float v) {
        uint32_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        add(static_cast<uint64_t>(bits));
    }
    uint64_t value() const { return h; }

private:
    uint64_t h = 0xcbf29ce484222325ull;
};

void hashWorld(const DiceWorld& world, Fnv64& fnv) {
    for (const auto& die : world.dice()) {
        for (int i = 0; i < die->vertexCount; ++i) {
            Vec3 p = die->position(i);
            fnv.add(p.x), fnv.add(p.y), fnv.add(p.z);
        }
        for (float v : die->worldMatrix().m) fnv.add(v);
    }
}

constexpr int kRolls = 14;
constexpr int kStepsBetweenRolls = 220;
constexpr int kStepLimit = 40000;

}  // namespace

ScenarioResult runHashScenario() {
    ScenarioResult result;
    Fnv64 fnv;
    DiceWorld world;
    world.viewBounds = {-19.5f, 15.234375f, 19.5f, -15.234375f};
    world.rollBounds = {-18.0f, -1.0f, 4.0f, -14.0f};
    world.onDieFinished = [&](DieBody& die, int32_t value) {
        fnv.add(static_cast<uint64_t>(die.shape) << 32 | static_cast<uint32_t>(value));
        if (!result.faces.empty()) result.faces += ',';
        result.faces += std::to_string(value);
    };
    world.AddPermanentDice(0xFF70002Au, 1u);
    for (int i = 0; i < 100; ++i, ++result.steps) {
        world.Step();
        hashWorld(world, fnv);
    }

    int roll = 0;
    for (int step = 0; step < kStepLimit; ++step, ++result.steps) {
        if (step % kStepsBetweenRolls == 0 && roll < kRolls) {
            int count = 1 + roll % 5;
            float fr = static_cast<float>(roll);
            for (int j = 0; j < count; ++j) {
                float fj = static_cast<float>(j);
                Vec3 velocity{0.0005f * (300.0f * fr - 1900.0f + 170.0f * fj),
                              0.0005f * (900.0f - 130.0f * fr), 0.0f};
                int32_t mode = (count == 1 && roll % 3 == 0) ? kThrowSpin : kThrowRolling;
                if (roll % 4 == 1 && j == 0) {
                    // A permanent die, thrown from the hand.
                    DieBody& die = *world.dice()[static_cast<size_t>(roll % kPermanentDice)];
                    world.SetHeld(die, true);
                    die.inRollArea = true;
                    die.SetOrientation(0.61f * fr, 1.7f + 0.3f * fr, 0.0f);
                    die.MoveTo(Vec3{-10.0f + fr, -4.0f - 0.5f * fr, -5.0f});
                    world.ThrowFromHand(die, velocity, mode);
                    continue;
                }
                ThrowStart start;
                start.shape = (roll * 3 + j) % kShapeCount;
                start.bodyColor = 0xFF336699u;
                start.colorFlags = 1u;
                start.mode = mode;
                start.orientation = rotationYawPitchRoll(0.37f * fr + 1.1f * fj, 2.9f - 0.53f * fj, 0.0f);
                start.center = Vec3{-12.0f + 1.3f * fr - 2.0f * fj, -7.0f + 0.4f * fj, -5.0f};
                start.velocity = velocity;
                world.AddThrown(start);
            }
            ++roll;
        }
        world.Step();
        hashWorld(world, fnv);
        bool settled = roll == kRolls && world.dice().size() == kPermanentDice;
        for (int i = 0; i < kPermanentDice && settled; ++i)
            settled = world.dice()[static_cast<size_t>(i)]->atRest;
        if (settled) break;
    }
    result.hash = fnv.value();
    return result;
}

}  // namespace lh::dice::test
