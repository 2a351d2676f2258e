// Shaped portraits and the blank disc; see PortraitPainter.h.
#include "characters/PortraitPainter.h"

#include "characters/PortraitShape.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFont.h"

namespace lh::characters {

namespace {
constexpr uint32_t kBlankPortraitSize = 20;
}

PortraitPainter::PortraitPainter(const ui::CharacterListSettings& s) : settings(s) {}

PortraitPainter::~PortraitPainter() = default;

void PortraitPainter::shapeSize(uint32_t& width, uint32_t& height) const {
    const render::Bitmap* mask = settings.portraitMask.get();
    const render::Bitmap* base = settings.portraitBase.get();
    const render::Bitmap* model = mask && mask->GetWidth() ? mask : base && base->GetWidth() ? base : nullptr;
    width = model ? model->GetWidth() : kBlankPortraitSize;
    height = model ? model->GetHeight() : kBlankPortraitSize;
}

void PortraitPainter::draw(render::RenderContext& context, const std::string& name, const std::string& path,
                           int32_t x, int32_t y, const render::Rect* clip) {
    auto it = shaped.find(path);
    if (it == shaped.end()) {
        uint32_t width, height;
        shapeSize(width, height);
        it = shaped.emplace(path, path.empty() ? nullptr : loadShapedPortrait(path, settings.portraitMask.get(), width))
                 .first;
    }
    render::Bitmap* picture = it->second.get();
    if (!picture) return drawBlank(context, name, x, y, clip);
    context.DrawBitmap(*picture, x - int32_t(picture->GetWidth()) / 2, y - int32_t(picture->GetHeight()) / 2,
                       ui::lights().icon, clip);
}

void PortraitPainter::drawBlank(render::RenderContext& context, const std::string& name, int32_t x, int32_t y,
                                const render::Rect* clip) {
    if (!blank) {
        uint32_t width, height;
        shapeSize(width, height);
        ui::PixelImage slate{1, 1, {kBlankColour}};
        ui::PixelImage disc = shapePixels(slate, settings.portraitMask.get(), width, height);
        auto made = std::make_unique<render::Bitmap>();
        if (!made->LoadFromPixels(disc.width, disc.height, disc.pixels.data())) return;
        blank = std::move(made);
    }
    context.DrawBitmap(*blank, x - int32_t(blank->GetWidth()) / 2, y - int32_t(blank->GetHeight()) / 2,
                       ui::lights().icon, clip);
    if (!initialFont) initialFont = ui::findFont("dialogtitle");
    if (!initialFont) initialFont = ui::findFont("mini_name");
    if (!initialFont || name.empty()) return;
    char initial = name.front();
    if (initial >= 'a' && initial <= 'z') initial = char(initial - 'a' + 'A');
    context.PushFont();
    context.SetFont(initialFont);
    const int32_t w = context.MeasureText(&initial, 1).width, h = context.LineHeight();
    render::Rect box{x - w / 2, y - h / 2, x - w / 2 + w, y - h / 2 + h};
    if (clip) box = render::intersect(box, *clip);
    if (!box.isEmpty()) context.DrawText(x - w / 2, y - h / 2, &initial, 1, &box);
    context.PopFont();
}

void PortraitPainter::forget(const std::string& path) { shaped.erase(path); }

}  // namespace lh::characters
