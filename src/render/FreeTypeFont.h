// A system font through fontconfig and FreeType: the 8-bit Windows-1252
// characters rasterised once into one glyph atlas (white, coverage as alpha),
// drawn as bitmap parts in the font's colour.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "render/Bitmap.h"
#include "render/Font.h"

namespace lh::render {

class FreeTypeFont : public Font {
public:
    struct Options {
        std::string face;        // fontconfig family; empty or unknown falls back to DejaVu Sans
        int32_t pixelSize = 13;  // em height in pixels
        bool bold = false;
        bool italic = false;
        uint32_t color = 0xFF000000u;  // 0xAARRGGBB
    };

    // Null when neither the face nor the fallback can be found or read.
    static std::unique_ptr<FreeTypeFont> Open(const Options& options);
    // From a font file already on disk (tests, fonts shipped with a Ruleset).
    static std::unique_ptr<FreeTypeFont> OpenFile(const std::string& path, const Options& options);

    // The glyph atlas never grows past this many rows (nor columns): at a
    // huge size the glyphs that do not fit are left out, and still move the
    // pen, rather than the font taking a texture of hundreds of megabytes.
    static constexpr uint32_t kMaxAtlasSide = 2048;

    const Bitmap& Atlas() const { return atlasBitmap; }
    const std::string& FilePath() const { return filePath; }
    uint32_t Color() const { return color; }
    void SetColor(uint32_t argb) { color = argb; }
    int32_t Ascent() const { return ascent; }

    bool IsLoaded() const override { return loaded; }
    int32_t LineHeight() const override { return lineHeight; }
    TextSize MeasureText(const char* text, int32_t length) const override;
    int32_t HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const override;
    void DrawText(RenderContext& context, int32_t x, int32_t y, const char* text, int32_t length,
                  const Rect* clip) override;

private:
    struct Glyph {
        Rect atlas;        // where its pixels are in the atlas; empty for blanks
        int32_t left = 0;  // from the pen to the first column
        int32_t top = 0;   // from the baseline up to the first row
        int32_t advance = 0;
        bool present = false;
    };
    FreeTypeFont() = default;
    bool build(const std::string& path, const Options& options);

    std::array<Glyph, 256> glyphs{};
    Bitmap atlasBitmap;
    std::string filePath;
    uint32_t color = 0xFF000000u;
    int32_t ascent = 0, lineHeight = 0;
    bool loaded = false;
};

}  // namespace lh::render
