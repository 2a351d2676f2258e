// A font named by the Ruleset. A glyph font draws the pictures of its glyph
// file (white, with the file's alpha) in its colour; a font without a glyph
// file draws through a system font: the file it names, else its face, else
// DejaVu, at its size in points at 96 dots per inch.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "render/Bitmap.h"
#include "render/Font.h"

namespace lh::db {
class XmlElement;
}
namespace lh::render {
class FreeTypeFont;
}

namespace lh::ui {

class RulesetFont : public render::Font {
public:
    RulesetFont();
    ~RulesetFont() override;

    // NAME (required: without it nothing else is read), then GLYFILE NAME,
    // FILE NAME, FACE VALUE, SIZE VALUE, WEIGHT VALUE, COLOR VALUE, ITALIC.
    // False when NAME is missing.
    bool Load(db::XmlElement& element);
    // The glyph form from a glyph file's bytes (also used by Load), in the
    // colour 0xAARRGGBB.
    bool LoadGlyphs(const void* bytes, size_t length, uint32_t argb);

    const std::string& name() const { return fontName; }
    bool isGlyphFont() const { return glyphFont; }
    // 0xFFRRGGBB for a glyph font; the platform form 0x00BBGGRR otherwise.
    uint32_t color() const { return fontColor; }
    // The colour the text shows in, 0x00BBGGRR as lines are drawn: for a
    // caret or an underline that belongs to the text.
    uint32_t lineColor() const {
        if (!glyphFont) return fontColor & 0xFFFFFF;
        return ((fontColor & 0xFF) << 16) | (fontColor & 0xFF00) | ((fontColor >> 16) & 0xFF);
    }
    int32_t overlap() const { return glyphOverlap; }
    const std::string& face() const { return faceName; }
    int32_t pointSize() const { return size; }
    int32_t weight() const { return fontWeight; }
    bool italic() const { return isItalic; }
    // The system font standing in for a font without a glyph file.
    render::FreeTypeFont* systemFont() const { return system.get(); }

    bool IsLoaded() const override;
    int32_t LineHeight() const override;
    render::TextSize MeasureText(const char* text, int32_t length) const override;
    int32_t HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const override;
    void DrawText(render::RenderContext& context, int32_t x, int32_t y, const char* text, int32_t length,
                  const render::Rect* clip) override;

    static constexpr size_t kMaxFaceName = 31;

private:
    struct GlyphSlot {
        render::Rect atlas;  // its pixels in the atlas; empty for a glyph of no size
        int32_t width = 0;   // as the file gives it, even with no rows
        bool present = false;
    };
    int32_t advance(unsigned char c) const;
    void openSystemFont(const std::string& filePath);

    std::string fontName;
    std::string faceName;
    std::string tempPath;  // our copy of a FILE font, deleted with the font
    int32_t size = 10;
    int32_t fontWeight = 400;
    bool isItalic = false;
    bool glyphFont = false;
    uint32_t fontColor = 0;
    int32_t glyphOverlap = 0;
    int32_t lineHeight = 0;
    std::array<GlyphSlot, 256> glyphs{};
    render::Bitmap atlas;
    std::unique_ptr<render::FreeTypeFont> system;
};

// "#RRGGBB" or "RRGGBB" (hexadecimal, as far as the digits go) to 0x00RRGGBB.
uint32_t parseRulesetColor(const std::string& text);
// Points at 96 dots per inch to pixels, rounded to the nearest.
int32_t pointsToPixels(int32_t points);

}  // namespace lh::ui
