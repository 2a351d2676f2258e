// The host's check of a client's change or deletion.
#include "net/ClientRights.h"

#include "db/DbNode.h"

namespace lh::db {

namespace {

// The deepest node along `path` that exists; `root` when even the first
// piece is missing.
const DbNode* deepestExisting(const DbNode& root, std::string_view path, bool& whole) {
    const DbNode* node = &root;
    whole = false;
    for (;;) {
        size_t dot = path.find('.');
        const DbNode* next = node->child(path.substr(0, dot));
        if (!next) return node;
        node = next;
        if (dot == std::string_view::npos) break;
        path.remove_prefix(dot + 1);
    }
    whole = true;
    return node;
}

}  // namespace

bool clientMayChange(const DbNode& root, std::string_view path, const User& user) {
    bool whole = false;
    const DbNode* node = deepestExisting(root, path, whole);
    if (node == &root) return false;
    return !node->isStatic && node->owner == &user;
}

bool clientMayDelete(const DbNode& root, std::string_view path, const User& user) {
    bool whole = false;
    const DbNode* node = deepestExisting(root, path, whole);
    return whole && !node->isStatic && node->owner == &user;
}

}  // namespace lh::db
