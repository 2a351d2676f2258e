// System fonts: FreeType rasterisation into a glyph atlas.
#include "render/FreeTypeFont.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <vector>

#include "platform/Encoding.h"
#include "platform/SystemFonts.h"
#include "render/RenderContext.h"

namespace lh::render {

namespace {

// One FreeType library for the process; faces are opened and closed while a
// font is built, so nothing of FreeType lives in a font afterwards.
FT_Library library() {
    static FT_Library lib = [] {
        FT_Library l = nullptr;
        if (FT_Init_FreeType(&l) != 0) l = nullptr;
        return l;
    }();
    return lib;
}

constexpr int32_t kAtlasWidth = 512;
// Above this size the atlas is as wide as it may be high.
constexpr int32_t kLargeGlyphs = 64;

}  // namespace

std::unique_ptr<FreeTypeFont> FreeTypeFont::Open(const Options& options) {
    std::string path;
    if (!options.face.empty()) path = platform::findFontFile(options.face, options.bold, options.italic, true);
    if (path.empty()) path = platform::findFontFile("DejaVu Sans", options.bold, options.italic, false);
    if (path.empty()) return nullptr;
    return OpenFile(path, options);
}

std::unique_ptr<FreeTypeFont> FreeTypeFont::OpenFile(const std::string& path, const Options& options) {
    std::unique_ptr<FreeTypeFont> font(new FreeTypeFont());
    if (!font->build(path, options)) return nullptr;
    return font;
}

bool FreeTypeFont::build(const std::string& path, const Options& options) {
    FT_Library lib = library();
    if (!lib || options.pixelSize <= 0 || options.pixelSize > 512) return false;
    FT_Face face = nullptr;
    if (FT_New_Face(lib, path.c_str(), 0, &face) != 0) return false;
    if (FT_Set_Pixel_Sizes(face, 0, FT_UInt(options.pixelSize)) != 0) {
        FT_Done_Face(face);
        return false;
    }
    filePath = path;
    color = options.color;
    ascent = int32_t((face->size->metrics.ascender + 63) >> 6);
    int32_t descent = int32_t((-face->size->metrics.descender + 63) >> 6);
    lineHeight = ascent + descent;

    // Render every character and pack it straight into shelves of the atlas,
    // so that no more than the atlas is ever held.
    int32_t width = options.pixelSize > kLargeGlyphs ? int32_t(kMaxAtlasSide) : kAtlasWidth;
    std::vector<uint32_t> pixels;
    int32_t x = 0, y = 0, shelf = 0;
    for (int code = 32; code < 256; ++code) {
        char32_t cp = platform::windows1252ToCodePoint(static_cast<unsigned char>(code));
        FT_UInt index = FT_Get_Char_Index(face, FT_ULong(cp));
        if (index == 0 && code != 32) continue;
        if (FT_Load_Glyph(face, index, FT_LOAD_DEFAULT) != 0) continue;
        if (FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL) != 0) continue;
        const FT_Bitmap& bm = face->glyph->bitmap;
        Glyph& g = glyphs[size_t(code)];
        g.present = true;
        g.advance = int32_t((face->glyph->advance.x + 32) >> 6);
        g.left = face->glyph->bitmap_left;
        g.top = face->glyph->bitmap_top;
        if (bm.pixel_mode != FT_PIXEL_MODE_GRAY || bm.width == 0 || bm.rows == 0) continue;
        int32_t w = int32_t(bm.width), h = int32_t(bm.rows);
        if (w > width - 2 || h > int32_t(kMaxAtlasSide)) continue;
        if (x + w + 1 > width) {
            x = 0;
            y += shelf + 1;
            shelf = 0;
        }
        if (y + h > int32_t(kMaxAtlasSide)) continue;  // no room left: drawn as a blank
        size_t rows = size_t(y + std::max(shelf, h));
        if (pixels.size() < rows * size_t(width)) pixels.resize(rows * size_t(width), 0x00FFFFFFu);
        for (int32_t row = 0; row < h; ++row) {
            const uint8_t* src = bm.buffer + ptrdiff_t(row) * bm.pitch;
            uint32_t* dst = pixels.data() + size_t(y + row) * size_t(width) + size_t(x);
            for (int32_t col = 0; col < w; ++col) dst[col] = (uint32_t(src[col]) << 24) | 0x00FFFFFFu;
        }
        g.atlas = Rect{x, y, x + w, y + h};
        x += w + 1;  // a blank column between glyphs
        shelf = std::max(shelf, h);
    }
    FT_Done_Face(face);

    int32_t atlasHeight = std::max(1, y + shelf);
    pixels.resize(size_t(width) * size_t(atlasHeight), 0x00FFFFFFu);
    loaded = atlasBitmap.LoadFromPixels(uint32_t(width), uint32_t(atlasHeight), pixels.data());
    return loaded;
}

TextSize FreeTypeFont::MeasureText(const char* text, int32_t length) const {
    TextSize size{0, lineHeight};
    for (int32_t i = 0; i < length; ++i) size.width += glyphs[static_cast<unsigned char>(text[i])].advance;
    return size;
}

int32_t FreeTypeFont::HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const {
    extent = 0;
    for (int32_t i = 0; i < length; ++i) {
        int32_t advance = glyphs[static_cast<unsigned char>(text[i])].advance;
        if (extent + advance > x) return i;
        extent += advance;
    }
    return length;
}

void FreeTypeFont::DrawText(RenderContext& context, int32_t x, int32_t y, const char* text, int32_t length,
                            const Rect* clip) {
    int32_t baseline = y + ascent;
    for (int32_t i = 0; i < length; ++i) {
        const Glyph& g = glyphs[static_cast<unsigned char>(text[i])];
        if (!g.present) continue;
        if (!g.atlas.isEmpty())
            context.DrawBitmapPart(atlasBitmap, g.atlas, x + g.left, baseline - g.top,
                                   context.GlyphColor(color), clip);
        x += g.advance;
    }
}

}  // namespace lh::render
