// The operating system's TCP sockets behind a few small calls: non-blocking
// IPv4 streams, a listener, blocking name lookup for the resolver thread, and
// a readiness wait. Addresses are IPv4 in host byte order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace lh::platform {

enum class IoStatus {
    Done,        // `bytes` moved (send/recv), or the call succeeded
    WouldBlock,  // nothing can move now; try again when ready
    PeerClosed,  // recv only: the peer ended the stream
    Failed,
};

struct IoResult {
    IoStatus status = IoStatus::Failed;
    size_t bytes = 0;
};

// A non-blocking, close-on-exec TCP socket with Nagle's delay off (the
// session sends many small messages that must not wait). -1 on failure.
int openTcpSocket();

// Makes an accepted socket non-blocking with Nagle's delay off.
bool prepareAcceptedSocket(int fd);

// Starts a connect: Done when it stood at once, WouldBlock while under way.
IoStatus startConnect(int fd, uint32_t address, uint16_t port);

enum class ConnectProgress { Connected, Pending, Refused, WaitFailed };
// Looks without waiting whether a connect under way has finished.
ConnectProgress connectProgress(int fd);

// Never raises SIGPIPE: a dead peer shows up as Failed.
IoResult sendSome(int fd, const void* data, size_t length);
IoResult receiveSome(int fd, void* buffer, size_t capacity);

// A listening socket on `address` (0: every address) and `port` (0: any
// free one), non-blocking, with the given backlog; accepted sockets inherit
// a receiveBuffer cap above 0. -1 on failure.
int listenTcp(uint16_t port, uint32_t address, int backlog, int receiveBuffer = 0);
// The next waiting connection, or -1 when nobody waits.
int acceptTcp(int listenFd, uint32_t& peerAddress, uint16_t& peerPort);
// The port a socket is bound to; 0 if unknown.
uint16_t boundPort(int fd);

// Caps the kernel's receive buffer (before connect or listen, so that the
// window is negotiated for it). Bytes waiting there are bytes that a small
// message sent behind them must wait for.
void capReceiveBuffer(int fd, int bytes);

void shutdownSocket(int fd);
// Ends our half only: the peer reads to the end of the stream, and we can
// still read what it sends.
void shutdownSending(int fd);
void closeSocket(int fd);
// Closes at once with a reset: what the kernel still holds to send is
// dropped. A graceful end would queue behind those bytes, and a peer that
// reads nothing would never see it, while the kernel kept the buffer.
void abortSocket(int fd);

// "a.b.c.d" only; no name lookup.
bool parseIpv4(const std::string& text, uint32_t& address);
std::string formatIpv4(uint32_t address);
// Letters, digits, '-' and '_' in dot-separated labels of 1..63 bytes.
bool isHostNameSyntax(const std::string& name);
// Blocks while the system looks the name up: for the resolver's thread only.
bool lookupHostName(const std::string& name, uint32_t& address);

// Waits until one of `fds` is ready as asked or the timeout (ms, -1 none)
// passes. True when one is ready.
bool waitForSockets(const std::vector<WatchedFd>& fds, int timeoutMs);

}  // namespace lh::platform
