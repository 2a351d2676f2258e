// The lit squares of a pointer; see PointerDrawing.h.
#include "table/PointerDrawing.h"

#include "render/RenderContext.h"

namespace lh::table {

namespace {

constexpr uint32_t kShadeSide = 8;
constexpr uint32_t kShade = 0x40000000u;  // black at a quarter

}  // namespace

bool LitSquares::draw(render::RenderContext& context, int32_t gridSize, int32_t x, int32_t y,
                      const std::vector<IntPoint>& cells, const render::Rect& clip) {
    if (gridSize <= 0) return false;
    if (!shade) {
        shade = std::make_unique<render::Bitmap>();
        const std::vector<uint32_t> pixels(size_t(kShadeSide) * kShadeSide, kShade);
        made = shade->LoadFromPixels(kShadeSide, kShadeSide, pixels.data());
    }
    if (!made) return false;
    const render::Rect source = shade->Bounds();
    for (IntPoint cell : cells) {
        const render::Rect square{x + cell.x, y + cell.y, x + cell.x + gridSize, y + cell.y + gridSize};
        context.DrawBitmapTiled(*shade, source, square, 0xFFFFFFFF, &clip);
    }
    return true;
}

}  // namespace lh::table
