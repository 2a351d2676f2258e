// Tiling as one quad whose texture coordinates wrap inside the source.
#include "ui/TiledDraw.h"

#include "render/Bitmap.h"
#include "render/RenderContext.h"

namespace lh::ui {

int drawTiled(render::RenderContext& context, render::Bitmap& bitmap, const render::Rect& source,
              const render::Rect& target, uint32_t argb, const render::Rect* clip) {
    if (source.width() <= 0 || source.height() <= 0 || target.isEmpty()) return 0;
    render::Rect visible = render::intersect(target, context.ClipRect());
    if (clip) visible = render::intersect(visible, *clip);
    if (visible.isEmpty()) return 0;
    context.DrawBitmapTiled(bitmap, source, target, argb, clip);
    return 1;
}

}  // namespace lh::ui
