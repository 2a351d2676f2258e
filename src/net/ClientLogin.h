// The client's side of the login: connecting, the version check, the
// password, the name rule; then the Identity messages of the join.
#pragma once

#include <cstdint>
#include <functional>
#include <string>


namespace lh::net {

class Session;

// What connectToHost's caller does with each result.
enum ConnectResult : int {
    kLoggedIn = 0,
    kNameTaken = 1,      // "User name already in use..."
    kNoConnection = 2,   // no connection, version mismatch, password dialog cancelled
    kLoginCut = 5,       // the connection closed during the login
    kQuitDuringLogin = 6,  // the user ended the program meanwhile: no message
};

struct ClientLoginHooks {
    // Waits up to `timeoutMs` for the session's sockets (or input); false
    // when the user asked to quit meanwhile.
    std::function<bool(int timeoutMs)> wait;
    // The "Enter password" dialog: true with the text, false on Cancel.
    std::function<bool(std::string& password)> askPassword;
    std::function<void(const std::string& title, const std::string& text)> showBox;
};

// Runs the login to its end: CONNQ with `userName` and `password` (empty on
// the first try, as a host expects), the answer, the version check, password
// retries on the same connection. On success the Campaign's name, setting
// and Ruleset come from the answer and the client folder is made.
int connectToHost(Session& session, const std::string& address, uint16_t port, const std::string& userName,
                  std::string password, const ClientLoginHooks& hooks);

// The box of a result, or empty texts for those without one.
void connectResultBox(int result, std::string& title, std::string& text);

struct ClientJoinHooks {
    std::function<void(const std::string&)> postLine;
    // A server character that may be taken (IDLSR).
    std::function<void(const std::string& name)> characterOffered;
    std::function<void(const std::string& identity, const std::string& userName, bool isLocal)> characterInPlay;
    std::function<void(const std::string& identity)> characterGone;
    // The answer to our IDENQ: true accepted.
    std::function<void(bool accepted)> identityAnswer;
};

void attachClientJoin(Session& session, ClientJoinHooks hooks);

// The same events for every other listener (the chat, the characters):
// net/JoinEvents.h.

// IDENQ for a character; `isLocal` when the client brings its own record.
void requestIdentity(Session& session, const std::string& name, bool isLocal);

}  // namespace lh::net
