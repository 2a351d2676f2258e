// What the replication tests and their peer program share: a canonical
// listing of the value nodes of a tree, the edits both sides make the way a
// control would, and the small login stand-in that names a client on the
// test host.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "net/NetMessage.h"

namespace lh::db {
class DbNode;
}

namespace lh::test {

// One line per value node in tree order: path, kind, value (escaped), and
// "owned" or "-" as `owned` says. Groups are left out: a client makes them
// from paths without holding them.
std::string listValues(const lh::db::DbNode& root, const std::function<bool(const lh::db::DbNode&)>& include,
                       const std::function<bool(const lh::db::DbNode&)>& owned);

// Sets the value at `path` as a control would: only where canEdit allows,
// making the node (and groups on the way) when it is missing, then sends it
// on. `kind` is 'i' (number), 's' (text) or 't' (formatted text markup).
// False when this side may not, or the node has another kind.
bool editValue(lh::db::DbNode& root, std::string_view path, char kind, std::string_view value);

// Formatted text markup of about `bytes` bytes, in lines of paragraphs;
// `seed` varies the words.
std::string longMarkup(size_t bytes, unsigned seed);

// The login stand-in: CONNQ with 20 reserved bytes, the name, an empty
// password.
lh::net::NetMessage helloMessage(std::string_view userName);
std::string helloName(const lh::net::NetMessage& message);

}  // namespace lh::test
