// What the join tells about characters, for every subsystem that keeps
// something per character (the character registry and its strip of
// portraits, the chat's Identities): any number of listeners, each holding
// its Subscription. The login's handlers emit these after their own work.
#pragma once

#include <string>

#include "platform/Signal.h"

namespace lh::net {

struct JoinEvents {
    // Client: the host offers a character of the Campaign (IDLSR).
    platform::Signal<void(const std::string& name)> characterOffered;
    // A character came into play: on the host when it accepts an IDENQ, on
    // a client at LGINR. `isLocal`: its player brings the record and the
    // portrait himself.
    platform::Signal<void(const std::string& identity, const std::string& userName, bool isLocal)> characterInPlay;
    // Its player left: on the host at the departure, on a client at LGOTR.
    platform::Signal<void(const std::string& identity)> characterGone;
    // Client: the host's IDENR to our last IDENQ, with what that asked for.
    platform::Signal<void(const std::string& name, bool isLocal, bool accepted)> identityAnswered;
};

JoinEvents& joinEvents();

}  // namespace lh::net
