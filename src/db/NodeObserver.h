// How controls and others follow a node of the record tree: a NodeObserver
// receives the calls, and a NodeObservation is the scoped handle that joins
// the two. The observation ends itself when either side goes: the handle's
// destructor leaves the node, and a deleted node ends every observation on
// it before it tells the observer. Nobody has to remember to leave.
#pragma once

namespace lh::db {

class DbNode;

enum class ChangeKind : int {
    children = 0,  // the set of children changed
    value = 1,     // the value of a child changed
};

class NodeObserver {
public:
    virtual ~NodeObserver() = default;
    virtual void onChanged(ChangeKind) {}
    // The node is being deleted; the observation has ended already, and the
    // observer may drop its handle, start another or delete itself here.
    virtual void onNodeDeleted() {}
};

// Owned by the observer (usually a member), so that it dies with it. Moving
// it keeps the observation; it is not copied.
class NodeObservation {
public:
    NodeObservation() = default;
    NodeObservation(DbNode& node, NodeObserver& observer) { observe(node, observer); }
    ~NodeObservation() { reset(); }
    NodeObservation(NodeObservation&& other) noexcept;
    NodeObservation& operator=(NodeObservation&& other) noexcept;
    NodeObservation(const NodeObservation&) = delete;
    NodeObservation& operator=(const NodeObservation&) = delete;

    // Ends any earlier observation of this handle and starts this one.
    void observe(DbNode& node, NodeObserver& observer);
    void reset();

    // The node observed; null when none, or once it was deleted.
    DbNode* node() const { return watched; }
    explicit operator bool() const { return watched != nullptr; }

private:
    friend class DbNode;
    DbNode* watched = nullptr;
    NodeObserver* observer = nullptr;
};

}  // namespace lh::db
