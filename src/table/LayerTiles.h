// A large picture on the device as a grid of tiles, each a bitmap of its
// own: a map may be larger than one texture can be, and a change uploads
// only the tiles it touches. The pixels are written by the caller into each
// tile's memory; nothing here knows what they mean.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "render/Bitmap.h"
#include "render/Rect.h"

namespace lh::render {
class RenderContext;
}

namespace lh::table {

class LayerTiles {
public:
    static constexpr int32_t kTileSide = 1024;

    // Empties the grid when the size changed; the next refresh fills it.
    void resize(int32_t width, int32_t height);
    void release();
    bool empty() const { return tiles.empty(); }
    int32_t width() const { return fullWidth; }
    int32_t height() const { return fullHeight; }

    // Writes `box` (picture coordinates) through `fill`, which gets the part
    // of one tile to write, in picture coordinates, and the tile's pixels
    // with their row length and the picture position of the tile's corner.
    using Fill = std::function<void(const render::Rect& part, uint32_t* pixels, int32_t stride, int32_t tileX,
                                    int32_t tileY)>;
    void refresh(const render::Rect& box, const Fill& fill);

    // Draws the tiles that meet `clip` with the picture's corner at (x, y).
    void draw(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint, const render::Rect& clip);

private:
    struct Tile {
        render::Rect area;  // picture coordinates
        std::unique_ptr<render::Bitmap> bitmap;
    };
    std::vector<Tile> tiles;
    int32_t fullWidth = 0, fullHeight = 0;
};

}  // namespace lh::table
