// What the renderer gets of the scene: one item per die, in list order.
// Gamemaster dice show only their shadows on a player's screen.
#pragma once

#include <vector>

#include "render/DiceRenderer.h"

namespace lh::dice {

class DiceWorld;

std::vector<render::DieDrawItem> drawItemsOf(const DiceWorld& world, bool viewerIsHost);

}  // namespace lh::dice
