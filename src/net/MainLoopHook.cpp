// The session's descriptors as the platform wait's provider; see
// MainLoopHook.h.
#include "net/MainLoopHook.h"

#include "net/Session.h"
#include "platform/Platform.h"

namespace lh::net {

void attachToMainLoop(Session& session) {
    session.resolver().setOnDone([] { platform::wakeMainLoop(); });
    platform::setFdProvider([&session](std::vector<platform::WatchedFd>& fds) { session.collectWatchedFds(fds); });
}

void detachFromMainLoop() { platform::setFdProvider(nullptr); }

}  // namespace lh::net
