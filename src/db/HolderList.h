// The users who hold a copy of a node, in order of arrival. A node is born
// with its parent's list, and nearly always keeps it unchanged, so the list
// is shared between nodes until one of them changes its own (copy on write).
//
// The count of sharers is a plain number, not an atomic one: a tree and its
// lists belong to one thread, and a load of a large database copies and
// drops a list for every node it makes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace lh::db {

class SessionUser;

class HolderList {
public:
    using const_iterator = std::vector<SessionUser*>::const_iterator;

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

    const_iterator begin() const { return shared ? shared->users.cbegin() : none().cbegin(); }
    const_iterator end() const { return shared ? shared->users.cend() : none().cend(); }
    size_t size() const { return shared ? shared->users.size() : 0; }
    bool empty() const { return size() == 0; }
    SessionUser* operator[](size_t i) const { return shared->users[i]; }
    bool contains(const SessionUser* user) const { return std::find(begin(), end(), user) != end(); }

    void push_back(SessionUser* user) {
        if (!shared) {
            shared = new Shared;
        } else if (shared->sharers > 1) {
            Shared* own = new Shared{1, shared->users};
            release();
            shared = own;
        }
        shared->users.push_back(user);
    }
    void clear() { release(); }

    friend bool operator==(const HolderList& a, const HolderList& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    struct Shared {
        uint32_t sharers = 1;
        std::vector<SessionUser*> users;
    };
    Shared* shared = nullptr;

    void release() {
        if (shared && --shared->sharers == 0) delete shared;
        shared = nullptr;
    }

    static const std::vector<SessionUser*>& none() {
        static const std::vector<SessionUser*> empty;
        return empty;
    }
};

}  // namespace lh::db
