// The editing engine of a plain text: a caret counted in bytes, lines cut at
// carriage returns and, in a multi-line text, before the word that would pass
// the width, the keys that move and edit, and the drawing of the visible
// lines with the caret. String fields use it, and so may any entry line that
// wants the same caret and word moves.
//
// What the text is, where it is kept and who has the keyboard is the
// owner's: GetText, SetText, SetFocused and HasFocus. Texts are 8-bit
// Windows-1252; a line end is a carriage return (13).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "render/Rect.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

class RulesetFont;

namespace keys {
// Virtual-key codes of the editing keys.
constexpr int kBack = 0x08, kTab = 0x09, kReturn = 0x0D, kEscape = 0x1B, kEnd = 0x23, kHome = 0x24, kLeft = 0x25,
              kUp = 0x26, kRight = 0x27, kDown = 0x28, kDelete = 0x2E;
}  // namespace keys

class TextEditor {
public:
    TextEditor();
    virtual ~TextEditor();
    virtual std::string GetText() = 0;
    virtual void SetText(const std::string& text) = 0;
    virtual void SetFocused(bool focused) = 0;
    virtual bool HasFocus() = 0;

    // A key down (256) or a character (258), as the keyboard focus gets
    // them. Word moves take the control key from the modifier state.
    void EditorKey(int message, int code);
    // Puts `text` in at the caret, and moves the caret behind it.
    void InsertAtCaret(const std::string& text);

    // Cuts the text into lines for the width of textRect: fills lineStarts.
    void BreakLines(const std::string& text);
    // Where the lines of `text` start in `width`: at each carriage return,
    // and in a multi-line text before the word that would pass the width.
    // A word wider than the width is cut where it passes.
    std::vector<int32_t> LinesFor(const std::string& text, int32_t width) const;
    // The line that holds a caret index.
    int32_t LineOf(int32_t index) const;
    // The last caret place of a line: its end, before a final blank or
    // carriage return when another line follows.
    int32_t LineEnd(const std::string& text, int32_t line) const;
    // The caret index under a point given relative to textRect's top left.
    int32_t IndexAtPoint(const std::string& text, int32_t x, int32_t y);

    // Draws the visible lines in textRect, moved by (originX, originY) to
    // Desktop coordinates, with the caret when `focused`.
    void DrawEditor(render::RenderContext& context, const render::Rect& clip, int32_t originX, int32_t originY,
                    bool focused);

    // Measures in the editor's font; virtual so that a test can measure in
    // fixed steps.
    virtual int32_t TextWidth(const char* text, int32_t length) const;
    virtual int32_t FontHeight() const;
    RulesetFont* EditorFont() const;
    // The text's colour for lines drawn with it (the caret, an underline),
    // as DrawLine takes it.
    uint32_t TextLineColor() const;

    bool multiLine() const { return lineSpacing > 0; }
    int32_t visibleLines() const;

    int32_t caret = -1;       // index in the text, in bytes; -1: none
    int32_t preferredX = -1;  // the column kept by up and down moves; -1: none
    int32_t caretX = 0;       // caret position in pixels from the last drawing
    int32_t caretLine = -1;   // caret line from the last drawing
    int32_t lineSpacing = 0;  // height of a line; 0: a single line
    bool centered = false;
    std::vector<int32_t> lineStarts;
    std::string fontName = "defaultstringcontrol";
    render::Rect textRect;  // where the text stands, relative to the window
    int32_t firstVisibleLine = 0;
    int32_t scrollX = 0;  // a single line with the caret beyond its right edge

private:
    void moveVertically(const std::string& text, int32_t lines);
    int32_t indexAtX(const std::string& text, int32_t line, int32_t x) const;
    int32_t lineWidth(const std::string& text, int32_t from, int32_t to) const;
    void keepCaretVisible();
    mutable RulesetFont* font = nullptr;
};

}  // namespace lh::ui
