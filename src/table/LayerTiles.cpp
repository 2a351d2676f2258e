// Tiled layers; see LayerTiles.h.
#include "table/LayerTiles.h"

#include <algorithm>

#include "render/RenderContext.h"

namespace lh::table {

void LayerTiles::resize(int32_t width, int32_t height) {
    if (width == fullWidth && height == fullHeight && !tiles.empty()) return;
    release();
    if (width <= 0 || height <= 0) return;
    fullWidth = width;
    fullHeight = height;
    for (int32_t top = 0; top < height; top += kTileSide) {
        for (int32_t left = 0; left < width; left += kTileSide) {
            Tile t;
            t.area = {left, top, std::min(left + kTileSide, width), std::min(top + kTileSide, height)};
            t.dirty = t.area;
            tiles.push_back(std::move(t));
        }
    }
}

void LayerTiles::release() {
    tiles.clear();
    scratch.clear();
    scratch.shrink_to_fit();
    fullWidth = fullHeight = 0;
}

void LayerTiles::refresh(const render::Rect& box) {
    for (Tile& t : tiles) {
        render::Rect part = render::intersect(t.area, box);
        if (!part.isEmpty()) t.dirty = render::unite(t.dirty, part);
    }
}

void LayerTiles::draw(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint, const render::Rect& clip,
                      const Fill& fill, const Blank& blank) {
    ++draws;
    for (Tile& t : tiles) {
        render::Rect onScreen{x + t.area.left, y + t.area.top, x + t.area.right, y + t.area.bottom};
        if (render::intersect(onScreen, clip).isEmpty()) continue;
        t.drawnAt = draws;
        if (t.bitmap && t.bitmap->ContentLost()) t.dirty = t.area;
        if (!t.dirty.isEmpty()) {
            if (!t.bitmap && blank && blank(t.area)) {
                t.dirty = {};
                continue;
            }
            if (!t.bitmap) {
                t.bitmap = std::make_unique<render::Bitmap>();
                if (!t.bitmap->CreateStreamed(uint32_t(t.area.width()), uint32_t(t.area.height()))) {
                    t.bitmap.reset();
                    continue;
                }
                t.dirty = t.area;
            }
            const render::Rect box = t.dirty;
            scratch.resize(size_t(box.width()) * size_t(box.height()));
            fill(box, scratch.data(), box.width(), box.left, box.top);
            t.bitmap->WriteBox({box.left - t.area.left, box.top - t.area.top, box.right - t.area.left,
                                box.bottom - t.area.top},
                               scratch.data(), box.width());
            t.dirty = {};
        }
        if (t.bitmap) context.DrawBitmap(*t.bitmap, onScreen.left, onScreen.top, tint, &clip);
    }
    keepBudget();
}

void LayerTiles::keepBudget() {
    std::vector<Tile*> made;
    for (Tile& t : tiles)
        if (t.bitmap) made.push_back(&t);
    if (made.size() <= kKeptTiles) return;
    std::sort(made.begin(), made.end(), [](const Tile* a, const Tile* b) { return a->drawnAt < b->drawnAt; });
    for (size_t i = 0; i < made.size() - kKeptTiles && made[i]->drawnAt != draws; ++i) {
        made[i]->bitmap.reset();
        made[i]->dirty = made[i]->area;
    }
}

size_t LayerTiles::madeTiles() const {
    size_t made = 0;
    for (const Tile& t : tiles) made += t.bitmap != nullptr;
    return made;
}

}  // namespace lh::table
