// Frames: reading the definition, repeating small pieces once at load, and
// drawing through the frame layout.
#include "ui/FrameDef.h"

#include <algorithm>

#include "db/XmlElement.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetXml.h"
#include "ui/TiledDraw.h"

namespace lh::ui {

namespace {

constexpr const char* kPartTags[kFrameParts] = {"TOPLEFT", "TOP",        "TOPRIGHT", "LEFT",       "MIDDLE",
                                                "RIGHT",   "BOTTOMLEFT", "BOTTOM",   "BOTTOMRIGHT"};

Rect fromXYWH(const RectXYWH& r) {
    auto clamp = [](int64_t v) { return int32_t(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); };
    return {r.x, r.y, clamp(int64_t(r.x) + r.width), clamp(int64_t(r.y) + r.height)};
}

render::Rect toRender(const Rect& r) {
    return {r.left, r.top, r.right, r.bottom};
}

}  // namespace

FrameDef::FrameDef() = default;
FrameDef::~FrameDef() = default;

bool FrameDef::Load(db::XmlElement& element) {
    if (!readText(element, "NAME", frameName)) return false;
    PixelImage image;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        std::string file;
        if (tag == "BITMAP") {
            if (readText(*child, "FILE", file)) image = loadRulesetPicture(file);
            return;
        }
        for (int part = 0; part < kFrameParts; ++part) {
            RectXYWH r;
            if (tag == kPartTags[part] && readRect(*child, "RECT", r)) sources[part] = fromXYWH(r);
        }
    });
    picture = std::make_unique<render::Bitmap>();
    if (!image.empty()) {
        picture->LoadFromPixels(image.width, image.height, image.pixels.data());
        makeTiledCopies(image);
    }
    return true;
}

void FrameDef::makeTiledCopies(const PixelImage& image) {
    const Rect bounds{0, 0, int32_t(image.width), int32_t(image.height)};
    for (int part = 0; part < kFrameParts; ++part) {
        const bool across = part == Top || part == Bottom || part == Middle;
        const bool down = part == Left || part == Right || part == Middle;
        const Rect& s = sources[part];
        if (!(across || down) || s.empty()) continue;
        const Rect inside = intersect(s, bounds);
        if (inside.left != s.left || inside.top != s.top || inside.right != s.right ||
            inside.bottom != s.bottom)
            continue;  // a piece that leaves the picture is drawn as the picture has it
        const int w = s.width(), h = s.height();
        const int nx = across && w < kSmallPiece ? (kTileTarget + w - 1) / w : 1;
        const int ny = down && h < kSmallPiece ? (kTileTarget + h - 1) / h : 1;
        if (nx == 1 && ny == 1) continue;
        const int tw = w * nx, th = h * ny;
        std::vector<uint32_t> pixels(size_t(tw) * size_t(th));
        for (int y = 0; y < th; ++y)
            for (int x = 0; x < tw; ++x)
                pixels[size_t(y) * tw + x] =
                    image.pixels[size_t(s.top + y % h) * image.width + size_t(s.left + x % w)];
        auto copy = std::make_unique<render::Bitmap>();
        if (copy->LoadFromPixels(uint32_t(tw), uint32_t(th), pixels.data()))
            tiled[part] = {std::move(copy), render::Rect{0, 0, tw, th}};
    }
}

int FrameDef::Draw(render::RenderContext& context, const render::Rect& rect, uint32_t argb,
                   const render::Rect* clip) const {
    if (!picture || picture->IsEmpty()) return 0;
    int calls = 0;
    for (const FramePiece& piece : layoutFrame(sources, {rect.left, rect.top, rect.right, rect.bottom})) {
        const Tiled& copy = tiled[piece.part];
        if (copy.bitmap)
            calls += drawTiled(context, *copy.bitmap, copy.source, toRender(piece.target), argb, clip);
        else
            calls += drawTiled(context, *picture, toRender(piece.source), toRender(piece.target), argb, clip);
    }
    return calls;
}

}  // namespace lh::ui
