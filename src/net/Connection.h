// One TCP stream, polled: nothing here blocks or raises an event. The owner
// calls pump() when the socket is ready or the tick comes round, and looks at
// state() afterwards. Buffers grow as needed up to the limits given at
// construction; write() takes a buffer whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "net/ByteQueue.h"
#include "platform/Platform.h"

namespace lh::net {

class Resolver;

enum class ConnectionState : int {
    Failed = 0,      // lastError() says why
    Fresh = 1,       // nothing asked for yet
    Resolving = 2,   // waiting for the host name
    Connecting = 3,  // connect under way
    Connected = 4,
    Closing = 5,     // still sending what is queued, then Closed
    Closed = 6,      // by us, or the peer is gone
};

class Connection {
public:
    // The session's limit: a whole message of the largest body fits.
    static constexpr size_t kDefaultLimit = (64u << 20) + 64;

    // `resolver` may be null (names then fail) and is not owned.
    explicit Connection(Resolver* resolver, size_t sendLimit = kDefaultLimit,
                        size_t receiveLimit = kDefaultLimit);
    // The connection owns a resolver of its own.
    explicit Connection(std::unique_ptr<Resolver> ownResolver, size_t sendLimit = kDefaultLimit,
                        size_t receiveLimit = kDefaultLimit);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void connectTo(const std::string& host, uint16_t port);
    // Caps the kernel's receive buffer; call between connectTo() and the
    // first pump().
    void capReceiveBuffer(int bytes);
    // Takes an accepted socket; peerAddress in host byte order.
    void adopt(int socket, uint32_t peerAddress, uint16_t peerPort);

    // One step of the state machine. maxSend / maxReceive bound the bytes
    // moved in this step (-1: as much as the socket and limits allow).
    void pump(long maxSend = -1, long maxReceive = -1, size_t* sent = nullptr, size_t* received = nullptr);

    size_t writeSpace() const;
    int write(const void* data, size_t length);  // 0, or -1 if it does not fit
    int writeText(const std::string& text);
    size_t pendingSend() const { return sendQueue.size(); }

    size_t readable() const { return receiveQueue.size(); }
    size_t peek(void* out, size_t length) const { return receiveQueue.peek(out, length); }
    size_t read(void* out, size_t length) { return receiveQueue.take(out, length); }
    // Received bytes in place, for parsers that take whole messages.
    ByteQueue& received() { return receiveQueue; }

    // A line ends at CR or LF; CR LF and LF CR count as one ending.
    size_t lineCount() const;
    // 0 when a whole line was taken (ending consumed, not stored), 1 when
    // maxLength bytes came first (those are taken, the rest stays).
    int readLine(std::string& line, size_t maxLength);

    // Line reading for parsers of untrusted input, in one pass: the search
    // for the end of the first line goes on from `scanned`, the bytes before
    // it having been looked at by an earlier call. 1: a line was taken
    // (ending consumed, not stored; `scanned` back to 0); 0: no whole line
    // yet; -1: more than maxLength bytes without an ending. A CR that is
    // the last byte so far waits for the next, which may be its LF.
    // `examined`, if given, grows by the bytes looked at.
    int takeLine(std::string& line, size_t maxLength, size_t& scanned, uint64_t* examined = nullptr);

    void close(bool hard);
    // Ends a stream whose peer may still be talking, without losing what
    // it was sent: what is queued goes out, then our half ends, and what
    // the peer still sends is read and thrown away until its end arrives
    // (state Closing until then, Closed after, the socket gone). Closing a
    // socket with unread input would reset the stream instead, and the peer
    // would lose whatever it had not read yet. The owner bounds the wait
    // with close(true).
    void finish();
    bool finishing() const { return lingering; }
    // Gives the stream up at once: what waits here or in the kernel is
    // dropped and the peer is reset, even one that reads nothing. State 6.
    void abort();

    ConnectionState state() const { return currentState; }
    const std::string& lastError() const { return errorText; }
    const std::string& hostName() const { return host; }
    uint32_t peerAddress() const { return peerIp; }
    uint16_t port() const { return remotePort; }
    int socket() const { return fd; }
    // Adds the socket to a readiness wait: for reading while connected
    // (unless the owner reads no more), for writing while a connect is
    // under way or bytes wait (or `moreToSend`).
    void watch(std::vector<platform::WatchedFd>& out, bool moreToSend = false, bool reading = true) const;

private:
    void dropSocket();  // closes it and empties both buffers
    void reset();
    void fail(const char* why);
    void beginConnect();
    void transfer(long maxSend, long maxReceive, size_t* sent, size_t* received);
    void linger();

    std::unique_ptr<Resolver> ownedResolver;
    Resolver* resolver = nullptr;
    size_t sendLimit;
    size_t receiveLimit;
    ByteQueue sendQueue;
    ByteQueue receiveQueue;
    int fd = -1;
    std::string host;
    uint32_t peerIp = 0;
    bool haveAddress = false;
    uint16_t remotePort = 0;
    ConnectionState currentState = ConnectionState::Fresh;
    std::string errorText;
    bool lingering = false;  // finish(): reading to the peer's end
    bool sendingEnded = false;
};

}  // namespace lh::net
