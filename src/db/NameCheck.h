// The one check for a name that becomes a record key or a file name: an
// Identity, a character, a portrait's target, a snapshot. Such names come
// from other machines and from folders on disk, and each ends up as one
// piece of a path ("characters\\<ruleset>\\<name>.xml") and one key of the
// record tree ("charsheet.<name>"), so it must stay one piece of both.
#pragma once

#include <cstddef>
#include <string_view>

namespace lh::db {

// Longest usable name: an Identity's field holds 119 bytes and its zero.
constexpr size_t kMaxNameLength = 119;

// False for an empty name, one longer than kMaxNameLength, and one holding
// ".", "/", "\\", ":" or a control byte (below 32, or 127). "." alone rules
// out "." and ".." as well as keys that the tree would split.
bool isUsableName(std::string_view name);

}  // namespace lh::db
