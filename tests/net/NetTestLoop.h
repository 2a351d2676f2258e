// Drives sessions and connections on loopback until a condition holds,
// waiting on their sockets between rounds the way the main loop does.
#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <vector>

#include "net/Connection.h"
#include "net/Session.h"
#include "platform/Socket.h"

namespace lh::test {

inline bool pumpUntil(std::initializer_list<net::Session*> sessions, const std::function<bool()>& done,
                      std::initializer_list<net::Connection*> connections = {}, int timeoutMs = 5000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        for (net::Session* s : sessions) s->poll();
        for (net::Connection* c : connections) c->pump();
        if (done()) return true;
        if (std::chrono::steady_clock::now() > end) return false;
        std::vector<platform::WatchedFd> fds;
        for (net::Session* s : sessions) s->collectWatchedFds(fds);
        for (net::Connection* c : connections) c->watch(fds);
        platform::waitForSockets(fds, 10);
    }
}

// A host on a free loopback port.
inline uint16_t openLoopbackHost(net::Session& host) {
    host.openListener(0, 0x7F000001);
    return host.listenPort();
}

}  // namespace lh::test
