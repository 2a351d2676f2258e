// DbNode: one node of the record tree that holds all shared game data, and
// RootNode, the tree's nameless root. A node is named by the dotted path of
// keys from the root; its children are ordered by byte-wise key comparison.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/CategoryDefinitions.h"
#include "db/ChildMap.h"
#include "db/FixedText.h"
#include "db/HolderList.h"
#include "db/NodeArena.h"
#include "db/NodeObserver.h"
#include "db/NodeValue.h"
#include "db/ObservationList.h"
#include "db/Users.h"

namespace lh::db {

// Longest path that messages and the fixed buffers of callers carry.
constexpr size_t kMaxPathLength = 255;

// A short text kept in the memory of a node's tree, such as the Module mark:
// empty, as it nearly always is, it costs a pointer. DbNode sets it.
class TreeText {
public:
    std::string_view view() const {
        if (!block) return {};
        uint32_t size;
        std::memcpy(&size, block, sizeof size);
        return {block + sizeof size, size};
    }
    bool empty() const { return !block; }
    size_t size() const { return view().size(); }
    friend bool operator==(const TreeText& a, std::string_view b) { return a.view() == b; }

private:
    friend class DbNode;
    char* block = nullptr;  // the length, then the bytes
};

class DbNode {
public:
    // A node without a parent is the root of a tree of its own, and holds
    // the tree's memory. A child takes over its parent's owner and holders;
    // it is made by addChild, which enters it into the parent's children.
    DbNode(std::string_view name, DbNode* parent);
    // Deletes the node and everything below it: observers are told first,
    // the node leaves its parent (which is told), the deletion is sent on,
    // and the values go last. A root whose tree nobody observes gives the
    // tree's memory back at once, visiting only nodes that hold memory of
    // their own.
    ~DbNode();
    DbNode(const DbNode&) = delete;
    DbNode& operator=(const DbNode&) = delete;
    // Roots are made anywhere, on the heap by plain `new`; the other nodes
    // in their tree's memory, to which `delete` gives them back.
    static void* operator new(size_t size);
    static void* operator new(size_t size, NodeArena& arena) { return arena.take(size, true); }
    static void operator delete(void* block);
    static void operator delete(void* block, NodeArena& arena) { arena.give(block, sizeof(DbNode)); }

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
    // The same with a new value of `kind`: numbers and texts are made in the
    // tree's memory, the other kinds by their makers (see makeValue). -1
    // also for a kind without values.
    int attachValue(NodeKind newKind);

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
    // The Module this node came from, cut to 255 bytes; empty for ours.
    void setModule(std::string_view moduleName);
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
    bool isStatic = false;  // static Ruleset data: not editable, not stored

private:
    bool tornDown = false;  // here, in the space behind isStatic

public:
    ValuePtr value;
    TreeText module;  // the Module this node came from; empty for ours (see setModule)
    uint32_t category = 0;

private:
    friend class NodeArena;
    uint32_t trackedAt = 0;  // 1 + the place in the tree's list of nodes to visit; 0: not there

public:
    ChildMap children;  // owned
    DbNode* parent = nullptr;
    HolderList holders;
    User* owner = nullptr;
    CategoryDefinitions categoryDefinitions;
    ObservationList observations;  // not owned: each handle leaves by itself
    NodeArena* arena;  // the tree's memory, held by the root

private:
    friend class NodeObservation;
    void tellObserversOfDeletion();
    void endWalksThrough();  // see notify
    void tearDown(bool nested);
    void dropTree();
    void releaseOwnMemory();
    static constexpr size_t kLongestInlineName = 15;
    bool nameOnHeap() const;
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
