// DbNode: one node of the record tree that holds all shared game data, and
// RootNode, the tree's nameless root. A node is named by the dotted path of
// keys from the root; its children are ordered by byte-wise key comparison.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/CategoryDefinitions.h"
#include "db/ChildMap.h"
#include "db/FixedText.h"
#include "db/HolderList.h"
#include "db/NodeObserver.h"
#include "db/NodePool.h"
#include "db/NodeValue.h"
#include "db/ObservationList.h"
#include "db/Users.h"

namespace lh::db {

// Longest path that messages and the fixed buffers of callers carry.
constexpr size_t kMaxPathLength = 255;

class DbNode : public Pooled<DbNode> {
public:
    // Takes over the parent's owner and holders. It does not enter itself
    // into the parent's children: the caller does that (see addChild).
    DbNode(std::string_view name, DbNode* parent);
    // Deletes the node and everything below it: observers are told first,
    // the node leaves its parent (which is told), the deletion is sent on,
    // and the values go last.
    ~DbNode();
    DbNode(const DbNode&) = delete;
    DbNode& operator=(const DbNode&) = delete;

    // Creates a child under `key`, enters it and tells this node's observers.
    // Returns the existing child if the key is taken. A key with a "." in it
    // is refused with null: "." separates the pieces of a path.
    DbNode* addChild(std::string_view key);
    // The same without telling anyone: for loaders and message handlers that
    // notify once at the end, or not at all.
    // With `created`, tells whether the child is new.
    DbNode* addChildQuietly(std::string_view key, bool* created = nullptr);

    // Gives a kind-0 node its value and kind. -1 if the node has a kind
    // already (a kind never changes once set) or the value is null.
    int attachValue(std::unique_ptr<NodeValue> newValue);

    DbNode* child(std::string_view key) const;
    // "group.00001.field"; RootNode adds nothing. The full path, which may
    // be longer than kMaxPathLength: senders check that.
    std::string pathOf() const;
    // The first key "%05d" from 00001 up that no child has.
    std::string nextRecordId() const;

    bool canEdit() const;
    // Tells the observers of this node and of every node above it. An
    // observer may end observations, start new ones (they hear the next
    // change) or change the tree while it is told.
    void notify(ChangeKind change);
    void setOwner(User* user);
    void addHolder(std::string_view userName, bool makeOwner);
    void setCategoryDefinition(std::string_view holder, std::string_view definition);
    // Deletes this node if it came from that Module, else looks below it.
    // 1 if this node was deleted, else 0.
    int removeModuleNodes(std::string_view moduleName);

    template <class T>
    T* valueAs() const {
        return dynamic_cast<T*>(value.get());
    }

    // A large database holds a hundred thousand nodes, and reading it and
    // dropping it is mostly memory traffic: the fields fill two cache lines
    // (128 bytes, see the check below), and what most nodes leave empty
    // costs a pointer.
    std::string name;  // never changes: the parent's key is a view of it
    NodeKind kind = NodeKind::node;
    uint32_t isStatic = 0;  // static Ruleset data: not editable, not stored
    std::unique_ptr<NodeValue> value;
    RareText<256> module;  // the Module this node came from; empty for ours
    uint32_t category = 0;

private:
    bool tornDown = false;  // here, in the space behind category

public:
    ChildMap children;  // owned
    DbNode* parent = nullptr;
    HolderList holders;
    User* owner = nullptr;
    CategoryDefinitions categoryDefinitions;
    ObservationList observations;  // not owned: each handle leaves by itself

private:
    void tellObserversOfDeletion();
    void tearDown(bool nested);
};

// Where the tree's memory goes on the usual 64-bit platforms; a field added
// to every node should earn its bytes.
static_assert(sizeof(void*) != 8 || sizeof(DbNode) <= 128, "DbNode grew past two cache lines");

// The process-wide root of the tree: no name, no parent, no value.
DbNode& rootNode();

// Walks a dotted path from `root`; null as soon as a piece is missing.
DbNode* findNode(std::string_view path, const DbNode& root = rootNode());

// Deletes every node below `root`, as a fresh process would have it.
void clearTree(DbNode& root = rootNode());

}  // namespace lh::db
