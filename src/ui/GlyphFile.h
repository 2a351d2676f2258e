// Glyph font files: a signed 32-bit overlap, then records of character code,
// width, height and width x height alpha bytes, rows from the bottom up.
// Little-endian, no header. Parsing is pure and bounds-checked throughout.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lh::ui {

struct Glyph {
    uint8_t width = 0;
    uint8_t height = 0;
    std::vector<uint8_t> alpha;  // width x height, top row first (turned on reading)
};

struct GlyphSet {
    int32_t overlap = 0;
    std::array<Glyph, 256> glyphs;
    std::array<bool, 256> present{};
};

// The number of records a glyph file holds: one for each of the codes 32..255.
constexpr int kGlyphRecords = 224;

// Reads as many whole records as the bytes hold, up to 224. A record cut
// short ends the reading: what came before it stays. False with a reason if
// not even the overlap is there.
bool parseGlyphFile(const void* bytes, size_t length, GlyphSet& out, std::string& error);

// The file for a set, rows bottom-up as stored (the writer of our own fonts).
std::vector<uint8_t> writeGlyphFile(const GlyphSet& set);

}  // namespace lh::ui
