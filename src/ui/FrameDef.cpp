// Frames: reading the definition, and drawing through the frame layout.
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
    if (!image.empty()) picture->LoadFromPixels(image.width, image.height, image.pixels.data());
    return true;
}

int FrameDef::Draw(render::RenderContext& context, const render::Rect& rect, uint32_t argb,
                   const render::Rect* clip) const {
    if (!picture || picture->IsEmpty()) return 0;
    int calls = 0;
    for (const FramePiece& piece : layoutFrame(sources, rect)) {
        calls += drawTiled(context, *picture, piece.source, piece.target, argb, clip);
    }
    return calls;
}

}  // namespace lh::ui
