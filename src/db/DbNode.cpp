// The record tree: construction, navigation, change notification, holders
// and owners, and the ordered tear-down of a deleted subtree.
#include "db/DbNode.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "db/DbContext.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/SessionMode.h"
#include "platform/Trace.h"

namespace lh::db {

DbNode::DbNode(std::string_view nodeName, DbNode* parentNode)
    : name(nodeName), parent(parentNode), arena(parentNode ? parentNode->arena : new NodeArena) {
    if (parent) {
        owner = parent->owner;
        holders = parent->holders;
    }
    if (nameOnHeap()) arena->keepTrackOf(*this);
}

bool DbNode::nameOnHeap() const {
    // A short name is kept inside the string itself; a longer one is freed
    // by the node, which the tree then visits when it goes.
    return name.size() > kLongestInlineName;
}

namespace {

// Where the memory of the node whose destructor ran last came from: its
// tree's, or the heap's (null). A delete runs the destructor and then frees
// the memory, with nothing between them.
thread_local NodeArena* homeOfDestroyed = nullptr;

// The notify calls under way on this thread, the innermost last, and the
// nodes each of them walks, from the changed node up to the root: an
// observer told of a change may delete a node of a walk (see notify).
struct Walk {
    size_t first, end;  // its nodes in walkedNodes
    size_t goneUntil;   // the nodes before this place in walkedNodes went
};
thread_local std::vector<DbNode*> walkedNodes;
thread_local std::vector<Walk> walks;

}  // namespace

void* DbNode::operator new(size_t size) { return ::operator new(size); }

void DbNode::operator delete(void* block) {
    if (NodeArena* home = std::exchange(homeOfDestroyed, nullptr)) {
        home->give(block, sizeof(DbNode));
    } else {
        ::operator delete(block);
    }
}

DbNode::~DbNode() {
    if (!tornDown) {  // else a node below the deleted one: already handled
        if (!walks.empty()) endWalksThrough();
        tellObserversOfDeletion();
        if (parent) {
            auto it = parent->children.find(name);
            if (it != parent->children.end() && it->second == this) {
                parent->children.erase(it);
                parent->notify(ChangeKind::children);
            }
        }
        tearDown(false);
        if (!parent) delete arena;
    }
    homeOfDestroyed = parent ? arena : nullptr;
}

void DbNode::tellObserversOfDeletion() {
    // Each observation ends before its observer hears of it, so the observer
    // may do anything with its handle, or with itself, in the call. One that
    // starts observing this node again is ended in the next round.
    while (!observations.empty()) {
        NodeObservation* ending = observations.front();
        observations.erase(observations.begin());
        --arena->observations;
        NodeObserver* observer = ending->observer;
        ending->watched = nullptr;
        ending->observer = nullptr;
        observer->onNodeDeleted();
    }
}

void DbNode::tearDown(bool nested) {
    if (!nested) {
        if (ReplicationSink* sink = dbContext().sink) sink->nodeDeleted(pathOf());
    }
    if (!parent && arena->observations == 0) {
        dropTree();
    } else {
        // A large tree does not stay in the cache: ask for the nodes a few
        // places ahead, so that their loads overlap.
        // The node first, its value once the node is in.
        constexpr size_t kAhead = 8;
        for (size_t i = 0; i < kAhead && i < children.size(); ++i) __builtin_prefetch(children.at(i), 1);
        for (size_t i = 0; i < children.size(); ++i) {
            if (i + kAhead < children.size()) __builtin_prefetch(children.at(i + kAhead), 1);
            if (i + kAhead / 2 < children.size()) __builtin_prefetch(children.at(i + kAhead / 2)->value.get(), 1);
            DbNode* node = children.at(i);
            node->tellObserversOfDeletion();
            node->tearDown(true);
            delete node;
        }
    }
    releaseOwnMemory();
    tornDown = true;
}

void DbNode::dropTree() {
    // Nobody observes a node of the tree, so nobody is told: what the
    // nodes hold outside the tree's memory is freed, and the rest goes with
    // the memory. A value's destructor may reach other values (numbers
    // linked to each other), which are all still there.
    for (DbNode* node : arena->takeTracked()) {
        if (node == this) continue;
        node->value.reset();
        std::string().swap(node->name);
        node->categoryDefinitions.clear();
        node->observations.release();
    }
    children.forget();
}

void DbNode::releaseOwnMemory() {
    children.release(*arena);
    value.reset();
    setModule({});
    holders.clear();
    if (trackedAt) arena->forget(*this);
}

namespace {

// Words rather than a library call or a byte loop: keys are a few bytes
// long, and a load of a large database checks one for every node. Short
// keys are read in two words that may overlap.
bool hasZeroByte(uint64_t x) {
    constexpr uint64_t ones = 0x0101010101010101ull, high = 0x8080808080808080ull;
    return (x - ones) & ~x & high;
}
bool hasDot(std::string_view key) {
    constexpr uint64_t dots = 0x2E2E2E2E2E2E2E2Eull;
    size_t n = key.size();
    const char* s = key.data();
    if (n >= 8) {
        for (size_t i = 0; i + 8 < n; i += 8) {
            uint64_t word;
            std::memcpy(&word, s + i, 8);
            if (hasZeroByte(word ^ dots)) return true;
        }
        uint64_t last;
        std::memcpy(&last, s + n - 8, 8);
        return hasZeroByte(last ^ dots);
    }
    if (n >= 4) {
        uint32_t first, last;
        std::memcpy(&first, s, 4);
        std::memcpy(&last, s + n - 4, 4);
        return hasZeroByte(((uint64_t(first) << 32) | last) ^ dots);
    }
    bool dot = false;
    for (size_t i = 0; i < n; ++i) dot |= s[i] == '.';
    return dot;
}

}  // namespace

DbNode* DbNode::addChildQuietly(std::string_view key, bool* created) {
    if (created) *created = false;
    if (key.empty() || hasDot(key)) return nullptr;
    bool found = false;
    size_t at = children.position(key, found);
    if (found) return children.at(at);
    auto* node = new (*arena) DbNode(key, this);
    children.insertAt(at, node->name, node, *arena);
    if (created) *created = true;
    return node;
}

DbNode* DbNode::addChild(std::string_view key) {
    size_t before = children.size();
    DbNode* node = addChildQuietly(key);
    if (node && children.size() != before) notify(ChangeKind::children);
    return node;
}

int DbNode::attachValue(std::unique_ptr<NodeValue> newValue) {
    if (!newValue || kind != NodeKind::node || value) return -1;
    kind = newValue->kind();
    value.reset(newValue.release());
    value->node = this;
    // A value of its own on the heap is deleted when the tree goes.
    arena->keepTrackOf(*this);
    return 0;
}

namespace {

template <class T>
ValuePtr makeInTree(NodeArena& arena) {
    T* made = ::new (arena.take(sizeof(T))) T();
    made->arenaBytes = sizeof(T);
    return ValuePtr(made);
}

}  // namespace

int DbNode::attachValue(NodeKind newKind) {
    if (kind != NodeKind::node || value) return -1;
    switch (newKind) {
    case NodeKind::intValue: value = makeInTree<IntValue>(*arena); break;
    case NodeKind::stringValue: value = makeInTree<StringValue>(*arena); break;
    default: return attachValue(makeValue(newKind));
    }
    kind = newKind;
    value->node = this;
    return 0;
}

void ValueDeleter::operator()(NodeValue* doomed) const {
    if (!doomed->arenaBytes) {
        delete doomed;
        return;
    }
    // Values in a tree's memory are made with their node (see above).
    NodeArena* home = doomed->node->arena;
    uint32_t bytes = doomed->arenaBytes;
    doomed->~NodeValue();
    home->give(doomed, bytes);
}

DbNode* DbNode::child(std::string_view key) const { return children.get(key); }

std::string DbNode::pathOf() const {
    std::vector<const DbNode*> chain;
    for (const DbNode* n = this; n && n->parent; n = n->parent) chain.push_back(n);
    std::string path;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        if (!path.empty()) path.push_back('.');
        path += (*it)->name;
    }
    return path;
}

