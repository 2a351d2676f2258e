// The children of a node: ordered by byte-wise comparison of their keys,
// held in one sorted array. Databases are read and written in key order, so
// the common insertion is an append, and a walk over the children touches
// one block of memory. The key of each entry is a view of the child's own
// name, which therefore never changes once the child is entered.
//
// The map itself is two numbers and a pointer, 16 bytes: most nodes are
// leaves, and a large database has a hundred thousand of them. Its array is
// taken from the tree's memory, which the node passes in; the node gives it
// back (release), or the tree goes with it.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <type_traits>

#include "db/NodeArena.h"

namespace lh::db {

class DbNode;

class ChildMap {
public:
    // Moved with memmove: a plain pair of a key and its node.
    struct value_type {
        std::string_view first;  // the key
        DbNode* second;          // the child
    };
    using const_iterator = const value_type*;
    static_assert(std::is_trivially_copyable_v<value_type>);

    ChildMap() = default;
    ChildMap(const ChildMap&) = delete;
    ChildMap& operator=(const ChildMap&) = delete;

    const_iterator begin() const { return entries; }
    const_iterator end() const { return entries + count_; }
    size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    const value_type& front() const { return entries[0]; }

    const_iterator find(std::string_view key) const {
        const value_type* it = lowerBound(key);
        return it != end() && it->first == key ? it : end();
    }
    DbNode* get(std::string_view key) const {
        const value_type* it = find(key);
        return it == end() ? nullptr : it->second;
    }
    size_t count(std::string_view key) const { return find(key) == end() ? 0 : 1; }

    // Enters `node` under `key` (a view of the node's name) unless the key is
    // taken. Returns false for a taken key.
    bool insert(std::string_view key, DbNode* node, NodeArena& arena) {
        const value_type* it = lowerBound(key);
        if (it != end() && it->first == key) return false;
        insertAt(size_t(it - entries), key, node, arena);
        return true;
    }
    // Where `key` stands or would stand, and whether it is there: a lookup
    // and an insertion with one search.
    size_t position(std::string_view key, bool& found) const {
        const value_type* it = lowerBound(key);
        found = it != end() && it->first == key;
        return size_t(it - entries);
    }
    DbNode* at(size_t index) const { return entries[index].second; }
    void insertAt(size_t index, std::string_view key, DbNode* node, NodeArena& arena) {
        if (count_ == capacity) grow(count_ + 1, arena);
        if (index != count_)
            std::memmove(static_cast<void*>(entries + index + 1), entries + index, (count_ - index) * sizeof(value_type));
        entries[index] = value_type{key, node};
        ++count_;
    }
    void erase(const_iterator it) {
        size_t index = size_t(it - entries);
        std::memmove(static_cast<void*>(entries + index), entries + index + 1, (count_ - index - 1) * sizeof(value_type));
        --count_;
    }
    // Gives the array back; the map is empty.
    void release(NodeArena& arena) {
        if (entries) arena.give(entries, capacity * sizeof(value_type));  // a leaf has none: no call for it
        forget();
    }
    // Empties the map without giving the array back: for a tree that goes whole.
    void forget() {
        entries = nullptr;
        count_ = capacity = 0;
    }
    void reserve(size_t n, NodeArena& arena) {
        if (n > capacity) grow(n, arena);
    }

private:
    value_type* entries = nullptr;
    uint32_t count_ = 0;
    uint32_t capacity = 0;

    void grow(size_t atLeast, NodeArena& arena) {
        size_t next = capacity ? size_t(capacity) * 2 : 4;
        if (next < atLeast) next = atLeast;
        auto* more = static_cast<value_type*>(arena.take(next * sizeof(value_type)));
        if (count_) std::memcpy(static_cast<void*>(more), entries, count_ * sizeof(value_type));
        if (entries) arena.give(entries, capacity * sizeof(value_type));
        entries = more;
        capacity = uint32_t(next);
    }

    // Byte-wise order, as std::string_view's, without a library call: keys
    // are a few bytes, and a load of a large database compares one pair for
    // every node it enters. Bytes are compared in words read as big-endian
    // numbers; the last word of the common part may overlap the one before,
    // which compared equal.
    static bool less(std::string_view a, std::string_view b) {
        size_t n = a.size() < b.size() ? a.size() : b.size();
        if (n >= 8) {
            for (size_t i = 0;; i += 8) {
                if (i + 8 > n) i = n - 8;
                uint64_t x = bigEndian64(a.data() + i), y = bigEndian64(b.data() + i);
                if (x != y) return x < y;
                if (i + 8 == n) break;
            }
        } else if (n >= 4) {
            uint32_t x = bigEndian32(a.data()), y = bigEndian32(b.data());
            if (x != y) return x < y;
            x = bigEndian32(a.data() + n - 4);
            y = bigEndian32(b.data() + n - 4);
            if (x != y) return x < y;
        } else {
            for (size_t i = 0; i < n; ++i) {
                if (a[i] != b[i]) return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
            }
        }
        return a.size() < b.size();
    }
    static uint64_t bigEndian64(const char* at) {
        uint64_t word;
        std::memcpy(&word, at, 8);
        return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
    }
    static uint32_t bigEndian32(const char* at) {
        uint32_t word;
        std::memcpy(&word, at, 4);
        return std::endian::native == std::endian::little ? __builtin_bswap32(word) : word;
    }

    const value_type* lowerBound(std::string_view key) const {
        // Appending in order is the usual case: test the end first.
        if (count_ == 0 || less(entries[count_ - 1].first, key)) return end();
        return std::lower_bound(begin(), end(), key, [](const value_type& e, std::string_view k) { return less(e.first, k); });
    }
};

}  // namespace lh::db
