// A small Ruleset for the loader and drawing tests, as file bytes by name,
// ready to be written to disk or packed into a zip, and a text summary of
// what a load left in the maps, for comparing two loads.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace lh::test {

using RulesetFileList = std::vector<std::pair<std::string, std::string>>;  // zip-style name, bytes

// PNG bytes of width x height pixels 0xAARRGGBB, top row first.
std::string pngBytes(uint32_t width, uint32_t height, const std::vector<uint32_t>& argb);

// A glyph file: overlap, and for each glyph code, width, height and alpha
// (top row first).
struct TestGlyph {
    unsigned char code;
    uint8_t width, height;
    std::vector<uint8_t> alpha;
};
std::string glyphFileBytes(int32_t overlap, const std::vector<TestGlyph>& glyphs);

// The Ruleset "Test": base.xml with fonts, frames, icons, dice, classes,
// settings, includes (one of itself, and a chain deeper than the cap).
RulesetFileList testRulesetFiles();

// Writes the files under `dir` (names as given, '/' separated).
void writeRulesetFiles(const std::string& dir, const RulesetFileList& files);

// One line per object in the Ruleset maps, sorted by map and name.
std::string summarizeRuleset();

}  // namespace lh::test
