// The dice's meshes and numeral picture, made from the shape tables: each
// face of a face table becomes a flat polygon with the numeral of its row
// on it, so that the face which shows is the value the reading gives. The
// d4 is read by its top corner: each of its faces carries the numbers of
// its three corners, each near its corner.
#pragma once

#include <cstdint>
#include <vector>

#include "render/DiceRenderer.h"

namespace lh::dice {

struct DiceArt {
    std::vector<render::DieMeshData> meshes;  // one per shape, in shape order
    render::ArgbPicture numerals;
};

// What goes on each face's cell of the picture.
enum class NumeralStyle {
    Numbers,      // the numerals, white on transparent
    ValueColors,  // each cell a flat colour that encodes its value (tests)
};

DiceArt makeDiceArt(NumeralStyle style = NumeralStyle::Numbers);

// The colour a value is painted in with NumeralStyle::ValueColors, and back
// (-1 for a colour that is no value's). Percentile values are 0..90.
uint32_t valueColor(int32_t value);
int32_t valueOfColor(uint32_t argb);

// The text on a face of the shape with that value: "00" for the
// percentile's 0, "10".."90" for its others; 6 and 9 get a dot.
const char* faceLabel(int32_t shape, int32_t value);

}  // namespace lh::dice
