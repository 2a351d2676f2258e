// Hooks a Session into the platform's event wait, so that the main loop
// wakes as soon as one of the session's sockets is ready or a host name has
// been looked up, instead of at the next tick. The loop still calls
// Session::poll() on each Wake event; game logic stays on the main thread.
#pragma once

#include "platform/Signal.h"

namespace lh::net {

class Session;

// Call before the session connects anywhere (the resolver's callback must
// be set before its first lookup). The session's descriptors are watched for
// as long as the returned handle lives; the session must outlive it.
platform::Subscription attachToMainLoop(Session& session);

}  // namespace lh::net
