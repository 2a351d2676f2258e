#include "dice/DiceDrawing.h"

#include <cstring>

#include "dice/DiceScene.h"

namespace lh::dice {

std::vector<render::DieDrawItem> drawItemsOf(const DiceWorld& world, bool viewerIsHost) {
    std::vector<render::DieDrawItem> items;
    items.reserve(world.dice().size());
    for (const auto& die : world.dice()) {
        render::DieDrawItem item;
        std::memcpy(item.world, die->worldMatrix().m, sizeof item.world);
        item.mesh = die->shape;
        item.bodyColor = die->bodyColor;
        item.whiteNumerals = (die->colorFlags & kWhiteNumerals) != 0;
        item.drawBody = viewerIsHost || (die->colorFlags & kGamemasterDice) == 0;
        item.centerZ = die->center.z;
        items.push_back(item);
    }
    return items;
}

}  // namespace lh::dice
