// The text editing engine: lines, caret moves, edits, drawing.
#include "ui/TextEditor.h"

#include <algorithm>

#include "render/RenderContext.h"
#include "ui/KeyboardFocus.h"
#include "ui/RulesetData.h"

namespace lh::ui {

namespace {

constexpr char kCarriageReturn = '\r';

bool isBreak(char c) { return c == ' ' || c == kCarriageReturn; }

}  // namespace

TextEditor::TextEditor() = default;
TextEditor::~TextEditor() = default;

RulesetFont* TextEditor::EditorFont() const {
    if (!font) font = findFont(fontName);  // a missing font is looked for again next time
    return font;
}

int32_t TextEditor::TextWidth(const char* text, int32_t length) const {
    RulesetFont* f = EditorFont();
    return f && length > 0 ? f->MeasureText(text, length).width : 0;
}

int32_t TextEditor::FontHeight() const {
    RulesetFont* f = EditorFont();
    return f ? f->LineHeight() : 0;
}

uint32_t TextEditor::TextLineColor() const {
    RulesetFont* f = EditorFont();
    return f ? f->lineColor() : 0;
}

int32_t TextEditor::visibleLines() const {
    if (!multiLine()) return 1;
    return std::max<int32_t>(1, textRect.height() / lineSpacing);
}

std::vector<int32_t> TextEditor::LinesFor(const std::string& text, int32_t width) const {
    std::vector<int32_t> starts{0};
    const int32_t n = int32_t(text.size());
    const bool wrap = multiLine() && width > 0;
    int32_t start = 0, wordStart = -1;
    for (int32_t i = 0; i < n;) {
        const char c = text[size_t(i)];
        if (c == kCarriageReturn) {
            start = i + 1;
            starts.push_back(start);
            wordStart = -1;
            i = start;
            continue;
        }
        // Blanks hang past the edge; a visible character that passes it
        // starts a new line with its word, or alone if the word fills a
        // line by itself. Every line holds a character at least, so the
        // walk always moves on.
        if (wrap && c != ' ' && i > start && TextWidth(text.data() + start, i + 1 - start) > width) {
            start = wordStart > start ? wordStart : i;
            starts.push_back(start);
            wordStart = -1;
            i = start;
            continue;
        }
        if (c == ' ') wordStart = i + 1;
        ++i;
    }
    return starts;
}

void TextEditor::BreakLines(const std::string& text) { lineStarts = LinesFor(text, textRect.width()); }

int32_t TextEditor::LineOf(int32_t index) const {
    if (lineStarts.empty()) return 0;
    auto it = std::upper_bound(lineStarts.begin(), lineStarts.end(), index);
    return std::max<int32_t>(0, int32_t(it - lineStarts.begin()) - 1);
}

int32_t TextEditor::LineEnd(const std::string& text, int32_t line) const {
    const int32_t lines = int32_t(lineStarts.size());
    if (line < 0 || line >= lines) return int32_t(text.size());
    const int32_t start = lineStarts[size_t(line)];
    int32_t end = line + 1 < lines ? lineStarts[size_t(line) + 1] : int32_t(text.size());
    if (line + 1 < lines && end > start && isBreak(text[size_t(end) - 1])) --end;
    return end;
}

int32_t TextEditor::lineWidth(const std::string& text, int32_t from, int32_t to) const {
    return to > from ? TextWidth(text.data() + from, to - from) : 0;
}

int32_t TextEditor::indexAtX(const std::string& text, int32_t line, int32_t x) const {
    const int32_t start = lineStarts.empty() ? 0 : lineStarts[size_t(line)];
    const int32_t end = LineEnd(text, line);
    int32_t before = 0;
    for (int32_t k = start; k < end; ++k) {
        const int32_t after = lineWidth(text, start, k + 1);
        if (x < (before + after) / 2) return k;
        before = after;
    }
    return end;
}

int32_t TextEditor::IndexAtPoint(const std::string& text, int32_t x, int32_t y) {
    BreakLines(text);
    if (y < 0 && multiLine()) return 0;
    const int32_t lines = int32_t(lineStarts.size());
    int32_t line = multiLine() ? firstVisibleLine + y / lineSpacing : 0;
    line = std::clamp(line, 0, lines - 1);
    const int32_t start = lineStarts[size_t(line)];
    int32_t offset = -scrollX;
    if (centered) offset = (textRect.width() - lineWidth(text, start, LineEnd(text, line))) / 2;
    return indexAtX(text, line, x - offset);
}

void TextEditor::moveVertically(const std::string& text, int32_t by) {
    if (!multiLine()) return;
    const int32_t line = LineOf(caret);
    const int32_t target = line + by;
    if (target < 0 || target >= int32_t(lineStarts.size())) return;
    if (preferredX < 0) preferredX = lineWidth(text, lineStarts[size_t(line)], caret);
    caret = indexAtX(text, target, preferredX);
}

void TextEditor::InsertAtCaret(const std::string& piece) {
    std::string text = GetText();
    caret = std::clamp(caret < 0 ? int32_t(text.size()) : caret, 0, int32_t(text.size()));
    text.insert(size_t(caret), piece);
    caret += int32_t(piece.size());
    SetText(text);
}

void TextEditor::EditorKey(int message, int code) {
    std::string text = GetText();
    const int32_t n = int32_t(text.size());
    caret = std::clamp(caret < 0 ? n : caret, 0, n);
    if (message == kKeyDownMessage) {
        if (code != keys::kUp && code != keys::kDown) preferredX = -1;
        const bool word = (modifierKeys() & kModControl) != 0;
        BreakLines(text);
        switch (code) {
        case keys::kHome: caret = multiLine() ? lineStarts[size_t(LineOf(caret))] : 0; break;
        case keys::kEnd: caret = multiLine() ? LineEnd(text, LineOf(caret)) : n; break;
        case keys::kLeft:
            if (caret > 0) {
                --caret;
                if (word) {
                    while (caret > 0 && !isBreak(text[size_t(caret) - 1])) --caret;
                }
            }
            break;
        case keys::kRight:
            if (caret < n) {
                ++caret;
                if (word) {
                    while (caret < n && !isBreak(text[size_t(caret)])) ++caret;
                }
            }
            break;
        case keys::kUp: moveVertically(text, -1); break;
        case keys::kDown: moveVertically(text, 1); break;
        case keys::kDelete:
            if (caret < n) {
                text.erase(size_t(caret), 1);
                SetText(text);
            }
            break;
        default: break;
        }
        return;
    }
    if (message != kCharMessage) return;
    preferredX = -1;
    if (code == keys::kBack) {
        if (caret > 0) {
            text.erase(size_t(caret) - 1, 1);
            --caret;
            SetText(text);
        }
        return;
    }
    if (code == '\n') return;
    if (code == keys::kReturn) {
        if (multiLine()) {
            InsertAtCaret(std::string(1, kCarriageReturn));
        } else {
            SetFocused(false);
        }
        return;
    }
    // Other control characters have no place in a text.
    if (code < 32 || code > 255) return;
    InsertAtCaret(std::string(1, char(code)));
}

void TextEditor::keepCaretVisible() {
    const int32_t lines = int32_t(lineStarts.size());
    const int32_t visible = visibleLines();
    if (caretLine >= firstVisibleLine + visible) firstVisibleLine = caretLine - visible + 1;
    if (caretLine >= 0 && caretLine < firstVisibleLine) firstVisibleLine = caretLine;
    firstVisibleLine = std::clamp(firstVisibleLine, 0, std::max(0, lines - 1));
}

void TextEditor::DrawEditor(render::RenderContext& context, const render::Rect& clip, int32_t originX,
                            int32_t originY, bool focused) {
    const std::string text = GetText();
    BreakLines(text);
    const int32_t n = int32_t(text.size());
    if (caret > n) caret = n;
    const int32_t lines = int32_t(lineStarts.size());
    caretLine = focused && caret >= 0 ? LineOf(caret) : -1;
    if (focused) keepCaretVisible();
    const int32_t height = FontHeight();
    const int32_t width = textRect.width();
    scrollX = 0;
    if (!multiLine() && focused && caret >= 0) scrollX = std::max(0, lineWidth(text, 0, caret) - width);

    const render::Rect area{originX + textRect.left, originY + textRect.top, originX + textRect.right,
                            originY + textRect.bottom};
    const render::Rect cut = render::intersect(area, clip);
    if (cut.isEmpty()) return;
    context.PushFont();
    context.SetFont(EditorFont());
    const int32_t step = multiLine() ? lineSpacing : height;
    // A single line stands in the middle of its height.
    const int32_t top = multiLine() ? area.top : area.top + (textRect.height() - height) / 2;
    const int32_t last = std::min(lines, firstVisibleLine + visibleLines());
    for (int32_t i = firstVisibleLine; i < last; ++i) {
        const int32_t start = lineStarts[size_t(i)];
        int32_t end = i + 1 < lines ? lineStarts[size_t(i) + 1] : n;
        if (end > start && text[size_t(end) - 1] == kCarriageReturn) --end;
        const int32_t w = lineWidth(text, start, end);
        const int32_t x = area.left + (centered ? (width - w) / 2 : -scrollX);
        const int32_t y = top + (i - firstVisibleLine) * step;
        if (end > start) context.DrawText(x, y, text.data() + start, end - start, &cut);
        if (i == caretLine) {
            caretX = x - area.left + lineWidth(text, start, caret);
            const float cx = float(area.left + caretX);
            context.DrawLine(cx, float(y), cx, float(y + height), TextLineColor(), 1.0f, &cut);
        }
    }
    context.PopFont();
}

}  // namespace lh::ui