std::string DbNode::nextRecordId() const {
    char id[16];
    for (unsigned i = 1;; ++i) {
        std::snprintf(id, sizeof id, "%05u", i);
        if (children.find(id) == children.end()) return id;
    }
}

bool DbNode::canEdit() const {
    if (isStatic) return false;
    if (isHost()) return true;
    return owner != nullptr && owner == &localUser();
}

void DbNode::notify(ChangeKind change) {
    // Values change under their record: the record is what a watcher waits for.
    if (change == ChangeKind::value && platform::traceOn()) platform::trace("record %s", pathOf().c_str());
    // The nodes to tell are fixed before the first call: an observer may
    // delete any of them, which the walk learns through its entry (see
    // ~DbNode), and a node that went is never touched again.
    size_t first = walkedNodes.size();
    for (DbNode* n = this; n; n = n->parent) walkedNodes.push_back(n);
    walks.push_back({first, walkedNodes.size(), first});
    size_t walk = walks.size() - 1;
    std::vector<NodeObservation*> told;
    for (size_t i = first; i < walks[walk].end; ++i) {
        if (i < walks[walk].goneUntil) continue;
        DbNode* n = walkedNodes[i];
        if (n->observations.empty()) continue;
        // The list as it was when the change came; a handle that ended since
        // is no longer in the node's list and is skipped, never touched.
        told.assign(n->observations.begin(), n->observations.end());
        for (NodeObservation* o : told) {
            if (i < walks[walk].goneUntil) break;  // the node went in the last call
            auto& live = n->observations;
            if (std::find(live.begin(), live.end(), o) != live.end()) o->observer->onChanged(change);
        }
    }
    walks.pop_back();
    walkedNodes.resize(first);
}

