// The palette with the program's subsystems started: its cells and their
// colours, the numerals buttons, and what a click gives the local user's
// pointer and dice (kept in the registry for the next start).
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "WholeProgram.h"
#include "characters/ColorSelection.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "net/Session.h"
#include "platform/Registry.h"
#include "render/RecordingRenderContext.h"
#include "support/TestSupport.h"
#include "ui/ColorPort.h"
#include "ui/Desktop.h"
#include "ui/DesktopObject.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"
#include "ui/Window.h"

using namespace lh;
using characters::ColorSelection;

namespace {

// Cells 20 pixels apart and 18 wide: the grid is 320 × 340, its control
// the window less its far pixel.
const char* kPaletteRuleset = R"(<root>
  <windowclass name="colorselection">
    <defaultsize width="321" height="341"/><defaultposition x="100" y="50"/>
    <sheetdata>
      <colorselection name="colors"><bounds rect="0,0,-1,-1"/><spacing value="2"/></colorselection>
    </sheetdata>
  </windowclass>
</root>)";

class Palette : public test::WholeProgram {
protected:
    void SetUp() override {
        const char* before = std::getenv("LOREHAVEN_CONFIG_DIR");
        if (before) formerConfig = before;
        setenv("LOREHAVEN_CONFIG_DIR", dir.str().c_str(), 1);
        hostOn(kPaletteRuleset);
        start();
        const ui::WindowClass* cls = ui::findWindowClass("colorselection");
        ASSERT_TRUE(cls);
        window = ui::desktop().OpenWindow(*cls, "");
        ASSERT_TRUE(window);
        palette = dynamic_cast<ColorSelection*>(window->FindControl("colors"));
        ASSERT_TRUE(palette);
    }
    void TearDown() override {
        WholeProgram::TearDown();
        if (formerConfig) setenv("LOREHAVEN_CONFIG_DIR", formerConfig->c_str(), 1);
    }
    // A click in the middle of the cell.
    void click(int cell) {
        int32_t x, y;
        palette->GetOrigin(x, y);
        const render::Rect r = palette->cellRect(cell);
        const uint32_t at = ui::mouse::pack(x + (r.left + r.right) / 2, y + (r.top + r.bottom) / 2);
        EXPECT_EQ(palette->MouseButton(ui::mouse::kLeftDown, ui::mouse::kLeft, at), ui::kTakeCapture);
        palette->MouseButton(ui::mouse::kLeftUp, 0, at);
    }
    uint32_t pointerColour() {
        uint32_t bgr = 0;
        const ui::ColorPort& colors = ui::colorPort();
        EXPECT_TRUE(colors.pointerColorOf && colors.pointerColorOf(std::string(db::localUser().name.view()), bgr));
        return bgr;
    }
    std::string diceColour() { return platform::readRegistryValue("Software\\Lorehaven", "DiceColor").value_or(""); }

    test::TempDir dir;
    std::optional<std::string> formerConfig;
    ui::Window* window = nullptr;
    ColorSelection* palette = nullptr;
};

}  // namespace

TEST_F(Palette, CellsHaveTheirHuesLightnessesAndPlaces) {
    uint32_t bgr = 0;
    // Hue by row, saturation by half, lightness by column within the half.
    const std::pair<int, uint32_t> samples[] = {
        {0, 0x0E0E29u},           // red, darkest, half saturated
        {11, 0x0000E2u},          // red, saturated
        {5 * 16 + 11, 0x00E21Fu}, // green
        {8 * 16 + 4, 0xC4C554u},  // a light blue-green
        {15 * 16 + 15, 0xDAC4FFu} // the lightest of the last hue
    };
    for (const auto& [cell, expected] : samples) {
        ASSERT_TRUE(ColorSelection::cellColor(cell, bgr)) << cell;
        EXPECT_EQ(bgr, expected) << cell;
    }
    // The last row: black, white, and nothing else but two buttons.
    ASSERT_TRUE(ColorSelection::cellColor(16 * 16, bgr));
    EXPECT_EQ(bgr, 0u);
    ASSERT_TRUE(ColorSelection::cellColor(16 * 16 + 15, bgr));
    EXPECT_EQ(bgr, 0xFFFFFFu);
    for (int c : {1, 6, 7, 8, 9, 14}) EXPECT_FALSE(ColorSelection::cellColor(16 * 16 + c, bgr)) << c;
    EXPECT_FALSE(ColorSelection::cellColor(17 * 16, bgr));

    EXPECT_EQ(palette->cellRect(0), (render::Rect{0, 0, 18, 18}));
    EXPECT_EQ(palette->cellRect(16 + 1), (render::Rect{20, 20, 38, 38}));
    EXPECT_EQ(palette->cellAt(19, 5), -1);  // in the gap
    EXPECT_EQ(palette->cellAt(21, 330), 16 * 16 + 1);

    // Drawn: a filled rectangle for every colour, two grey buttons with
    // their "T" (bar and stem) each.
    render::RecordingRenderContext context;
    palette->Draw(context, {0, 0, 1024, 768});
    int filled = 0;
    for (const render::DrawCall& c : context.calls) filled += c.kind == render::DrawCall::Rect && c.filled;
    EXPECT_EQ(filled, 16 * 16 + 2 + 2 * 3);
}

TEST_F(Palette, AClickColoursThePointerAndTheDice) {
    // Nothing picked yet: white numerals stay with the pointer's red.
    click(16 * 16 + 3);
    EXPECT_EQ(palette->selectedCell, -1);
    EXPECT_EQ(pointerColour(), 255u);
    click(16 * 16 + 7);  // black numerals
    EXPECT_FALSE(palette->numeralsWhite);
    EXPECT_EQ(diceColour(), std::to_string(0x000000FFu));

    click(5 * 16 + 11);
    uint32_t green = 0;
    ColorSelection::cellColor(5 * 16 + 11, green);
    EXPECT_EQ(palette->selectedCell, 5 * 16 + 11);
    EXPECT_EQ(palette->selectedColor, green);
    EXPECT_EQ(pointerColour(), green);
    EXPECT_EQ(diceColour(), std::to_string(green));
    click(16 * 16 + 8);  // white numerals, the same colour
    EXPECT_TRUE(palette->numeralsWhite);
    EXPECT_EQ(diceColour(), std::to_string(0xFF000000u | green));
    EXPECT_TRUE(ui::colorPort().whiteNumerals());
}
