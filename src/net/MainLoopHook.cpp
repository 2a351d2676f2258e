// The session's descriptors as a subscriber of the platform wait; see
// MainLoopHook.h.
#include "net/MainLoopHook.h"

#include "net/Session.h"
#include "platform/Platform.h"
#include "platform/Spine.h"

namespace lh::net {

platform::Subscription attachToMainLoop(Session& session) {
    session.resolver().setOnDone([] { platform::wakeMainLoop(); });
    return platform::spine().watchFds.subscribe(
        [&session](std::vector<platform::WatchedFd>& fds) { session.collectWatchedFds(fds); });
}

}  // namespace lh::net
