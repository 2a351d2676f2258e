// The children of a node: ordered by byte-wise comparison of their keys,
// held in one sorted array. Databases are read and written in key order, so
// the common insertion is an append, and a walk over the children touches
// one block of memory. The key of each entry is a view of the child's own
// name, which therefore never changes once the child is entered.
#pragma once

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace lh::db {

class DbNode;

class ChildMap {
public:
    using value_type = std::pair<std::string_view, DbNode*>;
    using const_iterator = std::vector<value_type>::const_iterator;

    const_iterator begin() const { return entries.begin(); }
    const_iterator end() const { return entries.end(); }
    size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }
    const value_type& front() const { return entries.front(); }

    const_iterator find(std::string_view key) const {
        auto it = lowerBound(key);
        return it != entries.end() && it->first == key ? const_iterator(it) : entries.end();
    }
    DbNode* get(std::string_view key) const {
        auto it = find(key);
        return it == end() ? nullptr : it->second;
    }
    size_t count(std::string_view key) const { return find(key) == end() ? 0 : 1; }

    // Enters `node` under `key` (a view of the node's name) unless the key is
    // taken. Returns false for a taken key.
    bool insert(std::string_view key, DbNode* node) {
        auto it = lowerBound(key);
        if (it != entries.end() && it->first == key) return false;
        entries.insert(it, value_type(key, node));
        return true;
    }
    void erase(const_iterator it) { entries.erase(it); }
    void clear() { entries.clear(); }
    void reserve(size_t n) { entries.reserve(n); }

private:
    std::vector<value_type> entries;

    std::vector<value_type>::const_iterator lowerBound(std::string_view key) const {
        // Appending in order is the usual case: test the end first.
        if (entries.empty() || entries.back().first < key) return entries.end();
        return std::lower_bound(entries.begin(), entries.end(), key,
                                [](const value_type& e, std::string_view k) { return e.first < k; });
    }
};

}  // namespace lh::db