void DbNode::endWalksThrough() {
    // A node's deletion takes everything below it: in each walk, the node
    // and the ones before it (its descendants) are gone.
    for (Walk& w : walks) {
        for (size_t i = w.first; i < w.end; ++i) {
            if (walkedNodes[i] == this) {
                if (w.goneUntil < i + 1) w.goneUntil = i + 1;
                break;
            }
        }
    }
}

NodeObservation::NodeObservation(NodeObservation&& other) noexcept { *this = std::move(other); }

NodeObservation& NodeObservation::operator=(NodeObservation&& other) noexcept {
    if (this == &other) return *this;
    reset();
    if (other.watched) {
        watched = other.watched;
        observer = other.observer;
        std::replace(watched->observations.begin(), watched->observations.end(), &other, this);
        other.watched = nullptr;
        other.observer = nullptr;
    }
    return *this;
}

void NodeObservation::observe(DbNode& node, NodeObserver& who) {
    reset();
    watched = &node;
    observer = &who;
    node.observations.push_back(this);
    // The node's list is freed by the node: the tree visits it when it goes.
    ++node.arena->observations;
    node.arena->keepTrackOf(node);
}

void NodeObservation::reset() {
    if (!watched) return;
    auto& list = watched->observations;
    auto gone = std::remove(list.begin(), list.end(), this);
    watched->arena->observations -= size_t(list.end() - gone);
    list.erase(gone, list.end());
    watched = nullptr;
    observer = nullptr;
}

void DbNode::setOwner(User* user) {
    owner = user;
    for (auto& [key, node] : children) node->setOwner(user);
}

void DbNode::addHolder(std::string_view userName, bool makeOwner) {
    SessionUser& user = knownUser(userName);
    if (holders.contains(&user)) {
        if (makeOwner) setOwner(&user);
        return;
    }
    holders.push_back(&user, *arena);
    if (makeOwner) setOwner(&user);
    for (auto& [key, node] : children) node->addHolder(userName, makeOwner);
}

void DbNode::setCategoryDefinition(std::string_view holder, std::string_view definition) {
    categoryDefinitions.set(holder, definition);
    arena->keepTrackOf(*this);  // the definitions are freed by the node
}

void DbNode::setModule(std::string_view moduleName) {
    moduleName = FixedText<256>::fit(moduleName);
    if (module.block) {
        arena->give(module.block, sizeof(uint32_t) + module.size());
        module.block = nullptr;
    }
    if (moduleName.empty()) return;
    auto size = uint32_t(moduleName.size());
    module.block = static_cast<char*>(arena->take(sizeof size + size));
    std::memcpy(module.block, &size, sizeof size);
    std::memcpy(module.block + sizeof size, moduleName.data(), size);
}

int DbNode::removeModuleNodes(std::string_view moduleName) {
    // The root and an empty name match nothing: the Campaign's own nodes
    // have an empty module.
    if (moduleName.empty()) return 0;
    if (parent && module == moduleName) {
        delete this;
        return 1;
    }
    bool deleted = true;
    while (deleted) {
        deleted = false;
        for (auto& [key, node] : children) {
            if (node->removeModuleNodes(moduleName)) {
                deleted = true;  // the map changed: start over
                break;
            }
        }
    }
    return 0;
}

DbNode& rootNode() {
    // Never destroyed: at exit, windows that observe nodes may be gone.
    alignas(DbNode) static unsigned char place[sizeof(DbNode)];
    static DbNode* root = ::new (place) DbNode("", nullptr);
    return *root;
}

DbNode* findNode(std::string_view path, const DbNode& root) {
    const DbNode* node = &root;
    while (node) {
        size_t dot = path.find('.');
        node = node->child(path.substr(0, dot));
        if (dot == std::string_view::npos) break;
        path.remove_prefix(dot + 1);
    }
    return const_cast<DbNode*>(node);
}

void clearTree(DbNode& root) {
    while (!root.children.empty()) delete root.children.begin()->second;
}

}  // namespace lh::db
