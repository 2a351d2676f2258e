// The interface through which controls follow a node of the record tree.
#pragma once

namespace lh::db {

enum class ChangeKind : int {
    children = 0,  // the set of children changed
    value = 1,     // the value of a child changed
};

class NodeObserver {
public:
    virtual ~NodeObserver() = default;
    virtual void onChanged(ChangeKind) {}
    // The node is being deleted. The observer must remove itself from the
    // node in this call.
    virtual void onNodeDeleted() = 0;
};

}  // namespace lh::db
