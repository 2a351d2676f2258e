// The modifier collector's entries, drawing and mouse.
#include "dice/ModifierCollector.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragImage.h"
#include "ui/DragPayload.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"

namespace lh::dice {

namespace {

int32_t add32(int32_t a, int32_t b) {
    return int32_t(std::clamp<int64_t>(int64_t(a) + b, std::numeric_limits<int32_t>::min(),
                                       std::numeric_limits<int32_t>::max()));
}

std::string formatInt(const char* format, int32_t v) {
    char text[32];
    std::snprintf(text, sizeof text, format, v);
    return text;
}

}  // namespace

ModifierCollector::ModifierCollector(const ui::ModifierCollectorSettings& s) : settings(s) {
    rect = render::Rect{s.position.x, s.position.y, s.position.x, s.position.y};
}

void ModifierCollector::redraw() {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    if (!device.IsCreated()) return;
    device.Invalidate(rect.isEmpty() ? nullptr : &rect);
}

void ModifierCollector::Add(int32_t value, const std::string& label) {
    if (settings.limit <= 0 || list.size() >= size_t(settings.limit)) return;
    list.push_back({label, value});
    total = add32(total, value);
    redraw();
}

std::string ModifierCollector::Description() const {
    if (list.size() == 1) return list.front().label.substr(0, kMaxDescription);
    std::string text;
    for (const Entry& e : list) {
        std::string piece = (text.empty() ? "" : ", ") + e.label + formatInt(e.value >= 1 ? " +%d" : " %d", e.value);
        if (text.size() + piece.size() > kMaxDescription) break;
        text += piece;
    }
    return text;
}

int32_t ModifierCollector::Get(std::string& description) {
    description = Description();
    return add32(total, adjust);
}

void ModifierCollector::Clear() {
    total = 0;
    adjust = 0;
    list.clear();
    hoveredEntry = -1;
    redraw();
}

std::string ModifierCollector::TotalText(int32_t value) {
    return formatInt(value > 0 ? "+%d" : "%d", value);
}

std::string ModifierCollector::LabelText() const {
    if (hoveredEntry >= 0 && size_t(hoveredEntry) < list.size()) return list[size_t(hoveredEntry)].label.substr(0, 255);
    if (adjust == 0) return "Modifier";
    return formatInt(adjust > 0 ? "(+%d)" : "(%d)", adjust);
}

void ModifierCollector::resolve() {
    if (!baseIcon && (baseIcon = ui::findIcon(settings.baseName))) {
        rect.right = rect.left + int32_t(baseIcon->GetWidth());
        rect.bottom = rect.top + int32_t(baseIcon->GetHeight());
    }
    if (!focusIcon) focusIcon = ui::findIcon(settings.focusName);
    if (!counterIcon) counterIcon = ui::findIcon(settings.counterName);
    if (!modFont) modFont = ui::findFont(settings.modFontName);
    if (!labelFont) labelFont = ui::findFont(settings.labelFontName);
}

void ModifierCollector::Draw(render::RenderContext& context, bool numberDragRunning) {
    resolve();
    const int32_t x = settings.position.x, y = settings.position.y;
    const uint32_t light = ui::lights().desktop;
    if (baseIcon) context.DrawBitmap(*baseIcon, x, y, light);
    if (numberDragRunning && focusIcon) context.DrawBitmap(*focusIcon, x, y, light);
    const int32_t iconWidth = baseIcon ? int32_t(baseIcon->GetWidth()) : 0;
    auto centred = [&](render::Font* font, const std::string& text, int32_t top) {
        context.PushFont();
        context.SetFont(font);
        const int32_t width = context.MeasureText(text.data(), int32_t(text.size())).width;
        const int32_t left = width > iconWidth ? x : x + (iconWidth - width) / 2;
        context.DrawText(left, top, text.data(), int32_t(text.size()));
        context.PopFont();
    };
    if (modFont && labelFont && baseIcon) centred(modFont, TotalText(add32(total, adjust)), y + settings.modOffset);
    if (labelFont && baseIcon) centred(labelFont, LabelText(), y + settings.labelOffset);
    if (counterIcon) {
        for (size_t i = 0; i < list.size(); ++i)
            context.DrawBitmap(*counterIcon, x + settings.counterOffset.x + int32_t(i) * settings.counterSpacing,
                               y + settings.counterOffset.y, ui::lights().icon);
    }
}

int ModifierCollector::MouseButton(int message, uint32_t, uint32_t) {
    adjustAtPress = adjust;
    // A middle click that became no drag clears the box.
    if (message == ui::mouse::kMiddleUp) Clear();
    return 1;
}

int ModifierCollector::MouseWheel(int notches, uint32_t) {
    adjust = add32(adjust, notches);
    redraw();
    return 1;
}

int ModifierCollector::MouseDrag(int message, uint32_t flags, uint32_t start, uint32_t position) {
    if (message == ui::mouse::kMove && (flags & ui::mouse::kMiddle)) {
        adjust = add32(adjustAtPress, (ui::mouse::yOf(start) - ui::mouse::yOf(position)) / 20);
        adjusting = true;
        redraw();
        return 1;
    }
    if (message == ui::mouse::kMiddleUp) return 1;
    adjusting = false;
    // Any other drag carries the whole modifier away as a number, once.
    if (message == ui::mouse::kMove && !ui::currentDragKind(ui::desktop())) {
        ui::DragPayload payload;
        GetDragData(payload);
        ui::desktop().BeginDrag(*this, payload);
    }
    return 1;
}

int ModifierCollector::MouseDrop(int, uint32_t, uint32_t, ui::DesktopObject* source) {
    // The box's own number dropped back on it adds nothing.
    ui::DragPayload payload;
    if (source && source != this && source->GetDragData(payload) && payload.kind == ui::kDragNumber)
        Add(payload.number, payload.description);
    return 1;
}

int ModifierCollector::GetDragData(ui::DragPayload& payload) {
    if (adjusting) return 0;
    payload.kind = ui::kDragNumber;
    payload.number = Get(payload.description);
    return 1;
}

void ModifierCollector::MenuSelected(int id) {
    if (id == kClearMenuId) Clear();
}

std::unique_ptr<ui::MenuModel> ModifierCollector::BuildMenu() {
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    menu->set(0, "Clear", "erase", kClearMenuId);
    return menu;
}

void ModifierCollector::HoverChanged(bool entered) {
    ui::setDesktopCursor(entered ? ui::cursor::kDraggable : ui::cursor::kDefault);
    hoveredEntry = -1;
    redraw();
}

void ModifierCollector::HoverMove(uint32_t position) {
    ui::setDesktopCursor(ui::cursor::kDraggable);
    hoveredEntry = -1;
    if (counterIcon) {
        const int32_t px = ui::mouse::xOf(position) - rect.left, py = ui::mouse::yOf(position) - rect.top;
        for (size_t i = 0; i < list.size(); ++i) {
            const int32_t cx = settings.counterOffset.x + int32_t(i) * settings.counterSpacing;
            const int32_t cy = settings.counterOffset.y;
            if (px >= cx && px < cx + int32_t(counterIcon->GetWidth()) && py >= cy &&
                py < cy + int32_t(counterIcon->GetHeight())) {
                hoveredEntry = int(i);
                break;
            }
        }
    }
    redraw();
}

}  // namespace lh::dice
