// One message in the chat view: label, text, font, an indicator icon, a turn
// rule, and what it carries. Its layout (measure and paint) is the same
// walk, so that what is measured is what is drawn: wrapped at blanks, a word
// longer than the line cut, text and attachment sharing the width.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "render/Rect.h"
#include "ui/ChatPort.h"

namespace lh::render {
class Bitmap;
class Font;
class RenderContext;
}  // namespace lh::render
namespace lh::ui {
struct Identity;
}

namespace lh::chat {

// A piece of a wrapped text: `start` and `length` in bytes.
struct TextSpan {
    int32_t start = 0, length = 0;
};

// Breaks `text` into lines of at most `width` pixels: each line ends at the
// last blank, tab or line end that fits, or, with none behind its start,
// where the width ends, cutting the word; blanks after a break are skipped.
// Every line takes at least one character, so a width too small for any
// still ends.
std::vector<TextSpan> wrapText(const render::Font& font, std::string_view text, int32_t width);

// The colour (0x00BBGGRR) of rules and carets drawn in a font's colour; glyph
// fonts keep theirs as 0xFFRRGGBB.
uint32_t lineColor(const render::Font* font);

class ChatLine {
public:
    static constexpr size_t kMaxLabel = 119;      // 120 bytes with the terminator
    static constexpr size_t kMaxName = 255;       // font and indicator names
    static constexpr int32_t kLabelGap = 10;      // between label and text
    static constexpr int32_t kAttachmentGap = 5;  // between text and attachment

    // Label "%s:" from the speaker, none when it is empty.
    ChatLine(std::string text, std::string_view speaker, std::string_view fontName);
    // Label "%s:" or "%s (%s):" from the Identity's name and mood, none when
    // the name is empty; the Identity's font.
    ChatLine(std::string text, ui::Identity& identity);

    // Looks the icon up; an unknown name leaves the line without one.
    void setIndicator(std::string_view name);
    // The speaker as the wire carries it: the label without its last ":".
    std::string speaker() const;

    // The font by `fontName`, kept once found; "chatfont" stands in (and is
    // looked up again next time) when the name is not in Fonts.
    render::Font* selectFont();
    // Lays the line out for `width` pixels and answers its height. Needs a
    // font (selectFont, or `font` set by the caller).
    int32_t measure(render::RenderContext& context, int32_t width);
    // Paints with the top left corner of the line at `r`'s, as measured for
    // `r`'s width.
    void paint(render::RenderContext& context, const render::Rect& r, const render::Rect* clip);

    // The layout's results.
    int32_t attachmentWidth = 0, attachmentHeight = 0;
    int32_t textWidth = 0, textHeight = 0;

    std::string text;
    bool turnMarker = false;
    render::Bitmap* indicatorIcon = nullptr;
    std::string indicatorName;
    std::string label;
    std::string fontName;
    std::unique_ptr<ui::ChatAttachment> attachment;
    render::Font* font = nullptr;

private:
    int32_t labelWidth() const;
    int32_t iconWidth() const;
    int32_t iconHeight() const;
    void wrapInto(int32_t width);

    std::vector<TextSpan> wrapped;  // the text's lines for the last measure
    int32_t lastLineWidth = 0;
};

}  // namespace lh::chat
