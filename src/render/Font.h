// What a render context needs of a font. Text is 8-bit Windows-1252. A font
// draws itself through the context's bitmap drawing, so text obeys the same
// clipping and order as everything else. The Ruleset's glyph-file fonts and
// the system fonts (FreeTypeFont) both implement this.
#pragma once

#include <cstdint>

#include "render/Rect.h"

namespace lh::render {

class RenderContext;

struct TextSize {
    int32_t width = 0;
    int32_t height = 0;
};

class Font {
public:
    virtual ~Font() = default;

    // False for a font that has nothing to draw with: it neither draws nor measures.
    virtual bool IsLoaded() const = 0;
    virtual int32_t LineHeight() const = 0;
    virtual TextSize MeasureText(const char* text, int32_t length) const = 0;
    // The caret index for a click at x pixels from the start of the text:
    // the first character whose advance would pass x, or the length.
    // `extent` gets the width of the text before that index.
    virtual int32_t HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const = 0;
    // Draws with the top of the line at y, in the font's colour.
    virtual void DrawText(RenderContext& context, int32_t x, int32_t y, const char* text, int32_t length,
                          const Rect* clip) = 0;
};

}  // namespace lh::render
