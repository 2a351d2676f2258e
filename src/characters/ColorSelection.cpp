// The palette's cells, their colours and what a click on one does; see
// ColorSelection.h.
#include "characters/ColorSelection.h"

#include <algorithm>
#include <memory>

#include "db/Users.h"
#include "render/RenderContext.h"
#include "ui/ColorPort.h"
#include "ui/ControlFactory.h"
#include "ui/FrameDef.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::characters {

namespace {

// One channel of an HLS colour, the hue `x` in degrees.
double channel(double m1, double m2, double x) {
    if (x < 0) x += 360;
    if (x >= 360) x -= 360;
    if (x < 60) return m1 + (m2 - m1) * x / 60;
    if (x < 180) return m2;
    if (x < 240) return m1 + (m2 - m1) * (240 - x) / 60;
    return m1;
}

uint32_t hlsToBgr(double hue, double l, double s) {
    double r = l, g = l, b = l;
    if (s != 0) {
        const double m2 = l <= 0.5 ? l * (1 + s) : l + s - l * s;
        const double m1 = 2 * l - m2;
        r = channel(m1, m2, hue + 120);
        g = channel(m1, m2, hue);
        b = channel(m1, m2, hue - 120);
    }
    return uint32_t(b * 255) << 16 | uint32_t(g * 255) << 8 | uint32_t(r * 255);
}

}  // namespace

ColorSelection::ColorSelection(ui::Window& w) : ui::Control(w) {
    if (const ui::ColorPort& colors = ui::colorPort(); colors.whiteNumerals) numeralsWhite = colors.whiteNumerals();
}

void ColorSelection::Parse(db::XmlElement& element, db::DbNode*) {
    ui::readText(element, "NAME", name);
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "SPACING") ui::readInt(*child, "VALUE", spacing);
        if (tag == "SELECTIONFRAME") ui::readText(*child, "NAME", selectionFrameName);
    });
}

bool ColorSelection::cellColor(int cell, uint32_t& bgr) {
    if (cell < 0 || cell >= kColumns * kRows) return false;
    const int r = cell / kColumns, c = cell % kColumns;
    if (r == kRows - 1) {
        if (c != 0 && c != kColumns - 1) return false;
        bgr = c == 0 ? 0 : 0xFFFFFF;
        return true;
    }
    const int h = r * 255 / 16, s = (c / 8 + 1) * 255 / 2, l = (c % 8 + 1) * 255 / 9;
    bgr = hlsToBgr(h * 1.4117647, l / 255.0, s / 255.0);
    return true;
}

render::Rect ColorSelection::cellRect(int cell) const {
    const int32_t w = rect.width(), h = rect.height();
    const int32_t c = cell % kColumns, r = cell / kColumns;
    const int32_t left = c * w / kColumns, top = r * h / kRows;
    return {left, top, left + w / kColumns - spacing, top + h / kRows - spacing};
}

int ColorSelection::cellAt(int32_t x, int32_t y) const {
    for (int cell = 0; cell < kColumns * kRows; ++cell) {
        if (cellRect(cell).contains(x, y)) return cell;
    }
    return -1;
}

void ColorSelection::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t ox, oy;
    GetOrigin(ox, oy);
    ui::FrameDef* frame = ui::findFrame(selectionFrameName);
    const int numerals = numeralsWhite ? kWhiteNumerals : kBlackNumerals;
    for (int cell = 0; cell < kColumns * kRows; ++cell) {
        render::Rect box = cellRect(cell);
        box = {box.left + ox, box.top + oy, box.right + ox, box.bottom + oy};
        if (frame && (cell == selectedCell || cell == numerals)) {
            const render::Rect grown{box.left - spacing, box.top - spacing, box.right + spacing, box.bottom + spacing};
            frame->Draw(context, grown, ui::lights().frame, &clip);
        }
        // Filled rectangles are not cut by the device: each piece is cut here.
        auto fill = [&](render::Rect part, uint32_t bgr) {
            part = render::intersect(part, clip);
            if (!part.isEmpty()) context.DrawRect(part.left, part.top, part.right, part.bottom, bgr, true);
        };
        uint32_t bgr = 0;
        if (cellColor(cell, bgr)) {
            fill(box, bgr);
        } else if (cell == kBlackNumerals || cell == kWhiteNumerals) {
            // A "T" in the numerals' colour on a grey ground.
            const int32_t w = box.width(), h = box.height(), thick = std::max(1, h / 4);
            const uint32_t ink = cell == kWhiteNumerals ? 0xFFFFFF : 0;
            fill(box, 0x808080);
            fill({box.left + w / 4, box.top + h / 4, box.left + w * 3 / 4, box.top + h / 4 + thick}, ink);
            fill({box.left + w / 2 - thick / 2, box.top + h / 4, box.left + w / 2 - thick / 2 + thick,
                  box.top + h * 3 / 4},
                 ink);
        }
    }
}

int ColorSelection::MouseButton(int message, uint32_t, uint32_t position) {
    if (message == ui::mouse::kLeftDown) return ui::kTakeCapture;
    if (message != ui::mouse::kLeftUp) return ui::kPass;
    int32_t ox, oy;
    GetOrigin(ox, oy);
    const int cell = cellAt(ui::mouse::xOf(position) - ox, ui::mouse::yOf(position) - oy);
    uint32_t bgr = 0;
    if (cellColor(cell, bgr)) {
        selectedCell = cell;
        selectedColor = bgr;
    } else if (cell == kBlackNumerals || cell == kWhiteNumerals) {
        numeralsWhite = cell == kWhiteNumerals;
    }
    Invalidate();
    const ui::ColorPort& colors = ui::colorPort();
    uint32_t color = selectedColor;
    // Without a pick yet, the numerals change on the pointer's colour.
    if (selectedCell < 0 && !(colors.pointerColorOf && colors.pointerColorOf(std::string(db::localUser().name.view()), color))) color = 255;
    if (colors.setPointerColor) colors.setPointerColor(color);
    if (colors.setDiceColor) colors.setDiceColor(color, numeralsWhite);
    return ui::kTakeCapture;
}

void registerColorSelection() {
    ui::registerControlTag("COLORSELECTION",
                           [](ui::Window& w) -> std::unique_ptr<ui::Control> { return std::make_unique<ColorSelection>(w); });
}

}  // namespace lh::characters
