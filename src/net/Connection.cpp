// The polled TCP stream; see Connection.h.
#include "net/Connection.h"

#include <algorithm>

#include "net/Resolver.h"
#include "platform/Socket.h"

namespace lh::net {
namespace {
// Receiving stops after this much in one pump, so that one flooding peer
// leaves the others their turn; readiness brings the next pump at once.
constexpr size_t kReceiveBudget = 8u << 20;
constexpr size_t kReceiveChunk = 256u << 10;

bool isLineEnd(uint8_t c) { return c == '\r' || c == '\n'; }
}  // namespace

Connection::Connection(Resolver* r, size_t sendMax, size_t receiveMax)
    : resolver(r), sendLimit(sendMax), receiveLimit(receiveMax) {}

Connection::Connection(std::unique_ptr<Resolver> own, size_t sendMax, size_t receiveMax)
    : ownedResolver(std::move(own)), resolver(ownedResolver.get()), sendLimit(sendMax), receiveLimit(receiveMax) {}

Connection::~Connection() {
    platform::shutdownSocket(fd);
    platform::closeSocket(fd);
}

void Connection::dropSocket() {
    platform::shutdownSocket(fd);
    platform::closeSocket(fd);
    fd = -1;
    sendQueue.clear();
    receiveQueue.clear();
    peerIp = 0;
    haveAddress = false;
}

void Connection::reset() {
    dropSocket();
    lingering = false;
    sendingEnded = false;
    errorText.clear();
    currentState = ConnectionState::Fresh;
}

void Connection::fail(const char* why) {
    platform::closeSocket(fd);
    fd = -1;
    errorText = why;
    currentState = ConnectionState::Failed;
}

void Connection::connectTo(const std::string& hostText, uint16_t port) {
    reset();
    host = hostText.substr(0, 255);
    remotePort = port;
    if (host.empty()) return fail("empty hostname");
    fd = platform::openTcpSocket();
    if (fd < 0) return fail("creating socket");
    haveAddress = platform::parseIpv4(host, peerIp);
    currentState = ConnectionState::Resolving;
}

void Connection::capReceiveBuffer(int bytes) { platform::capReceiveBuffer(fd, bytes); }

void Connection::adopt(int socket, uint32_t address, uint16_t port) {
    reset();
    if (socket < 0 || !platform::prepareAcceptedSocket(socket)) {
        platform::closeSocket(socket);
        return fail("invalid socket passed to connect");
    }
    fd = socket;
    peerIp = address;
    haveAddress = true;
    remotePort = port;
    currentState = ConnectionState::Connected;
}

void Connection::beginConnect() {
    if (!haveAddress) {
        if (!resolver) return fail("resolving hostname");
        switch (resolver->lookup(host, peerIp)) {
            case Resolver::Answer::Pending: return;
            case Resolver::Answer::Failed: return fail("resolving hostname");
            case Resolver::Answer::Known: haveAddress = true; break;
        }
    }
    switch (platform::startConnect(fd, peerIp, remotePort)) {
        case platform::IoStatus::Done: currentState = ConnectionState::Connected; break;
        case platform::IoStatus::WouldBlock: currentState = ConnectionState::Connecting; break;
        default: fail("connecting to host"); break;
    }
}

void Connection::pump(long maxSend, long maxReceive, size_t* sent, size_t* received) {
    if (sent) *sent = 0;
    if (received) *received = 0;
    if (currentState == ConnectionState::Resolving) beginConnect();
    if (currentState == ConnectionState::Connecting) {
        switch (platform::connectProgress(fd)) {
            case platform::ConnectProgress::Pending: return;
            case platform::ConnectProgress::WaitFailed: return fail("connecting to host (calling select())");
            case platform::ConnectProgress::Refused: return fail("connecting to host");
            case platform::ConnectProgress::Connected: currentState = ConnectionState::Connected; break;
        }
    }
    if (currentState == ConnectionState::Connected || currentState == ConnectionState::Closing) {
        transfer(maxSend, maxReceive, sent, received);
    }
    if (lingering) return linger();
    if (currentState == ConnectionState::Closing && sendQueue.empty()) {
        // Our half ends here; the peer sees the end of the stream after
        // everything that was queued.
        platform::shutdownSocket(fd);
        currentState = ConnectionState::Closed;
    }
}

void Connection::linger() {
    // Nothing the peer sends now is wanted, but it must be taken: unread
    // bytes at the close would turn it into a reset.
    receiveQueue.clear();
    if (currentState == ConnectionState::Closing) {
        if (sendQueue.empty() && !sendingEnded) {
            platform::shutdownSending(fd);
            sendingEnded = true;
        }
        return;
    }
    // The peer's end came (or the stream failed): nothing is left to wait for.
    dropSocket();
    currentState = ConnectionState::Closed;
}

void Connection::transfer(long maxSend, long maxReceive, size_t* sentOut, size_t* receivedOut) {
    size_t sendBudget = maxSend < 0 ? sendQueue.size() : std::min(sendQueue.size(), size_t(maxSend));
    size_t sent = 0;
    bool sendFailed = false;
    while (sent < sendBudget) {
        platform::IoResult r = platform::sendSome(fd, sendQueue.data(), sendBudget - sent);
        // A failed send is left alone: the receive side finds the dead peer,
        // unless the owner reads nothing (below).
        sendFailed = r.status == platform::IoStatus::Failed;
        if (r.status != platform::IoStatus::Done || r.bytes == 0) break;
        sendQueue.consume(r.bytes);
        sent += r.bytes;
    }
    if (sendFailed && maxReceive == 0) {
        currentState = ConnectionState::Closed;
        if (sentOut) *sentOut = sent;
        return;
    }
    size_t room = receiveLimit > receiveQueue.size() ? receiveLimit - receiveQueue.size() : 0;
    size_t receiveBudget = std::min(room, maxReceive < 0 ? kReceiveBudget : size_t(maxReceive));
    size_t got = 0;
    while (got < receiveBudget) {
        size_t chunk = std::min(kReceiveChunk, receiveBudget - got);
        platform::IoResult r = platform::receiveSome(fd, receiveQueue.prepare(chunk), chunk);
        if (r.status == platform::IoStatus::Done) {
            receiveQueue.commit(r.bytes);
            got += r.bytes;
            if (r.bytes < chunk) break;  // the socket is drained for now
            continue;
        }
        if (r.status != platform::IoStatus::WouldBlock) currentState = ConnectionState::Closed;
        break;
    }
    if (sentOut) *sentOut = sent;
    if (receivedOut) *receivedOut = got;
}

size_t Connection::writeSpace() const {
    return sendLimit > sendQueue.size() ? sendLimit - sendQueue.size() : 0;
}

int Connection::write(const void* data, size_t length) {
    if (length > writeSpace() || sendingEnded) return -1;
    sendQueue.append(data, length);
    return 0;
}

int Connection::writeText(const std::string& text) { return write(text.data(), text.size()); }

void Connection::watch(std::vector<platform::WatchedFd>& out, bool moreToSend, bool reading) const {
    if (fd < 0) return;
    // An unconnected socket reports a hang-up at once: watching it while
    // the name is looked up would spin.
    if (currentState == ConnectionState::Connecting) out.push_back({fd, false, true});
    if (currentState == ConnectionState::Connected || currentState == ConnectionState::Closing) {
        bool writing = moreToSend || !sendQueue.empty();
        if (reading || writing) out.push_back({fd, reading, writing});
    }
}

size_t Connection::lineCount() const {
    // Counts the way readLine() takes them: an ending swallows the other
    // byte of a CR LF / LF CR pair right behind it.
    const uint8_t* p = receiveQueue.data();
    size_t n = receiveQueue.size();
    size_t lines = 0;
    for (size_t i = 0; i < n; ++i) {
        if (!isLineEnd(p[i])) continue;
        ++lines;
        if (i + 1 < n && isLineEnd(p[i + 1]) && p[i + 1] != p[i]) ++i;
    }
    return lines;
}

int Connection::readLine(std::string& line, size_t maxLength) {
    line.clear();
    const uint8_t* p = receiveQueue.data();
    size_t n = receiveQueue.size();
    size_t i = 0;
    while (i < n && !isLineEnd(p[i])) {
        if (line.size() == maxLength) {
            receiveQueue.consume(i);
            return 1;
        }
        line.push_back(char(p[i++]));
    }
    if (i < n) {
        uint8_t end = p[i++];
        if (i < n && isLineEnd(p[i]) && p[i] != end) ++i;
    }
    receiveQueue.consume(i);
    return 0;
}

int Connection::takeLine(std::string& line, size_t maxLength, size_t& scanned, uint64_t* examined) {
    const uint8_t* p = receiveQueue.data();
    size_t n = std::min(receiveQueue.size(), maxLength + 1);
    size_t i = std::min(scanned, n);
    size_t from = i;
    while (i < n && !isLineEnd(p[i])) ++i;
    if (examined) *examined += i - from;
    if (i > maxLength) return -1;
    // No ending yet, or a CR whose LF may still be on its way.
    if (i == receiveQueue.size() || (p[i] == '\r' && i + 1 == receiveQueue.size())) {
        scanned = i;
        return 0;
    }
    line.assign(reinterpret_cast<const char*>(p), i);
    uint8_t end = p[i++];
    if (i < receiveQueue.size() && isLineEnd(p[i]) && p[i] != end) ++i;
    receiveQueue.consume(i);
    scanned = 0;
    return 1;
}

void Connection::close(bool hard) {
    if (!hard) {
        if (currentState == ConnectionState::Connected) {
            currentState = ConnectionState::Closing;
            return;
        }
        // A connection that is not up yet has nothing to deliver; one that
        // is closing already goes on delivering what it holds, and one that
        // has ended stays as it is.
        if (currentState != ConnectionState::Resolving && currentState != ConnectionState::Connecting) return;
    }
    dropSocket();
    currentState = ConnectionState::Closed;
}

void Connection::finish() {
    if (currentState != ConnectionState::Connected && currentState != ConnectionState::Closing) return close(true);
    currentState = ConnectionState::Closing;
    lingering = true;
    pump(-1, 0);
}

void Connection::abort() {
    platform::abortSocket(fd);
    fd = -1;
    sendQueue.clear();
    receiveQueue.clear();
    currentState = ConnectionState::Closed;
}

}  // namespace lh::net
