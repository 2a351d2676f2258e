// Results and the modifier collector: shown values, the die text of chat
// messages, the box's measure (also with a missing icon), descriptions,
// and the packing of dice colours.
#include <gtest/gtest.h>

#include <memory>

#include "dice/DiceScene.h"
#include "dice/DieResult.h"
#include "dice/ModifierCollector.h"
#include "render/Bitmap.h"
#include "render/Font.h"
#include "render/RecordingRenderContext.h"
#include "ui/DieType.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"

namespace lh::dice {
namespace {

// Every character 7 pixels wide, lines 12 high.
class FixedFont : public render::Font {
public:
    bool IsLoaded() const override { return true; }
    int32_t LineHeight() const override { return 12; }
    render::TextSize MeasureText(const char*, int32_t length) const override { return {7 * length, 12}; }
    int32_t HitTestText(const char*, int32_t length, int32_t, int32_t& extent) const override {
        extent = 0;
        return length;
    }
    void DrawText(render::RenderContext&, int32_t, int32_t, const char*, int32_t, const render::Rect*) override {}
};

ui::DieType* addDieType(const std::string& name, int faces) {
    auto type = std::make_unique<ui::DieType>();
    type->name = name;
    for (int i = 1; i <= faces; ++i) type->values.push_back(std::to_string(i));
    ui::DieType* raw = type.get();
    ui::ruleset().dieTypes[name] = std::move(type);
    return raw;
}

const ui::DieType* lookup(std::string_view name) {
    return ui::findDieType(name);
}

TEST(DieResult, ShownValuesByMode) {
    const struct {
        int32_t total;
        ShownValue mode;
        int32_t shown;
    } table[] = {{7, ShownValue::Halved, 3},     {-7, ShownValue::Halved, -3},   {7, ShownValue::Doubled, 14},
                 {7, ShownValue::Negated, -7},   {7, ShownValue::Sum, 7},        {7, ShownValue::None, 7},
                 {INT32_MIN, ShownValue::Negated, INT32_MAX}, {INT32_MAX, ShownValue::Doubled, INT32_MAX}};
    for (const auto& row : table) {
        DieResult r;
        r.SetModifier(row.total);
        r.SetDisplayMode(row.mode);
        EXPECT_EQ(r.ShownValue(), row.shown) << row.total << " mode " << int(row.mode);
    }
}

TEST(DieResult, DieTextRoundTripsAndSkipsWhatItCannotRead) {
    ui::clearRuleset();
    ui::DieType* d6 = addDieType("d6", 6);
    ui::DieType* d8 = addDieType("d8", 8);
    DieResult r;
    r.AddDie(4, d6);
    r.AddDie(1, d6);
    r.AddDie(7, d8);
    r.SetModifier(2);
    EXPECT_EQ(encodeDieText(r), "d6=4,d6=1,d8=7:2");
    DieResult back = decodeDieText(encodeDieText(r), lookup);
    EXPECT_EQ(back.values, r.values);
    EXPECT_EQ(back.dice, r.dice);
    EXPECT_EQ(back.Total(), 14);

    DieResult bare;
    bare.SetModifier(-3);
    EXPECT_EQ(encodeDieText(bare), ":-3");

    DieResult odd = decodeDieText("?d6=3,nothing,d99=4,=5,d8=x:junk", lookup);
    EXPECT_TRUE(odd.hidden);
    EXPECT_EQ(odd.values, (std::vector<int32_t>{3, 0}));
    EXPECT_EQ(odd.modifier, 0);
    EXPECT_TRUE(decodeDieText("", lookup).dice.empty());
    EXPECT_TRUE(decodeDieText("d6=1", lookup).dice.empty());  // no separator: only a modifier

    seedRandom(7);
    DieResult typed;
    for (int i = 0; i < 30; ++i) typed.AddType(d6);
    typed.Roll();
    ASSERT_EQ(typed.values.size(), 30u);
    for (int32_t v : typed.values) EXPECT_TRUE(v >= 1 && v <= 6);
    ui::DieType empty;
    EXPECT_EQ(randomFaceValue(empty), 0);
    ui::clearRuleset();
}

TEST(DieResult, MeasureWithAndWithoutIcons) {
    FixedFont font;
    DieBoxStyle style;
    style.margin = 6;
    style.numberTailMargin = 4;
    style.modFont = &font;
    style.resultFont = &font;

    DieResult noDice;  // prints "0"
    EXPECT_EQ(measureDieResult(noDice, style, 300, false), (render::Rect{0, 0, 12 + 7, 12}));

    // Dice whose type has no icon: no width to divide by.
    ui::DieType iconless;
    iconless.name = "d6";
    DieResult r;
    for (int i = 0; i < 5; ++i) r.AddDie(3, &iconless);
    r.SetModifier(2);
    DieResultLayout l = layoutDieResult(r, style, 300, false, true);
    EXPECT_EQ(l.iconWidth, 0);
    EXPECT_GE(l.columns, 1);
    EXPECT_EQ(l.modifierText, "+2");
    EXPECT_EQ(measureDieResult(r, style, 300, false).width(), 12 + 14 + 4);

    // With 20 x 20 icons, 5 dice in 100 pixels less the text: 3 to a row.
    ui::DieType iconic;
    iconic.icon = std::make_unique<render::Bitmap>();
    std::vector<uint32_t> pixels(400, 0xFFFFFFFF);
    iconic.icon->LoadFromPixels(20, 20, pixels.data());
    DieResult wide;
    for (int i = 0; i < 5; ++i) wide.AddDie(3, &iconic);
    wide.SetDisplayMode(ShownValue::Sum);  // " 15"
    l = layoutDieResult(wide, style, 100, false, true);
    EXPECT_EQ(l.textWidth, 21 + 4);
    EXPECT_EQ(l.columns, 3);
    EXPECT_EQ(measureDieResult(wide, style, 100, false), (render::Rect{0, 0, 12 + 25 + 40, 12 + 20}));
    // The text wider than the line: one die to a row.
    EXPECT_EQ(layoutDieResult(wide, style, 10, false, true).columns, 1);

    // Drawn, the total stands in grey behind the modifier, each die's
    // number in the font's own colour.
    render::RecordingRenderContext drawn;
    drawDieResult(wide, style, drawn, render::Rect{0, 0, 100, 32}, render::Rect{0, 0, 200, 200}, false);
    int numbers = 0, totals = 0;
    for (const render::DrawCall& c : drawn.calls) {
        if (c.kind != render::DrawCall::Text) continue;
        if (c.text == " 15") {
            ++totals;
            EXPECT_EQ(c.color, 0xFFAFAFAFu);
        } else if (c.text == "3") {
            ++numbers;
            EXPECT_EQ(c.color, 0u);
        }
    }
    EXPECT_EQ(totals, 1);
    EXPECT_EQ(numbers, 5);
}

TEST(ModifierCollector, EntriesDescriptionAndAdjustment) {
    ui::ModifierCollectorSettings settings;
    settings.limit = 3;
    ModifierCollector c(settings);
    std::string description;
    c.Add(3, "Strength");
    EXPECT_EQ(c.Get(description), 3);
    EXPECT_EQ(description, "Strength");
    c.Add(-2, "Prone");
    EXPECT_EQ(c.Get(description), 1);
    EXPECT_EQ(description, "Strength +3, Prone -2");
    c.Add(1, "Bless");
    c.Add(5, "Too many");  // beyond the limit: dropped without a word
    EXPECT_EQ(c.entries().size(), 3u);
    EXPECT_EQ(c.LabelText(), "Modifier");
    c.MouseWheel(2, 0);
    EXPECT_EQ(c.LabelText(), "(+2)");
    EXPECT_EQ(c.Get(description), 4);
    EXPECT_EQ(description, "Strength +3, Prone -2, Bless +1");  // the adjustment never shows
    EXPECT_EQ(c.entries().size(), 3u);
    c.MouseWheel(-5, 0);
    EXPECT_EQ(c.LabelText(), "(-3)");
    EXPECT_EQ(ModifierCollector::TotalText(0), "0");
    EXPECT_EQ(ModifierCollector::TotalText(4), "+4");
    c.MouseButton(ui::mouse::kMiddleUp, 0, 0);  // a middle click clears
    EXPECT_EQ(c.Get(description), 0);
    EXPECT_EQ(description, "");

    ModifierCollector none(ui::ModifierCollectorSettings{});  // limit 0 takes nothing
    none.Add(1, "x");
    EXPECT_TRUE(none.entries().empty());
    auto menu = none.BuildMenu();
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->find("Clear"), 0);
}

TEST(DiceColors, PackingAndTheRemembered) {
    const float body[4] = {0.4392f, 0.0f, 0.1647f, 1.0f};
    EXPECT_EQ(packColor(body), 0xFF70002Au);
    const float odd[4] = {1.5f, -0.2f, 0.0f, 0.999f};
    EXPECT_EQ(packColor(odd), 0xFFFF0000u);
    float b[4], n[4];
    diceColorToFloats(kDefaultDiceColor, b, n);
    EXPECT_EQ(packColor(b), 0xFF70002Au);
    EXPECT_EQ(packColor(n), 0xFFFFFFFFu);
    diceColorToFloats(0x00FF0000u, b, n);  // blue body, black numerals
    EXPECT_EQ(packColor(b), 0xFF0000FFu);
    EXPECT_EQ(packColor(n), 0u);
}

}  // namespace
}  // namespace lh::dice
