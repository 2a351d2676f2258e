// The users who hold a copy of a node, in order of arrival. A node is born
// with its parent's list, and nearly always keeps it unchanged, so the list
// is shared between nodes until one of them changes its own (copy on write).
//
// A list lives in the memory of its tree (see NodeArena) and knows where:
// a tree that goes whole takes its lists with it, and a list left by its
// last node goes back by itself. The count of sharers is a plain number,
// not an atomic one: a tree and its lists belong to one thread, and a load
// of a large database copies a list for every node it makes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "db/NodeArena.h"

namespace lh::db {

class SessionUser;

class HolderList {
public:
    using const_iterator = SessionUser* const*;

    HolderList() = default;
    HolderList(const HolderList& other) : shared(other.shared) {
        if (shared) ++shared->sharers;
    }
    HolderList(HolderList&& other) noexcept : shared(std::exchange(other.shared, nullptr)) {}
    HolderList& operator=(const HolderList& other) {
        if (other.shared) ++other.shared->sharers;
        release();
        shared = other.shared;
        return *this;
    }
    HolderList& operator=(HolderList&& other) noexcept {
        if (this != &other) {
            release();
            shared = std::exchange(other.shared, nullptr);
        }
        return *this;
    }
    ~HolderList() { release(); }

    const_iterator begin() const { return shared ? shared->users() : nullptr; }
    const_iterator end() const { return shared ? shared->users() + shared->count : nullptr; }
    size_t size() const { return shared ? shared->count : 0; }
    bool empty() const { return size() == 0; }
    SessionUser* operator[](size_t i) const { return shared->users()[i]; }
    bool contains(const SessionUser* user) const { return std::find(begin(), end(), user) != end(); }

    // Adds a user; a list of its own is made in `arena`, the tree's memory.
    void push_back(SessionUser* user, NodeArena& arena) {
        uint32_t count = uint32_t(size());
        Shared* own = new (arena.take(Shared::bytes(count + 1))) Shared{&arena, 1, count + 1};
        if (count) std::memcpy(static_cast<void*>(own->users()), shared->users(), count * sizeof(SessionUser*));
        own->users()[count] = user;
        release();
        shared = own;
    }
    void clear() { release(); }
    // Drops the list without giving it back: for a tree that goes whole.
    void forget() { shared = nullptr; }

    friend bool operator==(const HolderList& a, const HolderList& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    // The header of a list; the users follow it in the same block.
    struct Shared {
        NodeArena* arena;
        uint32_t sharers;
        uint32_t count;
        SessionUser** users() { return reinterpret_cast<SessionUser**>(this + 1); }
        static size_t bytes(uint32_t count) { return sizeof(Shared) + count * sizeof(SessionUser*); }
    };
    static_assert(sizeof(Shared) % alignof(SessionUser*) == 0);
    Shared* shared = nullptr;

    void release() {
        if (shared && --shared->sharers == 0) shared->arena->give(shared, Shared::bytes(shared->count));
        shared = nullptr;
    }
};

}  // namespace lh::db
