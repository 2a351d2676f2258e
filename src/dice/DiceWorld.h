// The dice world: every die on the table, the two rectangles they bounce in,
// and the step that moves them all by 0.006 seconds. The first six dice (one
// of each of the shapes 0 to 5) stay for the whole run; dice made for a roll
// sink through the table once they have reported, and are then deleted.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "dice/DieBody.h"
#include "dice/ThrowRecord.h"

namespace lh::dice {

constexpr int kPermanentDice = 6;
constexpr int32_t kMaxStepsPerThrow = 10000;

class DiceWorld {
public:
    DiceWorld() = default;
    DiceWorld(const DiceWorld&) = delete;
    DiceWorld& operator=(const DiceWorld&) = delete;

    // One step of 0.006 s for all dice.
    void Step();
    // A step would change nothing: every die lies at rest, none is held,
    // and no die of a finished roll is still sinking away.
    bool Still() const;

    DieBody* Add(std::unique_ptr<DieBody> die);
    void Remove(DieBody* die);

    // Makes the six permanent dice, shapes 0 to 5, at (0, 2 shape, -1).
    void AddPermanentDice(uint32_t bodyColor, uint32_t colorFlags);

    // A throw that came from elsewhere: a new die in the roll area, started
    // from exactly the sender's numbers. Refuses (returns null) a start that
    // fails validateThrowStart, so nothing from the network can break a step.
    DieBody* AddThrown(const ThrowStart& start);

    // Throws a die from the user's hand: held inside its area, then launched
    // from its own orientation and centre. Returns the start that the other
    // machines need to play the same throw.
    ThrowStart ThrowFromHand(DieBody& die, Vec3 velocity, int32_t mode);

    // Holding a die, either way, clears its rest; `heldCount` follows.
    void SetHeld(DieBody& die, bool held);

    // Called by a die's Step when it comes to rest, with its reading. The
    // callback may add dice but must not remove any.
    void OnDieFinished(DieBody& die, int32_t value);

    const std::vector<std::unique_ptr<DieBody>>& dice() const { return diceList; }

    Bounds viewBounds;  // the viewport's picture on the near plane
    Bounds rollBounds;  // the chat window's picture on the near plane
    int32_t heldCount = 0;
    std::function<void(DieBody&, int32_t)> onDieFinished;

private:
    std::vector<std::unique_ptr<DieBody>> diceList;
    uint64_t reports = 0;  // calls of OnDieFinished so far
};

}  // namespace lh::dice
