#include "render/Backdrop.h"

#include "render/GraphicsDevice.h"

namespace lh::render {

Backdrop::Backdrop() { GraphicsDevice::Get().Register(this); }

Backdrop::~Backdrop() { GraphicsDevice::Get().Unregister(this); }

bool Backdrop::Keep(const Rect& area) {
    Forget();
    if (area.isEmpty()) return false;
    const uint32_t width = uint32_t(area.width()), height = uint32_t(area.height());
    // The copy keeps its size while the area does; a new size makes a new one.
    if (copy.GetState() != Bitmap::RenderTarget || copy.GetWidth() != width || copy.GetHeight() != height) {
        if (!copy.CreateRenderTarget(width, height)) return false;
    }
    if (!GraphicsDevice::Get().CopyBackBufferTo(area, copy)) return false;
    kept = area;
    return true;
}

bool Backdrop::Holds(const Rect& part) const {
    return !kept.isEmpty() && !part.isEmpty() && intersect(part, kept) == part;
}

bool Backdrop::Restore(const Rect& part) {
    if (!Holds(part)) return false;
    const Rect source{part.left - kept.left, part.top - kept.top, part.right - kept.left, part.bottom - kept.top};
    return GraphicsDevice::Get().CopyToBackBuffer(copy, source, part.left, part.top);
}

}  // namespace lh::render
