// The one-pass reader of stored databases: the form that saves write, and
// what hand-edited or older files add to it (references, 8-bit text, CR LF
// line ends, Modules, formatted text and images), read straight into nodes
// without building a document first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace lh::db {

class DbNode;

// Reads the file's bytes into `root` as parsing them and loadNodes would.
// `bytes[size]` must be 0: the reader stops on that byte instead of testing
// for the end at every step. Answers false, before any node is made, for
// anything outside the forms it knows (comments, text between elements,
// documents that are not well formed, a byte order mark); the caller then
// takes the long way, which also reports the errors.
bool readPlainDatabase(const char* bytes, size_t size, DbNode& root, bool isStatic);

// atoi without its undefined overflow: out-of-range numbers are held at the
// 32-bit limits, and text that is no number reads as 0.
int32_t readStoredInt(std::string_view text);
// The same for an unsigned number; out of range or negative reads as 0.
uint32_t readStoredUnsigned(std::string_view text);

}  // namespace lh::db
