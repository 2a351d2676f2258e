// Windows-1252 <-> UTF-8.
#include "platform/Encoding.h"

#include <cstring>

namespace lh::platform {

namespace {

// 0x80..0x9F of Windows-1252; 0 marks the five bytes it leaves undefined,
// which map to the C1 control of the same number.
constexpr char16_t kHigh[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

int codePointTo1252(char32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return int(cp);
    for (int i = 0; i < 32; ++i) {
        if (kHigh[i] == cp || (kHigh[i] == 0 && cp == char32_t(0x80 + i))) return 0x80 + i;
    }
    return -1;
}

// Decodes one UTF-8 sequence at s[0..n). Returns its length, or 0 if it is
// not a valid, shortest-form sequence.
size_t decodeUtf8(const unsigned char* s, size_t n, char32_t& cp) {
    if (s[0] < 0x80) {
        cp = s[0];
        return 1;
    }
    size_t len;
    char32_t min;
    if ((s[0] & 0xE0) == 0xC0) {
        len = 2, cp = s[0] & 0x1F, min = 0x80;
    } else if ((s[0] & 0xF0) == 0xE0) {
        len = 3, cp = s[0] & 0x0F, min = 0x800;
    } else if ((s[0] & 0xF8) == 0xF0) {
        len = 4, cp = s[0] & 0x07, min = 0x10000;
    } else {
        return 0;
    }
    if (len > n) return 0;
    for (size_t i = 1; i < len; ++i) {
        if ((s[i] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (s[i] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return len;
}

}  // namespace

std::string utf8ToWindows1252(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    const auto* s = reinterpret_cast<const unsigned char*>(utf8.data());
    size_t n = utf8.size();
    for (size_t i = 0; i < n;) {
        char32_t cp;
        size_t len = decodeUtf8(s + i, n - i, cp);
        if (len == 0) {
            out.push_back(char(s[i]));
            ++i;
            continue;
        }
        int b = codePointTo1252(cp);
        out.push_back(b < 0 ? '?' : char(b));
        i += len;
    }
    return out;
}

void utf8ToWindows1252(const char* utf8, char* out, size_t outSize) {
    if (outSize == 0) return;
    std::string converted = utf8ToWindows1252(std::string_view(utf8, std::strlen(utf8)));
    size_t n = converted.size() < outSize - 1 ? converted.size() : outSize - 1;
    std::memcpy(out, converted.data(), n);
    out[n] = 0;
}

std::string typedTextToWindows1252(std::string_view utf8) {
    std::string out;
    const auto* s = reinterpret_cast<const unsigned char*>(utf8.data());
    size_t n = utf8.size();
    for (size_t i = 0; i < n;) {
        char32_t cp;
        size_t len = decodeUtf8(s + i, n - i, cp);
        if (len == 0) {
            ++i;
            continue;
        }
        int b = codePointTo1252(cp);
        if (b > 0) out.push_back(char(b));
        i += len;
    }
    return out;
}

char32_t windows1252ToCodePoint(unsigned char byte) {
    if (byte >= 0x80 && byte < 0xA0 && kHigh[byte - 0x80] != 0) return kHigh[byte - 0x80];
    return byte;
}

std::string windows1252ToUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    for (unsigned char c : text) appendUtf8(out, windows1252ToCodePoint(c));
    return out;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(char(cp));
    } else if (cp < 0x800) {
        out.push_back(char(0xC0 | (cp >> 6)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(char(0xE0 | (cp >> 12)));
        out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(char(0xF0 | (cp >> 18)));
        out.push_back(char(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    }
}

}  // namespace lh::platform
