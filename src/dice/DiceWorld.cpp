// Stepping the dice world, sinking the dice of finished rolls, and adding
// dice thrown elsewhere.
#include "dice/DiceWorld.h"

#include <algorithm>
#include <cassert>

namespace lh::dice {

namespace {

constexpr float kSinkPerStep = 0.004f;
constexpr float kGoneDepth = 2.0f;  // z below the table at which a sunk die is deleted

}  // namespace

void DiceWorld::Step() {
    // Dice step in list order, by index: a finished die's report may add
    // dice to the list. A die's step starts with its pair constraints, which
    // depend on that die alone; they are solved for a few moving dice at
    // once, ahead of their steps, so that the work overlaps. A report in
    // between may change any die, so after one the dice left in the group
    // solve theirs afresh: the result is always that of one die after the
    // other.
    size_t i = 0;
    while (i < diceList.size()) {
        DieBody* group[DieBody::kPairGroup];
        int count = 0;
        size_t end = i;
        for (; end < diceList.size() && count < DieBody::kPairGroup; ++end) {
            DieBody* die = diceList[end].get();
            if (!die->atRest && !die->held) group[count++] = die;
        }
        DieBody::PairVelocities solved[DieBody::kPairGroup];
        DieBody::SolvePairs(group, count, solved);
        const uint64_t reportsBefore = reports;
        for (int g = 0; i < end; ++i) {
            DieBody* die = diceList[i].get();
            if (g < count && group[g] == die) {
                if (reports == reportsBefore)
                    die->stepWithPairsSolved(&solved[g]);
                else
                    die->Step();
                ++g;
            } else {
                die->Step();
            }
        }
    }

    // Dice of a roll sink through the table after reporting, and go. The
    // permanent dice never do. Each die sinks once per step, also when one
    // before it was deleted.
    i = kPermanentDice;
    while (i < diceList.size()) {
        DieBody& die = *diceList[i];
        if (die.finished) {
            die.center.z += kSinkPerStep;
            if (die.center.z > kGoneDepth) {
                diceList.erase(diceList.begin() + static_cast<std::ptrdiff_t>(i));
                continue;
            }
        }
        ++i;
    }
}

bool DiceWorld::Still() const {
    if (heldCount > 0) return false;
    for (size_t i = 0; i < diceList.size(); ++i) {
        const DieBody& die = *diceList[i];
        if (!die.atRest || die.held || (i >= size_t(kPermanentDice) && die.finished)) return false;
    }
    return true;
}

DieBody* DiceWorld::Add(std::unique_ptr<DieBody> die) {
    assert(die && die->world == this);
    diceList.push_back(std::move(die));
    return diceList.back().get();
}

void DiceWorld::Remove(DieBody* die) {
    auto it = std::find_if(diceList.begin(), diceList.end(), [die](const auto& d) { return d.get() == die; });
    if (it == diceList.end()) return;
    if ((*it)->held) --heldCount;
    diceList.erase(it);
}

void DiceWorld::AddPermanentDice(uint32_t bodyColor, uint32_t colorFlags) {
    for (int32_t shape = 0; shape < kPermanentDice; ++shape) {
        DieBody* die = Add(std::make_unique<DieBody>(*this, shape, bodyColor, colorFlags));
        die->MoveTo(Vec3{0.0f, 2.0f * static_cast<float>(shape), -1.0f});
    }
}

DieBody* DiceWorld::AddThrown(const ThrowStart& start) {
    if (!validateThrowStart(start).empty()) return nullptr;
    DieBody* die = Add(std::make_unique<DieBody>(*this, start.shape, start.bodyColor, start.colorFlags));
    die->inRollArea = true;
    die->Launch(start.orientation, start.center, start.velocity, start.mode);
    return die;
}

ThrowStart DiceWorld::ThrowFromHand(DieBody& die, Vec3 velocity, int32_t mode) {
    die.ClampIntoArea();
    ThrowStart start{die.shape, die.bodyColor, die.colorFlags, mode, die.orientation(), die.center, velocity};
    die.Launch(start.orientation, start.center, start.velocity, start.mode);
    SetHeld(die, false);
    return start;
}

void DiceWorld::SetHeld(DieBody& die, bool held) {
    if (die.held != held) heldCount += held ? 1 : -1;
    die.held = held;
    die.atRest = false;
    die.finished = false;
}

void DiceWorld::OnDieFinished(DieBody& die, int32_t value) {
    ++reports;
    if (onDieFinished) onDieFinished(die, value);
}

}  // namespace lh::dice
