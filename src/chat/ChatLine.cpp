// A chat line and its layout.
#include "chat/ChatLine.h"

#include <algorithm>

#include "render/Bitmap.h"
#include "render/Font.h"
#include "render/RenderContext.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"

namespace lh::chat {

namespace {

bool isBreak(char c) { return c == 0 || c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string cut(std::string_view s, size_t max) { return std::string(s.substr(0, std::min(s.size(), max))); }

// The label's text, cut so that its ":" always fits the field.
std::string labelOf(std::string_view inside) {
    if (inside.empty()) return {};
    return cut(inside, ChatLine::kMaxLabel - 1) + ":";
}

}  // namespace

uint32_t lineColor(const render::Font* font) {
    auto* rf = dynamic_cast<const ui::RulesetFont*>(font);
    if (!rf) return 0x00FFFFFF;
    uint32_t c = rf->color();
    if (!rf->isGlyphFont()) return c & 0xFFFFFF;
    return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

std::vector<TextSpan> wrapText(const render::Font& font, std::string_view text, int32_t width) {
    std::vector<TextSpan> lines;
    const int32_t length = int32_t(text.size());
    int32_t start = 0;
    while (start < length) {
        int32_t extent = 0;
        int32_t fit = font.HitTestText(text.data() + start, length - start, std::max(width, 0), extent);
        int32_t end = start + std::max(fit, 1);
        if (end < length) {
            int32_t p = end;
            while (p > start && !isBreak(text[size_t(p)])) --p;
            if (p > start) end = p;
        }
        end = std::min(end, length);
        lines.push_back({start, end - start});
        start = end;
        // A break's blank goes; a line end ends this line only once.
        if (start < length && (text[size_t(start)] == '\n' || text[size_t(start)] == '\r')) ++start;
        while (start < length && text[size_t(start)] == ' ') ++start;
    }
    return lines;
}

ChatLine::ChatLine(std::string t, std::string_view speaker, std::string_view name)
    : text(std::move(t)), label(labelOf(speaker)), fontName(cut(name, kMaxName)) {}

ChatLine::ChatLine(std::string t, ui::Identity& identity) : text(std::move(t)), fontName(identity.fontName) {
    if (!identity.name.empty()) {
        if (identity.mood.empty()) {
            label = labelOf(identity.name);
        } else {
            label = labelOf(cut(identity.name, kMaxLabel) + " (" + identity.mood + ")");
            // A cut label keeps its closing bracket's place for the ":".
        }
    }
    font = identity.font();
}

void ChatLine::setIndicator(std::string_view name) {
    indicatorName = cut(name, kMaxName);
    indicatorIcon = indicatorName.empty() ? nullptr : ui::findIcon(indicatorName);
}

std::string ChatLine::speaker() const {
    if (label.empty()) return {};
    size_t colon = label.rfind(':');
    return colon == std::string::npos ? label : label.substr(0, colon);
}

render::Font* ChatLine::selectFont() {
    if (font) return font;
    if (ui::RulesetFont* found = ui::findFont(fontName)) {
        font = found;
        return font;
    }
    return ui::findFont("chatfont");
}

int32_t ChatLine::labelWidth() const {
    if (label.empty() || !font) return 0;
    return font->MeasureText(label.data(), int32_t(label.size())).width;
}
int32_t ChatLine::iconWidth() const { return indicatorIcon ? int32_t(indicatorIcon->GetWidth()) : 0; }
int32_t ChatLine::iconHeight() const { return indicatorIcon ? int32_t(indicatorIcon->GetHeight()) : 0; }

void ChatLine::wrapInto(int32_t width) {
    wrapped = font ? wrapText(*font, text, width) : std::vector<TextSpan>{};
    const int32_t lineHeight = font ? font->LineHeight() : 0;
    textHeight = wrapped.empty() ? lineHeight : lineHeight * int32_t(wrapped.size());
    lastLineWidth = 0;
    if (!wrapped.empty() && font) {
        const TextSpan& last = wrapped.back();
        lastLineWidth = font->MeasureText(text.data() + last.start, last.length).width;
    }
    if (wrapped.empty()) {
        textWidth = 0;
    } else if (wrapped.size() == 1) {
        textWidth = lastLineWidth;
    } else {
        textWidth = width;
    }
}

int32_t ChatLine::measure(render::RenderContext& context, int32_t width) {
    if (!font) font = selectFont();
    render::Font* before = context.GetFont();
    context.SetFont(font);
    const int32_t avail = width - labelWidth() - iconWidth() - kLabelGap;
    ui::AttachmentSize a;
    if (attachment) attachment->measure(a, context, avail);
    attachmentWidth = a.width;
    attachmentHeight = a.height;
    wrapInto(avail);
    int32_t height = 0;
    if (!attachment) {
        height = std::max(textHeight, iconHeight());
    } else if (text.empty()) {
        wrapped.clear();
        textWidth = 0;
        height = std::max(attachmentHeight, iconHeight());
    } else {
        textWidth += kAttachmentGap;
        if (attachmentWidth + textWidth > avail) {
            const int32_t half = avail / 2;
            if (textWidth > half && attachmentWidth <= half) {
                wrapInto(avail - attachmentWidth - kAttachmentGap);
                textWidth = avail - attachmentWidth - kAttachmentGap;
            } else if (textWidth > half) {
                wrapInto(half - kAttachmentGap);
                textWidth = half - kAttachmentGap;
                attachment->measure(a, context, half);
            } else {
                attachment->measure(a, context, avail - textWidth);
            }
            attachmentWidth = a.width;
            attachmentHeight = a.height;
        }
        height = std::max({textHeight, attachmentHeight, iconHeight()});
    }
    context.SetFont(before);
    return height;
}

void ChatLine::paint(render::RenderContext& context, const render::Rect& r, const render::Rect* clip) {
    if (!font) return;
    const int32_t tallest = std::max(iconHeight(), attachment ? attachmentHeight : 0);
    const int32_t offset = tallest > textHeight ? (tallest - textHeight) / 2 : 0;
    int32_t left = r.left;
    if (indicatorIcon) {
        context.DrawBitmap(*indicatorIcon, left, r.top, 0xFFFFFFFF, clip);
        left += iconWidth();
    }
    if (!label.empty()) {
        font->DrawText(context, left, r.top + offset, label.data(), int32_t(label.size()), clip);
        left += labelWidth() + kLabelGap;
    }
    if (attachment) {
        attachment->rect = {left + textWidth, r.top, left + textWidth + attachmentWidth, r.top + attachmentHeight};
        render::Font* before = context.GetFont();
        context.SetFont(font);
        attachment->draw(context, attachment->rect, clip);
        context.SetFont(before);
    }
    const int32_t lineHeight = font->LineHeight();
    int32_t y = r.top + offset;
    for (const TextSpan& span : wrapped) {
        font->DrawText(context, left, y, text.data() + span.start, span.length, clip);
        y += lineHeight;
    }
    if (turnMarker) {
        const int32_t lastTop = r.top + offset + lineHeight * std::max<int32_t>(int32_t(wrapped.size()) - 1, 0);
        const int32_t middle = lastTop + lineHeight / 2;
        const int32_t from = left + lastLineWidth + kAttachmentGap;
        if (from < r.right) context.DrawRect(from, middle, r.right, middle + 1, lineColor(font), false);
    }
}

}  // namespace lh::chat
