// A listening TCP socket that hands out accepted Connections.
#pragma once

#include <cstdint>
#include <memory>

#include "net/Connection.h"

namespace lh::net {

class Listener {
public:
    Listener() = default;
    ~Listener() { closeSocket(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // address 0 is every address; port 0 takes a free one (see port()).
    // False leaves the socket at -1: accept() then gives nothing.
    // receiveBuffer > 0 caps the kernel's receive buffer of accepted sockets.
    bool listenOn(uint16_t port, uint32_t address = 0, int backlog = 8, int receiveBuffer = 0);
    // A Connection in the Connected state, or null when nobody waits.
    std::unique_ptr<Connection> accept(size_t sendLimit = Connection::kDefaultLimit,
                                       size_t receiveLimit = Connection::kDefaultLimit);
    void closeSocket();

    int socket() const { return fd; }
    uint16_t port() const { return boundPort; }

private:
    int fd = -1;
    uint16_t boundPort = 0;
};

}  // namespace lh::net
