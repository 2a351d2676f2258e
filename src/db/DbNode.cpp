// The record tree: construction, navigation, change notification, holders
// and owners, and the ordered tear-down of a deleted subtree.
#include "db/DbNode.h"

#include <algorithm>
#include <cstdio>

#include "db/DbContext.h"
#include "db/SessionMode.h"
#include "platform/Trace.h"

namespace lh::db {

DbNode::DbNode(std::string_view nodeName, DbNode* parentNode) : name(nodeName), parent(parentNode) {
    if (parent) {
        owner = parent->owner;
        holders = parent->holders;
    }
}

DbNode::~DbNode() {
    if (tornDown) return;  // a node below the deleted one: already handled
    tellObserversOfDeletion();
    if (parent) {
        auto it = parent->children.find(name);
        if (it != parent->children.end() && it->second == this) {
            parent->children.erase(it);
            parent->notify(ChangeKind::children);
        }
    }
    tearDown(false);
}

void DbNode::tellObserversOfDeletion() {
    // Each observation ends before its observer hears of it, so the observer
    // may do anything with its handle, or with itself, in the call. One that
    // starts observing this node again is ended in the next round.
    while (!observations.empty()) {
        NodeObservation* ending = observations.front();
        observations.erase(observations.begin());
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
    for (auto& [key, node] : children) {
        node->tellObserversOfDeletion();
        node->tearDown(true);
        delete node;
    }
    children.clear();
    value.reset();
    tornDown = true;
}

DbNode* DbNode::addChildQuietly(std::string_view key) {
    if (key.empty() || key.find('.') != std::string_view::npos) return nullptr;
    if (DbNode* existing = children.get(key)) return existing;
    auto* node = new DbNode(key, this);
    children.insert(node->name, node);
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
    value = std::move(newValue);
    value->node = this;
    return 0;
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
    std::vector<NodeObservation*> told;
    for (DbNode* n = this; n; n = n->parent) {
        if (n->observations.empty()) continue;
        // The list as it was when the change came; a handle that ended since
        // is no longer in the node's list and is skipped, never touched.
        told.assign(n->observations.begin(), n->observations.end());
        for (NodeObservation* o : told) {
            auto& live = n->observations;
            if (std::find(live.begin(), live.end(), o) != live.end()) o->observer->onChanged(change);
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
}

void NodeObservation::reset() {
    if (!watched) return;
    auto& list = watched->observations;
    list.erase(std::remove(list.begin(), list.end(), this), list.end());
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
    holders.push_back(&user);
    if (makeOwner) setOwner(&user);
    for (auto& [key, node] : children) node->addHolder(userName, makeOwner);
}

void DbNode::setCategoryDefinition(std::string_view holder, std::string_view definition) {
    categoryDefinitions[std::string(holder)] = std::string(definition);
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
    static DbNode* root = new DbNode("", nullptr);
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
