// What a roll leaves behind in a chat line: the dice with their values, a
// modifier, and on request the total shown halved, doubled or negated. Also
// the die text that carries a result inside a chat message
// ("d6=4,d6=1,d8=7:2", a bare modifier ":-3"), and the box it is drawn in.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "render/Rect.h"

namespace lh::render {
class Font;
class RenderContext;
class Bitmap;
}  // namespace lh::render
namespace lh::ui {
struct DieType;
class FrameDef;
}  // namespace lh::ui

namespace lh::dice {

enum class ShownValue : int32_t {
    None = 0,  // no total shown
    Sum = 1,
    Negated = 2,
    Doubled = 3,
    Halved = 4,
};

// Where results get their random faces when no die is thrown (a typed roll).
// The same seed gives the same faces; LOREHAVEN_DICE_SEED fixes it for tests.
uint32_t nextRandom();
void seedRandom(uint32_t seed);

// DieType.RandomValue(): the number on a face picked at random; 0 for a die
// without faces.
int32_t randomFaceValue(const ui::DieType& type);

class DieResult {
public:
    void AddDie(int32_t value, const ui::DieType* type, bool atFront = false);
    void AddType(const ui::DieType* type, bool atFront = false);
    // A value for each die, picked from its faces.
    void Roll();
    void SetModifier(int32_t n) { modifier = n; }
    // The modifier plus the sum of the values; kept within 32 bits.
    int32_t Total() const;
    void SetDisplayMode(ShownValue mode) { displayMode = mode; }
    int32_t ShownValue() const;

    std::vector<const ui::DieType*> dice;  // not owned
    std::vector<int32_t> values;
    bool rolled = false;
    int32_t modifier = 0;
    dice::ShownValue displayMode = dice::ShownValue::None;
    bool hidden = false;
    // The throw records of a roll of thrown dice, kept inside the program:
    // from them any machine can play the roll again and read the same faces.
    std::vector<uint8_t> throwRecords;
};

// The die text of a chat message. A result made from it looks its dice up by
// name with `find`; names that find nothing add nothing, items without "="
// are skipped.
std::string encodeDieText(const DieResult& result);
using DieTypeLookup = const ui::DieType* (*)(std::string_view name);
DieResult decodeDieText(std::string_view text, DieTypeLookup find);

// The look of result boxes, from the Ruleset's DIEBOX.
struct DieBoxStyle {
    const ui::FrameDef* frame = nullptr;
    int32_t margin = 0;
    int32_t numberTailMargin = 0;
    render::Bitmap* secretIcon = nullptr;  // stands for a secret result
    render::Font* modFont = nullptr;
    render::Font* resultFont = nullptr;
    uint32_t frameLight = 0xFFFFFFFF;
    uint32_t iconLight = 0xFFFFFFFF;
};

// The measured box of a result in a chat line of `availableWidth` pixels.
// `secretFromMe`: a hidden result on a client, where the dice do not show.
struct DieResultLayout {
    int32_t iconWidth = 0, iconHeight = 0;
    int32_t slots = 0;
    int32_t columns = 1;  // never 0: a text too wide puts one die to a row
    int32_t textWidth = 0;
    std::string modifierText, totalText;
    bool textPart = false;
};
DieResultLayout layoutDieResult(const DieResult& result, const DieBoxStyle& style, int32_t availableWidth,
                                bool secretFromMe, bool forMeasure);
render::Rect measureDieResult(const DieResult& result, const DieBoxStyle& style, int32_t availableWidth,
                              bool secretFromMe);
// Draws the box with its left top at `rect`'s; answers the frame's outer
// rectangle, which hit tests use (empty without a frame).
render::Rect drawDieResult(const DieResult& result, const DieBoxStyle& style, render::RenderContext& context,
                           const render::Rect& rect, const render::Rect& clip, bool secretFromMe);

}  // namespace lh::dice
