// A named nine-part frame: one picture and nine source rectangles in it.
// Corners are drawn once, edges and the middle tiled, never stretched.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "render/Rect.h"
#include "ui/FrameGeometry.h"
#include "ui/PictureDecoder.h"

namespace lh::db {
class XmlElement;
}
namespace lh::render {
class Bitmap;
class RenderContext;
}  // namespace lh::render

namespace lh::ui {

class FrameDef {
public:
    FrameDef();
    ~FrameDef();
    FrameDef(const FrameDef&) = delete;
    FrameDef& operator=(const FrameDef&) = delete;

    // NAME (required: without it nothing else is read), BITMAP FILE and the
    // nine RECTs "x,y,width,height". False when NAME is missing.
    bool Load(db::XmlElement& element);
    // `rect` is left, top, right, bottom; `clip` may be null. Returns the
    // bitmap draws made, which is what the renderer pays for.
    int Draw(render::RenderContext& context, const render::Rect& rect, uint32_t argb,
             const render::Rect* clip) const;

    const std::string& name() const { return frameName; }
    const Rect& source(FramePart part) const { return sources[part]; }
    render::Bitmap* bitmap() const { return picture.get(); }

private:
    std::string frameName;
    std::unique_ptr<render::Bitmap> picture;
    std::array<Rect, kFrameParts> sources{};
};

}  // namespace lh::ui
