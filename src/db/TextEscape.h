// The "#%02x" escaping of stored texts: files and record values carry only
// printable 7-bit bytes, and everything else travels as "#" and two hex digits.
#pragma once

#include <string>
#include <string_view>

namespace lh::db {

// Escapes bytes above 127, below 32 and the double quote. It also escapes
// "#", "<" and "&": a literal "#" would otherwise read back as the start of an
// escape, and "<" or "&" would break the XML attribute the text stands in.
// Every reader that undoes the escapes reads these back unchanged.
void appendEscapedText(std::string& out, std::string_view text);
std::string escapeText(std::string_view text);

// Undoes the escapes in place: "#" followed by two hex digits becomes the
// byte they give. A "#" without two hex digits behind it stays as it is, so
// hand-written text with a plain "#" in it survives.
void unescapeText(std::string& text);
// The same from `size` bytes at `from` into `to`, which may be `from`
// itself or `size` bytes of its own; answers the length written.
size_t unescapeText(const char* from, size_t size, char* to);

}  // namespace lh::db
