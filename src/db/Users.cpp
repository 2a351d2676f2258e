// The process-wide user records.
#include "db/Users.h"

namespace lh::db {

namespace {

std::vector<std::unique_ptr<SessionUser>>& users() {
    static std::vector<std::unique_ptr<SessionUser>> list;
    return list;
}

}  // namespace

User& localUser() {
    static User user;
    return user;
}

const std::vector<std::unique_ptr<SessionUser>>& knownUsers() { return users(); }

SessionUser* findKnownUser(std::string_view name) {
    std::string_view fitted = UserName::fit(name);
    for (const auto& user : users()) {
        if (user->name == fitted) return user.get();
    }
    return nullptr;
}

SessionUser& knownUser(std::string_view name) {
    if (SessionUser* user = findKnownUser(name)) return *user;
    users().push_back(std::make_unique<SessionUser>(name));
    return *users().back();
}

}  // namespace lh::db
