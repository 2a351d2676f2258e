// Readiness watcher for the main loop's sockets.
#include "platform/FdWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace lh::platform {

bool pollDescriptors(const std::vector<WatchedFd>& fds, int interruptFd, int timeoutMs) {
    std::vector<pollfd> set;
    set.reserve(fds.size() + 1);
    if (interruptFd >= 0) set.push_back({interruptFd, POLLIN, 0});
    for (const WatchedFd& w : fds) {
        short events = short((w.read ? POLLIN : 0) | (w.write ? POLLOUT : 0));
        if (w.fd >= 0 && events) set.push_back({w.fd, events, 0});
    }
    if (::poll(set.data(), set.size(), timeoutMs) <= 0) return false;
    size_t first = 0;
    if (interruptFd >= 0) {
        first = 1;
        if (set[0].revents & POLLIN) {
            uint64_t drained;
            [[maybe_unused]] ssize_t n = ::read(interruptFd, &drained, sizeof drained);
        }
    }
    for (size_t i = first; i < set.size(); ++i) {
        if (set[i].revents) return true;
    }
    return false;
}

FdWatcher::FdWatcher(std::function<void()> ready) : onReady(std::move(ready)) {
    interruptFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    thread = std::thread([this] { run(); });
}

FdWatcher::~FdWatcher() {
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    interrupt();
    thread.join();
    if (interruptFd >= 0) close(interruptFd);
}

void FdWatcher::interrupt() {
    uint64_t one = 1;
    [[maybe_unused]] ssize_t n = ::write(interruptFd, &one, sizeof one);
}

void FdWatcher::arm(const std::vector<WatchedFd>& fds) {
    if (fds.empty()) return;
    {
        std::lock_guard lock(mutex);
        watched = fds;
        armed = true;
        ++generation;
    }
    changed.notify_all();
}

void FdWatcher::disarm() {
    bool wasArmed;
    {
        std::lock_guard lock(mutex);
        wasArmed = armed;
        armed = false;
    }
    if (wasArmed) interrupt();
}

void FdWatcher::run() {
    for (;;) {
        std::vector<WatchedFd> fds;
        unsigned armedGeneration;
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return stopping || armed; });
            if (stopping) return;
            fds = watched;
            armedGeneration = generation;
        }
        pollDescriptors(fds, interruptFd, -1);
        std::lock_guard lock(mutex);
        if (stopping) return;
        // Only a wait that is still the current arming may wake the loop;
        // after a disarm the main thread is awake anyway.
        if (armed && generation == armedGeneration) {
            armed = false;
            onReady();
        }
    }
}

}  // namespace lh::platform
