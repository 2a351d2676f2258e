// The observations of one node. Few nodes are watched at any time, so the
// list costs one pointer until the first observation comes: a large tree's
// nodes stay small.
#pragma once

#include <memory>
#include <vector>

namespace lh::db {

class NodeObservation;

class ObservationList {
public:
    using Entries = std::vector<NodeObservation*>;
    using iterator = Entries::iterator;

    iterator begin() { return entries ? entries->begin() : iterator(); }
    iterator end() { return entries ? entries->end() : iterator(); }
    size_t size() const { return entries ? entries->size() : 0; }
    bool empty() const { return !entries || entries->empty(); }
    NodeObservation*& front() { return entries->front(); }
    NodeObservation*& back() { return entries->back(); }

    void push_back(NodeObservation* observation) {
        if (!entries) entries = std::make_unique<Entries>();
        entries->push_back(observation);
    }
    iterator erase(iterator at) { return entries->erase(at); }
    iterator erase(iterator first, iterator last) { return first == last ? last : entries->erase(first, last); }
    // Frees the list, which must hold nothing.
    void release() { entries.reset(); }

private:
    std::unique_ptr<Entries> entries;
};

}  // namespace lh::db
