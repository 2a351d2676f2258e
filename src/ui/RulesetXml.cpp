// Attribute readers for Ruleset elements, with the number forms of the C
// library's atoi and sscanf kept byte for byte but without its undefined
// overflow.
#include "ui/RulesetXml.h"

namespace lh::ui {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// One number as scanf's %u reads it (blanks, an optional sign, digits),
// wrapping at 32 bits. Advances `pos`; false if no digit came.
bool scanOne(std::string_view text, size_t& pos, int32_t& out) {
    while (pos < text.size() && isBlank(text[pos])) ++pos;
    bool negative = false;
    if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) negative = text[pos++] == '-';
    uint32_t value = 0;
    size_t start = pos;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9')
        value = value * 10u + uint32_t(text[pos++] - '0');
    if (pos == start) return false;
    out = int32_t(negative ? 0u - value : value);
    return true;
}

}  // namespace

std::string tagOf(const db::XmlElement& element) {
    std::string tag;
    if (element.tagName(tag) != 0) return {};
    return tag;
}

bool readText(const db::XmlElement& element, std::string_view name, std::string& out) {
    return element.attribute(name, out) == 0;
}

int32_t atoiText(std::string_view text) {
    size_t pos = 0;
    int32_t value = 0;
    return scanOne(text, pos, value) ? value : 0;
}

bool scanNumbers(std::string_view text, int32_t* out, int count) {
    size_t pos = 0;
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            if (pos >= text.size() || text[pos] != ',') return false;
            ++pos;
        }
        if (!scanOne(text, pos, out[i])) return false;
    }
    return true;
}

bool readInt(const db::XmlElement& element, std::string_view name, int32_t& out) {
    std::string text;
    if (!readText(element, name, text)) return false;
    out = atoiText(text);
    return true;
}

bool readPoint(const db::XmlElement& element, std::string_view name, Point& out) {
    std::string text;
    int32_t v[2];
    if (!readText(element, name, text) || !scanNumbers(text, v, 2)) return false;
    out = {v[0], v[1]};
    return true;
}

bool readRect(const db::XmlElement& element, std::string_view name, RectXYWH& out) {
    std::string text;
    int32_t v[4];
    if (!readText(element, name, text) || !scanNumbers(text, v, 4)) return false;
    out = {v[0], v[1], v[2], v[3]};
    return true;
}

}  // namespace lh::ui
