// Small readers for Ruleset elements: attributes as text, as atoi numbers,
// and the "%u,%u" / "%u,%u,%u,%u" forms of points and rectangles. An absent
// attribute leaves the target as it was, so defaults stay.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/XmlElement.h"

namespace lh::ui {

struct Point {
    int32_t x = 0, y = 0;
};

// Left, top, width, height as written in a RECT attribute.
struct RectXYWH {
    int32_t x = 0, y = 0, width = 0, height = 0;
};

// The element's tag in upper case, or "" for a text piece.
std::string tagOf(const db::XmlElement& element);

// True (and `out` set) when the attribute is there.
bool readText(const db::XmlElement& element, std::string_view name, std::string& out);
// atoi of the attribute's text: leading blanks, a sign, digits; 0 if none.
bool readInt(const db::XmlElement& element, std::string_view name, int32_t& out);
// "%u,%u": two numbers; negative text wraps as it does in the 32-bit
// reading, which comes to the same signed value. Both must be there.
bool readPoint(const db::XmlElement& element, std::string_view name, Point& out);
// "%u,%u,%u,%u": all four must be there.
bool readRect(const db::XmlElement& element, std::string_view name, RectXYWH& out);

// The pieces of the number forms, for callers that have the text already.
int32_t atoiText(std::string_view text);
// Reads `count` comma-separated numbers in the manner of sscanf("%u,%u,..").
bool scanNumbers(std::string_view text, int32_t* out, int count);

// Calls `visit(child, tag)` for each element child in document order.
template <typename Visit>
void forEachChild(db::XmlElement& element, Visit&& visit) {
    for (size_t i = 0;; ++i) {
        auto child = element.childAt(i);
        if (!child) break;
        if (child->isText()) continue;
        std::string tag = tagOf(*child);
        visit(std::move(child), tag);
    }
}

}  // namespace lh::ui
