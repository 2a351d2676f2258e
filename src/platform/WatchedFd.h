// A descriptor that the main loop's wait watches besides the window.
#pragma once

namespace lh::platform {

struct WatchedFd {
    int fd;
    bool read;
    bool write;
};

}  // namespace lh::platform
