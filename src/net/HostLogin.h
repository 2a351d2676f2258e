// The host's side of the login and the join: CONNQ (password, names, the
// user's record), IDLSQ (who is here, what characters exist), IDENQ (taking
// on a character), and what happens when a user is gone.
#pragma once

#include <functional>
#include <string>

namespace lh::db {
class DbNode;
class SessionUser;
}  // namespace lh::db

namespace lh::net {

class Session;

struct HostLoginHooks {
    // A line in "systemfont" on the host's chat.
    std::function<void(const std::string&)> postLine;
    // Sends a record to one user (the host's copy of a character), and
    // everything else that user owns; the replication layer provides them.
    std::function<void(db::DbNode& record, const std::string& userName)> sendRecord;
    std::function<void(const std::string& userName)> sendOwned;
    // A logged-in user's connection is gone.
    std::function<void(const std::string& userName)> userGone;
    // A character came into play or left it (the character registry).
    std::function<void(const std::string& identity, const std::string& userName, bool isLocal)> characterInPlay;
    std::function<void(const std::string& identity)> characterGone;
};

// Registers the handlers on a host session. The session, and the hooks'
// targets, must outlive it.
void attachHostLogin(Session& session, HostLoginHooks hooks);

// Ends a user's connection now, with no notice, as the character list's
// kick does; the departure runs at the session's next poll.
void kickUser(Session& session, const std::string& userName);

}  // namespace lh::net
