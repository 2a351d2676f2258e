// The program's text is 8-bit Windows-1252. The outside world (XML parsers,
// SDL text input, fontconfig) speaks UTF-8; these convert at the border.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lh::platform {

// UTF-8 to Windows-1252. Characters that 1252 lacks become '?'. Bytes that are
// not valid UTF-8 pass through unchanged, so text that already was 8-bit
// survives a trip through a UTF-8 layer that did not validate it.
std::string utf8ToWindows1252(std::string_view utf8);
// The same into a fixed buffer, always zero-terminated; cut at a character.
void utf8ToWindows1252(const char* utf8, char* out, size_t outSize);

// Typed text (the platform's text input) to Windows-1252: a character that
// 1252 has is kept, any other is dropped whole, and so is a byte that is not
// part of valid UTF-8; a character is never split.
std::string typedTextToWindows1252(std::string_view utf8);

std::string windows1252ToUtf8(std::string_view text);

// Appends the UTF-8 form of a Unicode code point (at most U+10FFFF).
void appendUtf8(std::string& out, char32_t cp);

// Unicode code point of a Windows-1252 byte.
char32_t windows1252ToCodePoint(unsigned char byte);

}  // namespace lh::platform
