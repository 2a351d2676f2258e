// The users who hold a copy of a node, in order of arrival. A node is born
// with its parent's list, and nearly always keeps it unchanged, so the list
// is shared between nodes until one of them changes its own (copy on write).
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

namespace lh::db {

class SessionUser;

class HolderList {
public:
    using const_iterator = std::vector<SessionUser*>::const_iterator;

    const_iterator begin() const { return list ? list->begin() : empty_().begin(); }
    const_iterator end() const { return list ? list->end() : empty_().end(); }
    size_t size() const { return list ? list->size() : 0; }
    bool empty() const { return size() == 0; }
    SessionUser* operator[](size_t i) const { return (*list)[i]; }
    bool contains(const SessionUser* user) const { return std::find(begin(), end(), user) != end(); }

    void push_back(SessionUser* user) {
        if (!list) {
            list = std::make_shared<std::vector<SessionUser*>>();
        } else if (list.use_count() > 1) {
            list = std::make_shared<std::vector<SessionUser*>>(*list);
        }
        list->push_back(user);
    }
    void clear() { list.reset(); }

    friend bool operator==(const HolderList& a, const HolderList& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    std::shared_ptr<std::vector<SessionUser*>> list;

    static const std::vector<SessionUser*>& empty_() {
        static const std::vector<SessionUser*> none;
        return none;
    }
};

}  // namespace lh::db
