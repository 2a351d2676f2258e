#include "dice/DiceDrawing.h"

#include <array>
#include <cstring>

#include "dice/DiceScene.h"

namespace lh::dice {

namespace {

render::DieDrawItem drawItemOf(const DieBody& die, bool viewerIsHost) {
    render::DieDrawItem item;
    std::memcpy(item.world, die.worldMatrix().m, sizeof item.world);
    item.mesh = die.shape;
    item.bodyColor = die.bodyColor;
    item.whiteNumerals = (die.colorFlags & kWhiteNumerals) != 0;
    item.drawBody = viewerIsHost || (die.colorFlags & kGamemasterDice) == 0;
    item.centerZ = die.center.z;
    return item;
}

bool sameDrawing(const render::DieDrawItem& a, const render::DieDrawItem& b) {
    return std::memcmp(a.world, b.world, sizeof a.world) == 0 && a.mesh == b.mesh && a.bodyColor == b.bodyColor &&
           a.whiteNumerals == b.whiteNumerals && a.drawBody == b.drawBody &&
           std::memcmp(&a.centerZ, &b.centerZ, sizeof a.centerZ) == 0;
}

}  // namespace

std::vector<render::DieDrawItem> drawItemsOf(const DiceWorld& world, bool viewerIsHost) {
    std::vector<render::DieDrawItem> items;
    items.reserve(world.dice().size());
    for (const auto& die : world.dice()) items.push_back(drawItemOf(*die, viewerIsHost));
    return items;
}

float meshRadius(int shape) {
    static const std::array<float, kShapeCount> radii = [] {
        std::array<float, kShapeCount> r{};
        for (int s = 0; s < kShapeCount; ++s) {
            const ShapeInfo& info = shapeInfo(s);
            for (int v = 0; v < info.vertexCount; ++v) r[size_t(s)] = std::max(r[size_t(s)], length(info.vertices[v]));
        }
        return r;
    }();
    return isValidShape(shape) ? radii[size_t(shape)] : 0.0f;
}

void DiceDirtyBoxes::Mark(const DiceWorld& world, bool viewerIsHost, const render::DiceCamera& camera,
                          const std::function<void(const render::Rect&)>& invalidate) {
    next.clear();
    const bool sameView = camera.viewport.width == width && camera.viewport.height == height;
    width = camera.viewport.width;
    height = camera.viewport.height;
    for (const auto& d : world.dice()) {
        const DieBody& die = *d;
        Drawn now{drawItemOf(die, viewerIsHost), {}};
        auto before = drawn.find(&die);
        const bool same = before != drawn.end() && sameDrawing(before->second.item, now.item);
        if (same && sameView && die.atRest && !die.held) {
            now.box = before->second.box;
        } else {
            now.box = render::DiceRenderer::ScreenBox(camera, now.item.world, meshRadius(die.shape));
            invalidate(before == drawn.end() ? now.box : render::unite(before->second.box, now.box));
        }
        if (before != drawn.end()) drawn.erase(before);
        next.emplace(&die, now);
    }
    for (const auto& [die, gone] : drawn) invalidate(gone.box);
    drawn.swap(next);
}

}  // namespace lh::dice
