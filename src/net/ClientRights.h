// What a client may change in the host's tree. The client checks its own
// edits before it sends them; the host checks again, so that a client that
// sends what its own checks would have refused changes nothing.
#pragma once

#include <string_view>

namespace lh::db {

class DbNode;
class User;

// True when `user` may change the node at `path` below `root`: the node is
// not static and `user` owns it. A node that does not exist yet may be made
// below the deepest existing node of the path under the same rule; nothing
// may be made directly under the root.
bool clientMayChange(const DbNode& root, std::string_view path, const User& user);

// True when `user` may delete the node at `path`: it exists, is not
// static, and `user` owns it.
bool clientMayDelete(const DbNode& root, std::string_view path, const User& user);

}  // namespace lh::db
