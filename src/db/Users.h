// The records of users. They outlive their connections: a node's holders and
// owner point at them for the whole run, so they are never destroyed.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/FixedText.h"

namespace lh::net {
class Connection;
}

namespace lh::db {

// A user name holds 19 bytes. The launcher accepts up to 49 characters; a
// longer name is cut to fit, here and at every lookup, so one person always
// maps to the same record and no field is ever overrun. Two names that agree
// in their first 19 bytes are then the same user, which the login refuses as
// a name already in use.
using UserName = FixedText<20>;

class User {
public:
    User() = default;
    explicit User(std::string_view userName) : name(userName) {}
    virtual ~User() = default;
    User(const User&) = delete;
    User& operator=(const User&) = delete;

    UserName name;
    std::vector<std::string> identities;  // names of the user's Identities
};

class SessionUser : public User {
public:
    using User::User;

    net::Connection* connection = nullptr;  // null while the user is offline
    FixedText<120> identity;                // the Identity last taken on
};

// This process's own user.
User& localUser();

// Every SessionUser met in this run, in order of meeting. LocalUser is not
// among them.
const std::vector<std::unique_ptr<SessionUser>>& knownUsers();
// The user of that exact name (after cutting to fit), or null.
SessionUser* findKnownUser(std::string_view name);
// The same, creating an offline record when there is none.
SessionUser& knownUser(std::string_view name);

}  // namespace lh::db
