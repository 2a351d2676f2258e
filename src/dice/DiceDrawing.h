// What the renderer gets of the scene: one item per die, in list order.
// Gamemaster dice show only their shadows on a player's screen. Also which
// parts of the screen the dice changed, so that a frame of rolling dice
// redraws only around them.
#pragma once

#include <functional>
#include <unordered_map>
#include <vector>

#include "render/DiceRenderer.h"
#include "render/Rect.h"

namespace lh::dice {

class DiceWorld;
class DieBody;

std::vector<render::DieDrawItem> drawItemsOf(const DiceWorld& world, bool viewerIsHost);

// No point of a mesh of this shape lies farther from its origin.
float meshRadius(int shape);

// Follows what was last drawn of every die. Each Mark hands `invalidate`,
// for every die that moved, turned, changed its colour or its showing, or
// is held or rolling, the box where it was drawn united with the box where
// it is now (shadows included); for every die that is gone, where it was.
// Dice lying still cost nothing, until the viewport changes.
class DiceDirtyBoxes {
public:
    void Mark(const DiceWorld& world, bool viewerIsHost, const render::DiceCamera& camera,
              const std::function<void(const render::Rect&)>& invalidate);

private:
    struct Drawn {
        render::DieDrawItem item;
        render::Rect box;
    };
    std::unordered_map<const DieBody*, Drawn> drawn, next;
    int32_t width = 0, height = 0;  // the viewport the boxes were taken in
};

}  // namespace lh::dice
