// "#%02x" escaping of stored texts.
#include "db/TextEscape.h"

#include <array>
#include <cstdint>

namespace lh::db {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// The value of each byte as a hex digit, or -1.
constexpr std::array<int8_t, 256> makeHexValues() {
    std::array<int8_t, 256> table{};
    for (int c = 0; c < 256; ++c) {
        table[size_t(c)] = c >= '0' && c <= '9'   ? int8_t(c - '0')
                           : c >= 'a' && c <= 'f' ? int8_t(c - 'a' + 10)
                           : c >= 'A' && c <= 'F' ? int8_t(c - 'A' + 10)
                                                  : int8_t(-1);
    }
    return table;
}
constexpr std::array<int8_t, 256> kHexValues = makeHexValues();

int hexValue(char c) { return kHexValues[static_cast<unsigned char>(c)]; }

bool needsEscape(unsigned char c) { return c > 127 || c < 32 || c == '"' || c == '#' || c == '<' || c == '&'; }

}  // namespace

void appendEscapedText(std::string& out, std::string_view text) {
    for (char ch : text) {
        unsigned char c = static_cast<unsigned char>(ch);
        if (needsEscape(c)) {
            out.push_back('#');
            out.push_back(kHexDigits[c >> 4]);
            out.push_back(kHexDigits[c & 15]);
        } else {
            out.push_back(ch);
        }
    }
}

std::string escapeText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendEscapedText(out, text);
    return out;
}

void unescapeText(std::string& text) { text.resize(unescapeText(text.data(), text.size(), text.data())); }

// One pass that copies and decodes together, with no library call: a load of
// a large database sets a short text for every third node.
size_t unescapeText(const char* from, size_t size, char* to) {
    const char* end = from + size;
    char* out = to;
    while (from != end) {
        char c = *from;
        if (c == '#' && end - from > 2) {
            int hi = hexValue(from[1]);
            int lo = hexValue(from[2]);
            if ((hi | lo) >= 0) {
                *out++ = static_cast<char>(hi * 16 + lo);
                from += 3;
                continue;
            }
        }
        *out++ = c;
        ++from;
    }
    return size_t(out - to);
}

}  // namespace lh::db
