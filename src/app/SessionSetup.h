// The session of this run: a host that listens, a client that logs in, or
// the local mode without a network; and what the session's messages do to
// the rest of the program.
#pragma once

#include <string>

#include "app/WayIn.h"

namespace lh::net {
class Session;
}

namespace lh::app {

// The process-wide session; it exists from the way in to the end.
net::Session& session();
bool hasSession();

// Host: listens on the port and serves logins. A port that cannot be bound
// leaves a host that nobody can join, with no message.
void startHostSession(uint16_t port);
// Client: logs in and fetches the Ruleset's files. False after the result's
// box, which ends the start-up.
bool joinHostSession(const WayIn& wayIn, uint16_t port);
// Local characters: a session with no network.
void startLocalSession();

// After the content load: a client that was given an Identity on the
// command line asks for it.
void requestStartIdentity(const std::string& identity);

}  // namespace lh::app
