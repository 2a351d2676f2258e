// Texts written into the program's own XML files. Names, paths and the like
// print as they are when they are plain ASCII; a byte that XML would change
// or reject is written as a reference that the reader turns back into the
// same byte, so any name survives a save and load.
#pragma once

#include <string>
#include <string_view>

namespace lh::db {

// Appends `text` for use between double quotes.
void appendAttributeText(std::string& out, std::string_view text);
// Appends `name="text" ` (with the trailing blank).
void appendAttribute(std::string& out, std::string_view name, std::string_view text);

}  // namespace lh::db
