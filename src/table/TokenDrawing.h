// Drawing the tokens of a window. A map may carry thousands of tokens, so
// they are not drawn one texture at a time: the library's pictures are
// packed into a few atlas pages, and every token whose picture is packed
// draws from its page. Consecutive quads of one texture go to the device
// as one draw, so a window's tokens cost a draw or two per page, whatever
// their number. Turned copies and pictures too big to pack draw from their
// own bitmaps.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "render/Bitmap.h"
#include "render/Rect.h"
#include "table/TokenBoard.h"

namespace lh::render {
class RenderContext;
}

namespace lh::table {

class TokenAtlas {
public:
    // Pages are this wide; a picture larger than kMaxPacked on a side is
    // left out.
    static constexpr int32_t kPageSide = 1024;
    static constexpr int32_t kMaxPacked = 256;

    struct Slot {
        render::Bitmap* page = nullptr;  // null: draw the picture itself
        render::Rect source;
    };

    // Packs the library anew when its pictures changed since the last call.
    void refresh(const TokenLibrary& library);
    Slot slotOf(const TokenDef& def) const;
    size_t pageCount() const { return pages.size(); }

private:
    uint64_t signature = ~uint64_t(0);
    std::vector<std::unique_ptr<render::Bitmap>> pages;
    std::unordered_map<const TokenDef*, Slot> slots;
};

// The process's atlas, packed from tokenLibrary().
TokenAtlas& tokenAtlas();

// Draws the tokens of the open window `key` from the first to the last:
// proposal lines, shadow, picture in `light` (0xAARRGGBB).
void drawWindowTokens(TokenBoard& board, const WindowKey& key, TokenAtlas& atlas, render::RenderContext& context,
                      uint32_t light);

}  // namespace lh::table
