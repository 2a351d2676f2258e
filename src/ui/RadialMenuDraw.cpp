// Drawing the radial menu: only the deepest open ring shows, and the label
// of the slot under the mouse (or marked by the keyboard) stands on its hub.
#include <cstring>

#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/DesktopObject.h"
#include "ui/Lights.h"
#include "ui/RadialMenu.h"
#include "ui/RulesetData.h"

namespace lh::ui {

namespace {

void drawCentred(render::RenderContext& context, render::Bitmap* icon, int32_t x, int32_t y) {
    if (!icon) return;
    context.DrawBitmap(*icon, x - int32_t(icon->GetWidth()) / 2, y - int32_t(icon->GetHeight()) / 2, lights().icon);
}

}  // namespace

void RadialMenu::Draw(render::RenderContext& context, int32_t anchorX, int32_t anchorY, uint32_t mousePosition) {
    const RadialMenu& ring = Deepest();
    const int32_t cx = anchorX + ring.offsetX, cy = anchorY + ring.offsetY;
    drawCentred(context, ring.hubIcon, cx, cy);
    for (int slot = 0; slot < kSlots; ++slot) {
        int32_t dx, dy;
        SlotOffset(slot, ring.radius, dx, dy);
        drawCentred(context, ring.icons[size_t(slot)], cx + dx, cy + dy);
    }
    int slot = ring.SlotAt(mouse::xOf(mousePosition) - cx, mouse::yOf(mousePosition) - cy);
    if (slot < 0) slot = ring.marked;
    if (slot < 0 || ring.labels[size_t(slot)].empty()) return;
    const std::string& label = ring.labels[size_t(slot)];
    context.PushFont();
    RulesetFont* font = findFont("mini_name");
    context.SetFont(font);
    const int32_t width = font ? context.MeasureText(label.c_str(), int32_t(label.size())).width : 0;
    const int32_t left = cx - width / 2;
    if (FrameDef* frame = findFrame("mini_name")) {
        frame->Draw(context, {left - 5, cy - 7, left + width + 5, cy + 9}, lights().frame, nullptr);
    }
    if (font) context.DrawText(left, cy - 7, label.c_str(), int32_t(label.size()));
    context.PopFont();
}

}  // namespace lh::ui
