// Renders a glyph font file from a system font with FreeType: one record for
// each code 32..255 of Windows-1252, every glyph a cell of the full line
// height so that glyphs drawn with their tops on one line share a baseline.
// With "oblique" after the output, the outlines are slanted, for a face that
// has no italic of its own; the cells then reach past the advance, and the
// file's overlap takes the difference back.
// Usage: lh_glyphgen "FONTCONFIG PATTERN" PIXEL_SIZE OUTPUT.gly [oblique]
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/Encoding.h"
#include "platform/SystemFonts.h"
#include "ui/GlyphFile.h"

int main(int argc, char** argv) {
    const bool oblique = argc == 5 && std::string(argv[4]) == "oblique";
    if (argc != 4 && !oblique) {
        std::fprintf(stderr, "usage: %s PATTERN PIXEL_SIZE OUTPUT.gly [oblique]\n", argv[0]);
        return 2;
    }
    std::string file = lh::platform::findFontFile(argv[1]);
    int pixels = std::atoi(argv[2]);
    FT_Library ft;
    FT_Face face;
    if (file.empty() || pixels <= 0 || FT_Init_FreeType(&ft) || FT_New_Face(ft, file.c_str(), 0, &face) ||
        FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixels))) {
        std::fprintf(stderr, "cannot load a font for \"%s\"\n", argv[1]);
        return 1;
    }
    const int ascender = int(face->size->metrics.ascender >> 6);
    const int height = int((face->size->metrics.ascender - face->size->metrics.descender) >> 6);
    // The slant moves the top of a glyph right by about a fifth of its height
    // and the bottom of a descender a little left: `reach` on the right and
    // one pixel on the left make room for both.
    int reach = 0, shift = 0;
    if (oblique) {
        FT_Matrix slant{0x10000, 0x3400, 0, 0x10000};
        FT_Set_Transform(face, &slant, nullptr);
        reach = (ascender * 0x3400 + 0xFFFF) / 0x10000 + 1;
        shift = 1;
    }
    lh::ui::GlyphSet set;
    set.overlap = reach;
    for (int code = 256 - lh::ui::kGlyphRecords; code < 256; ++code) {
        char32_t cp = lh::platform::windows1252ToCodePoint(static_cast<unsigned char>(code));
        FT_UInt index = FT_Get_Char_Index(face, cp);
        if (cp < 0x20 || (cp >= 0x7F && cp < 0xA0) || index == 0) continue;  // no glyph: an empty record
        if (FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_TARGET_NORMAL)) continue;
        FT_GlyphSlot g = face->glyph;
        int advance = int((g->advance.x + 32) >> 6);
        int width = std::max(advance, 1) + reach;
        if (width > 255 || height > 255) continue;
        lh::ui::Glyph& glyph = set.glyphs[size_t(code)];
        glyph.width = uint8_t(width);
        glyph.height = uint8_t(height);
        glyph.alpha.assign(size_t(width) * size_t(height), 0);
        for (unsigned row = 0; row < g->bitmap.rows; ++row) {
            int y = ascender - g->bitmap_top + int(row);
            if (y < 0 || y >= height) continue;
            for (unsigned col = 0; col < g->bitmap.width; ++col) {
                int x = g->bitmap_left + int(col) + shift;
                if (x < 0 || x >= width) continue;
                glyph.alpha[size_t(y) * size_t(width) + size_t(x)] = g->bitmap.buffer[row * unsigned(g->bitmap.pitch) + col];
            }
        }
    }
    std::vector<uint8_t> bytes = lh::ui::writeGlyphFile(set);
    std::ofstream out(argv[3], std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    FT_Done_Face(face);
    FT_Done_FreeType(ft);
    return out ? 0 : 1;
}
