// Tiled layers; see LayerTiles.h.
#include "table/LayerTiles.h"

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
            t.bitmap = std::make_unique<render::Bitmap>();
            if (!t.bitmap->CreateEmpty(uint32_t(t.area.width()), uint32_t(t.area.height()), false)) {
                release();
                return;
            }
            tiles.push_back(std::move(t));
        }
    }
}

void LayerTiles::release() {
    tiles.clear();
    fullWidth = fullHeight = 0;
}

void LayerTiles::refresh(const render::Rect& box, const Fill& fill) {
    for (Tile& t : tiles) {
        render::Rect part = render::intersect(t.area, box);
        if (part.isEmpty()) continue;
        if (!t.bitmap->Lock()) continue;
        fill(part, t.bitmap->Pixels().data(), t.area.width(), t.area.left, t.area.top);
        t.bitmap->Unlock();
    }
}

void LayerTiles::draw(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint, const render::Rect& clip) {
    for (Tile& t : tiles) {
        render::Rect onScreen{x + t.area.left, y + t.area.top, x + t.area.right, y + t.area.bottom};
        if (render::intersect(onScreen, clip).isEmpty()) continue;
        context.DrawBitmap(*t.bitmap, onScreen.left, onScreen.top, tint, &clip);
    }
}

}  // namespace lh::table
