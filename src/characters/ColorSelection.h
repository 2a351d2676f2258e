// COLORSELECTION: the user's palette, reached from his own portrait in the
// strip. A grid of 16 columns and 17 rows: sixteen rows of hues, each in
// eight lightnesses at two saturations, then black and white and the two
// buttons for black or white numerals on the dice. A click takes the colour
// for the user's pointer and for his dice.
#pragma once

#include <cstdint>
#include <string>

#include "ui/Control.h"

namespace lh::characters {

class ColorSelection final : public ui::Control {
public:
    static constexpr int kColumns = 16, kRows = 17;
    static constexpr int kBlackNumerals = 16 * 16 + 7, kWhiteNumerals = 16 * 16 + 8;

    explicit ColorSelection(ui::Window& window);

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;

    // The colour of cell r × 16 + c as 0x00BBGGRR; false for a cell without
    // one (the numerals buttons and the empty places of the last row).
    static bool cellColor(int cell, uint32_t& bgr);
    // The cell's rectangle relative to the control's top left corner.
    render::Rect cellRect(int cell) const;
    // The cell under a point relative to the control, or -1.
    int cellAt(int32_t x, int32_t y) const;

    int32_t spacing = 1;
    std::string selectionFrameName;
    int selectedCell = -1;
    uint32_t selectedColor = 0;
    bool numeralsWhite = true;
};

// Enters the control's tag into the control factory.
void registerColorSelection();

}  // namespace lh::characters
