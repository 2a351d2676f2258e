// A peer that speaks the session's wire format by hand, for tests that must
// send what the real program never would: forged, hostile or out-of-turn
// messages to a host running as its own process.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace lh::test {

// A plain TCP peer that knows nothing but the wire format.
struct RawPeer {
    int fd = -1;
    static RawPeer adopt(int socket) {
        RawPeer p;
        p.fd = socket;
        return p;
    }
    RawPeer() = default;
    RawPeer(RawPeer&& other) noexcept : fd(other.fd) { other.fd = -1; }
    explicit RawPeer(uint16_t port) {
        for (int i = 0; i < 600 && fd < 0; ++i) {
            int s = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_port = htons(port);
            a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            if (connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) {
                fd = s;
            } else {
                close(s);
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
        }
    }
    ~RawPeer() {
        if (fd >= 0) close(fd);
    }
    void send(const char* tag, const std::string& body) {
        std::string m(4, '\0');
        uint32_t n = uint32_t(body.size());
        for (int i = 0; i < 4; ++i) m[size_t(i)] = char(n >> (8 * i));
        m.append(tag, 5);
        m += body;
        ASSERT_EQ(::send(fd, m.data(), m.size(), MSG_NOSIGNAL), ssize_t(m.size()));
    }
    bool readExact(std::string& out, size_t n) {
        out.clear();
        while (out.size() < n) {
            pollfd p{fd, POLLIN, 0};
            if (poll(&p, 1, 20000) <= 0) return false;
            char buf[4096];
            ssize_t got = ::recv(fd, buf, std::min(sizeof buf, n - out.size()), 0);
            if (got <= 0) return false;
            out.append(buf, size_t(got));
        }
        return true;
    }
    // The next message: tag and body; false when none comes.
    bool receive(std::string& tag, std::string& body) {
        std::string head;
        if (!readExact(head, 9)) return false;
        uint32_t n = 0;
        for (int i = 0; i < 4; ++i) n |= uint32_t(uint8_t(head[size_t(i)])) << (8 * i);
        tag = head.substr(4, 5);
        return readExact(body, n);
    }
};

inline std::string connectBody(const std::string& user, const std::string& password) {
    return std::string(20, '\0') + user + '\0' + password + '\0';
}

}  // namespace lh::test
