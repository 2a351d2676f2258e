// Tiling as bitmap-part draws, limited to the tiles that can show.
#include "ui/TiledDraw.h"

#include <algorithm>

#include "render/Bitmap.h"
#include "render/RenderContext.h"

namespace lh::ui {

int drawTiled(render::RenderContext& context, render::Bitmap& bitmap, const render::Rect& source,
              const render::Rect& target, uint32_t argb, const render::Rect* clip) {
    const int64_t sw = source.width(), sh = source.height();
    if (sw <= 0 || sh <= 0 || target.isEmpty()) return 0;
    render::Rect visible = render::intersect(target, context.ClipRect());
    if (clip) visible = render::intersect(visible, *clip);
    if (visible.isEmpty()) return 0;

    // Only the columns and rows of tiles that meet the visible part.
    const int64_t firstCol = (int64_t(visible.left) - target.left) / sw;
    const int64_t firstRow = (int64_t(visible.top) - target.top) / sh;
    int calls = 0;
    for (int64_t y = target.top + firstRow * sh; y < visible.bottom; y += sh) {
        const int32_t h = int32_t(std::min<int64_t>(sh, target.bottom - y));
        for (int64_t x = target.left + firstCol * sw; x < visible.right; x += sw) {
            const int32_t w = int32_t(std::min<int64_t>(sw, target.right - x));
            render::Rect part{source.left, source.top, source.left + w, source.top + h};
            context.DrawBitmapPart(bitmap, part, int32_t(x), int32_t(y), argb, &visible);
            ++calls;
        }
    }
    return calls;
}

}  // namespace lh::ui
