// The way this process was entered, chosen once per run by the launcher or
// the command line. It is held here, in the lowest layer that asks (the tree
// answers canEdit and the Campaign saves by it), and every layer above reads
// it from here.
#pragma once

namespace lh::db {

enum class SessionMode : int {
    Host = 0,             // the Gamemaster's process: holds the truth
    Join = 1,             // a player's process joined to a host
    LocalCharacters = 2,  // no session: local characters only
};

SessionMode sessionMode();
// Set once, when the way in is chosen; tests set it per case. Until then a
// process counts as joined: it writes nothing and may edit only its own.
void setSessionMode(SessionMode mode);

inline bool isHost() { return sessionMode() == SessionMode::Host; }

}  // namespace lh::db
