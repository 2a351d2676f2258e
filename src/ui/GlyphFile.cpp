// Glyph font files.
#include "ui/GlyphFile.h"

namespace lh::ui {

bool parseGlyphFile(const void* bytes, size_t length, GlyphSet& out, std::string& error) {
    out = GlyphSet{};
    const auto* b = static_cast<const uint8_t*>(bytes);
    if (!b || length < 4) {
        error = "glyph file shorter than its overlap field";
        return false;
    }
    out.overlap = int32_t(uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24);
    size_t at = 4;
    for (int record = 0; record < kGlyphRecords; ++record) {
        if (length - at < 3) break;
        uint8_t code = b[at], w = b[at + 1], h = b[at + 2];
        size_t cells = size_t(w) * h;
        if (length - at - 3 < cells) {
            error = "glyph record cut short";
            break;
        }
        Glyph& g = out.glyphs[code];
        g.width = w;
        g.height = h;
        g.alpha.resize(cells);
        const uint8_t* rows = b + at + 3;
        for (size_t y = 0; y < h; ++y) {
            // Stored bottom row first; kept top row first like every picture.
            const uint8_t* src = rows + (size_t(h) - 1 - y) * w;
            std::copy(src, src + w, g.alpha.begin() + std::ptrdiff_t(y * w));
        }
        out.present[code] = w > 0 && h > 0;  // an empty record is no glyph
        at += 3 + cells;
    }
    return true;
}

std::vector<uint8_t> writeGlyphFile(const GlyphSet& set) {
    std::vector<uint8_t> out;
    uint32_t overlap = uint32_t(set.overlap);
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(overlap >> (8 * i)));
    for (int code = 256 - kGlyphRecords; code < 256; ++code) {
        const Glyph& g = set.glyphs[size_t(code)];
        out.push_back(uint8_t(code));
        out.push_back(g.width);
        out.push_back(g.height);
        for (size_t y = g.height; y-- > 0;) {
            out.insert(out.end(), g.alpha.begin() + std::ptrdiff_t(y * g.width),
                       g.alpha.begin() + std::ptrdiff_t((y + 1) * g.width));
        }
    }
    return out;
}

}  // namespace lh::ui
