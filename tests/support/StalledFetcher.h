// A file-service client that asks for a file and then reads nothing: a raw
// socket from a chosen loopback address (127.0.0.2 and so on reach the same
// machine but count as other addresses) with a tiny receive window, which
// may also keep writing after its request. The connect runs without
// blocking, so a host in the same process can be polled meanwhile.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

namespace lh::test {

class StalledFetcher {
public:
    StalledFetcher(uint32_t fromAddress, uint16_t port, const std::string& path, size_t junkAfter = 0)
        : request(std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + "GET /" + path + " HTTP/1.0\r\n\r\n"),
          junkLeft(junkAfter) {
        fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd < 0) return;
        int small = 4096;
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_addr.s_addr = htonl(fromAddress);
        sockaddr_in remote{};
        remote.sin_family = AF_INET;
        remote.sin_port = htons(port);
        remote.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
            (::connect(fd, reinterpret_cast<sockaddr*>(&remote), sizeof remote) != 0 && errno != EINPROGRESS)) {
            ::close(fd);
            fd = -1;
        }
    }
    ~StalledFetcher() {
        if (fd >= 0) ::close(fd);
    }
    StalledFetcher(const StalledFetcher&) = delete;
    StalledFetcher& operator=(const StalledFetcher&) = delete;

    // Sends what it can of the request and the junk behind it; true once the
    // request itself has gone.
    bool step() {
        if (fd < 0) return false;
        while (!request.empty()) {
            ssize_t n = ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
            if (n <= 0) return false;
            request.erase(0, size_t(n));
        }
        std::string junk(64 * 1024, 'j');
        while (junkLeft > 0) {
            ssize_t n = ::send(fd, junk.data(), std::min(junk.size(), junkLeft), MSG_NOSIGNAL);
            if (n <= 0) break;
            junkLeft -= size_t(n);
        }
        return true;
    }
    // The first bytes of the reply, as far as they have come.
    std::string replyStart(size_t n) const {
        std::string out(n, '\0');
        ssize_t got = fd < 0 ? -1 : ::recv(fd, out.data(), n, MSG_PEEK | MSG_DONTWAIT);
        out.resize(got > 0 ? size_t(got) : 0);
        return out;
    }
    // True once the host has ended the connection (a reset counts).
    bool endedByHost() const {
        pollfd p{fd, POLLRDHUP, 0};
        if (fd < 0 || ::poll(&p, 1, 0) <= 0) return false;
        return (p.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
    }

private:
    int fd = -1;
    std::string request;
    size_t junkLeft;
};

}  // namespace lh::test
