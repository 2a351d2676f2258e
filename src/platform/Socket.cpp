// POSIX implementation of the socket calls in Socket.h.
#include "platform/Socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace lh::platform {
namespace {

bool setNonBlocking(int fd) {
    int flags = fcntl(fd, F_GETFL, 0);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

void setLowLatency(int fd) {
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    // Keep little unsent data in the kernel: what waits, waits in our own
    // buffer, where a poll can see it, and a small message queued behind a
    // big one is not stuck behind megabytes of kernel buffer.
    int lowWater = 128 * 1024;
    setsockopt(fd, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &lowWater, sizeof lowWater);
}

sockaddr_in makeAddress(uint32_t address, uint16_t port) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(address);
    return a;
}

bool wouldBlock(int err) { return err == EAGAIN || err == EWOULDBLOCK || err == EINTR; }

}  // namespace

int openTcpSocket() {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd >= 0) setLowLatency(fd);
    return fd;
}

bool prepareAcceptedSocket(int fd) {
    if (fd < 0 || !setNonBlocking(fd)) return false;
    setLowLatency(fd);
    return true;
}

IoStatus startConnect(int fd, uint32_t address, uint16_t port) {
    sockaddr_in a = makeAddress(address, port);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) return IoStatus::Done;
    if (errno == EINPROGRESS || errno == EAGAIN || errno == EINTR) return IoStatus::WouldBlock;
    return IoStatus::Failed;
}

ConnectProgress connectProgress(int fd) {
    pollfd p{fd, POLLOUT, 0};
    int n = ::poll(&p, 1, 0);
    if (n < 0) return errno == EINTR ? ConnectProgress::Pending : ConnectProgress::WaitFailed;
    if (n == 0) return ConnectProgress::Pending;
    int err = 0;
    socklen_t len = sizeof err;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len) != 0 || err != 0) return ConnectProgress::Refused;
    if (p.revents & (POLLERR | POLLHUP)) return ConnectProgress::Refused;
    return ConnectProgress::Connected;
}

IoResult sendSome(int fd, const void* data, size_t length) {
    ssize_t n = ::send(fd, data, length, MSG_NOSIGNAL);
    if (n >= 0) return {IoStatus::Done, size_t(n)};
    return {wouldBlock(errno) ? IoStatus::WouldBlock : IoStatus::Failed, 0};
}

IoResult receiveSome(int fd, void* buffer, size_t capacity) {
    ssize_t n = ::recv(fd, buffer, capacity, 0);
    if (n > 0) return {IoStatus::Done, size_t(n)};
    if (n == 0) return {IoStatus::PeerClosed, 0};
    return {wouldBlock(errno) ? IoStatus::WouldBlock : IoStatus::Failed, 0};
}

int listenTcp(uint16_t port, uint32_t address, int backlog, int receiveBuffer) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (receiveBuffer > 0) capReceiveBuffer(fd, receiveBuffer);
    int one = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a = makeAddress(address, port);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || ::listen(fd, backlog) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

int acceptTcp(int listenFd, uint32_t& peerAddress, uint16_t& peerPort) {
    sockaddr_in a{};
    socklen_t len = sizeof a;
    int fd = ::accept4(listenFd, reinterpret_cast<sockaddr*>(&a), &len, SOCK_CLOEXEC);
    if (fd < 0) return -1;
    peerAddress = ntohl(a.sin_addr.s_addr);
    peerPort = ntohs(a.sin_port);
    return fd;
}

uint16_t boundPort(int fd) {
    sockaddr_in a{};
    socklen_t len = sizeof a;
    if (fd < 0 || getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) != 0) return 0;
    return ntohs(a.sin_port);
}

void capReceiveBuffer(int fd, int bytes) {
    if (fd >= 0) setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

void shutdownSocket(int fd) {
    if (fd >= 0) ::shutdown(fd, SHUT_RDWR);
}

void shutdownSending(int fd) {
    if (fd >= 0) ::shutdown(fd, SHUT_WR);
}

void closeSocket(int fd) {
    if (fd >= 0) ::close(fd);
}

void abortSocket(int fd) {
    if (fd < 0) return;
    linger now{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    ::close(fd);
}

bool parseIpv4(const std::string& text, uint32_t& address) {
    in_addr a{};
    if (inet_pton(AF_INET, text.c_str(), &a) != 1) return false;
    address = ntohl(a.s_addr);
    return true;
}

std::string formatIpv4(uint32_t address) {
    in_addr a{};
    a.s_addr = htonl(address);
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &a, text, sizeof text);
    return text;
}

bool isHostNameSyntax(const std::string& name) {
    if (name.empty() || name.size() > 253) return false;
    size_t label = 0;
    for (size_t i = 0; i < name.size(); ++i) {
        char c = name[i];
        if (c == '.') {
            if (label == 0 || name[i - 1] == '-') return false;
            label = 0;
            continue;
        }
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
        if (!ok || ++label > 63 || (label == 1 && c == '-')) return false;
    }
    return name.back() != '-';
}

bool lookupHostName(const std::string& name, uint32_t& address) {
    // A name that no server could know is refused without asking one.
    if (!isHostNameSyntax(name)) return false;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0 || !found) return false;
    address = ntohl(reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr.s_addr);
    freeaddrinfo(found);
    return true;
}

bool waitForSockets(const std::vector<WatchedFd>& fds, int timeoutMs) {
    std::vector<pollfd> set;
    set.reserve(fds.size());
    for (const WatchedFd& w : fds) {
        short events = short((w.read ? POLLIN : 0) | (w.write ? POLLOUT : 0));
        if (w.fd >= 0 && events) set.push_back({w.fd, events, 0});
    }
    return ::poll(set.data(), set.size(), timeoutMs) > 0;
}

}  // namespace lh::platform
