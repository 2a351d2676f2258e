// A large picture on the device as a grid of tiles, each a texture of its
// own: a map may be larger than one texture can be, and a change uploads
// only the box it touches. A tile is written, and its texture made, only
// when it is drawn, and the tiles longest off the screen give theirs back
// beyond a budget: a huge map costs the device about a screenful, and a
// change far away waits until it is looked at. Tiles keep no copy of their
// pixels: the caller makes any box again from what it holds (the picture,
// the mask, the ink), written through one scratch box; nothing here knows
// what the pixels mean.
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
    // Textures kept per layer: more than a large screen shows at once (a
    // frame never gives back a tile it draws).
    static constexpr size_t kKeptTiles = 24;

    // Empties the grid when the size changed; every tile is then unwritten.
    void resize(int32_t width, int32_t height);
    void release();
    bool empty() const { return tiles.empty(); }
    int32_t width() const { return fullWidth; }
    int32_t height() const { return fullHeight; }

    // Marks `box` (picture coordinates) to be written again at the draw.
    void refresh(const render::Rect& box);

    // `fill` gets the part of one tile to write, in picture coordinates, and
    // the memory to write it to with its row length and the picture position
    // of that memory's first pixel. `blank`, where given, tells of a tile's area that
    // it shows nothing: such a tile gets no bitmap until it does.
    using Fill = std::function<void(const render::Rect& part, uint32_t* pixels, int32_t stride, int32_t tileX,
                                    int32_t tileY)>;
    using Blank = std::function<bool(const render::Rect& area)>;
    // Writes what changed in the tiles that meet `clip`, and draws them with
    // the picture's corner at (x, y).
    void draw(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint, const render::Rect& clip,
              const Fill& fill, const Blank& blank = {});
    // Tiles that have a bitmap now.
    size_t madeTiles() const;

private:
    struct Tile {
        render::Rect area;   // picture coordinates
        render::Rect dirty;  // to write before it is drawn; all of it while it has no bitmap
        std::unique_ptr<render::Bitmap> bitmap;
        uint64_t drawnAt = 0;  // the draw that last showed it
    };
    // Past the budget, the tiles drawn longest ago lose their textures.
    void keepBudget();
    std::vector<Tile> tiles;
    std::vector<uint32_t> scratch;  // the box being written
    uint64_t draws = 0;
    int32_t fullWidth = 0, fullHeight = 0;
};

}  // namespace lh::table
