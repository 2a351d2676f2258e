// Watches descriptors on a thread of its own while the main thread sleeps in
// the window system's wait, and wakes it when one becomes ready. It touches
// nothing but the descriptors' readiness: all reading and writing stays on the
// main thread.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/Platform.h"

namespace lh::platform {

class FdWatcher {
public:
    explicit FdWatcher(std::function<void()> onReady);
    ~FdWatcher();
    FdWatcher(const FdWatcher&) = delete;
    FdWatcher& operator=(const FdWatcher&) = delete;

    // Starts watching these descriptors until disarm(); onReady runs at most
    // once per arming, on the watcher's thread.
    void arm(const std::vector<WatchedFd>& fds);
    void disarm();

private:
    void run();
    void interrupt();

    std::function<void()> onReady;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<WatchedFd> watched;
    bool armed = false;
    bool stopping = false;
    unsigned generation = 0;
    int interruptFd = -1;
    std::thread thread;
};

// Blocks the calling thread until a descriptor is ready, the interrupt
// descriptor is written, a signal arrives or the timeout (ms, -1 none) passes.
// True when one of `fds` is ready.
bool pollDescriptors(const std::vector<WatchedFd>& fds, int interruptFd, int timeoutMs);

}  // namespace lh::platform
