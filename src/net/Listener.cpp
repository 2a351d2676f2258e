// Accepting side of the session port; see Listener.h.
#include "net/Listener.h"

#include "platform/Socket.h"

namespace lh::net {

bool Listener::listenOn(uint16_t port, uint32_t address, int backlog, int receiveBuffer) {
    closeSocket();
    fd = platform::listenTcp(port, address, backlog, receiveBuffer);
    boundPort = fd >= 0 ? platform::boundPort(fd) : 0;
    return fd >= 0;
}

std::unique_ptr<Connection> Listener::accept(size_t sendLimit, size_t receiveLimit) {
    if (fd < 0) return nullptr;
    uint32_t address = 0;
    uint16_t port = 0;
    int socket = platform::acceptTcp(fd, address, port);
    if (socket < 0) return nullptr;
    auto connection = std::make_unique<Connection>(static_cast<Resolver*>(nullptr), sendLimit, receiveLimit);
    connection->adopt(socket, address, port);
    return connection;
}

void Listener::closeSocket() {
    platform::closeSocket(fd);
    fd = -1;
    boundPort = 0;
}

}  // namespace lh::net
