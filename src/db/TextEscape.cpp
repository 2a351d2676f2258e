// "#%02x" escaping of stored texts.
#include "db/TextEscape.h"

#include <cstring>

namespace lh::db {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

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

void unescapeText(std::string& text) { text.resize(unescapeText(text.data(), text.size())); }

size_t unescapeText(char* text, size_t size) {
    const void* hash = std::memchr(text, '#', size);
    if (!hash) return size;
    size_t write = size_t(static_cast<const char*>(hash) - text);
    size_t read = write;
    while (read < size) {
        if (text[read] == '#' && read + 2 < size) {
            int hi = hexValue(text[read + 1]);
            int lo = hexValue(text[read + 2]);
            if (hi >= 0 && lo >= 0) {
                text[write++] = static_cast<char>(hi * 16 + lo);
                read += 3;
                continue;
            }
        }
        text[write++] = text[read++];
    }
    return write;
}

}  // namespace lh::db
