// A small HTTP/1.x server without a socket of its own: connections are
// handed to it (a file fetch arrives on the session port behind a FILEX
// envelope). Each request is read, answered by serve(), and its body sent as
// fast as the connection drains; then the connection closes. No keep-alive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "net/Connection.h"
#include "platform/Platform.h"

namespace lh::net {

// Supplies the body of one reply.
class HttpResponder {
public:
    virtual ~HttpResponder() = default;
    // False for a responder that ends by itself once read() gives 0.
    virtual bool isOpen() const { return false; }
    // Bytes given, 0 at the end.
    virtual size_t read(uint8_t* buffer, size_t maximum) = 0;
};

struct HttpServerRequest {
    enum State : int {
        Failed = -1,
        ReadingRequestLine = 0,
        ReadingHeader = 1,
        Complete = 2,
        Sending = 3,
        PeerClosed = 4,
        Refusing = 5,  // a refusal (400, 503) goes out, then the connection closes
    };
    State state = ReadingRequestLine;
    std::unique_ptr<Connection> connection;
    uint64_t arrivedMs = 0;
    uint64_t lastProgressMs = 0;  // while sending: the last time bytes left or none waited
    uint16_t port = 0;
    std::string requestLine;  // cut at the last " HTTP/" and at the query
    std::vector<std::string> headerLines;
    size_t headerBytes = 0;  // of the request line and header taken so far
    size_t lineScan = 0;     // see Connection::takeLine
    std::string statusLine;
    std::vector<std::string> replyHeaders;  // without their "\r\n"
    std::string errorText;
    std::unique_ptr<HttpResponder> responder;
    bool served = false;

    // What stands behind "GET " in the request line: "/path", blanks and all.
    std::string target() const;
    void setStatus(const std::string& line) { statusLine = line; }
    void addReplyHeader(const std::string& line) { replyHeaders.push_back(line); }
};

class HttpServer {
public:
    // A request line and header larger than this are answered with 400.
    static constexpr size_t kMaxHeaderBlock = 16384;
    // Requests served at once from one address and in all; more are
    // answered with 503 and closed.
    static constexpr size_t kMaxPerAddress = 8;
    static constexpr size_t kMaxConnections = 32;
    static constexpr const char* kBadRequest = "HTTP/1.1 400 Bad Request";
    static constexpr const char* kBusy = "HTTP/1.1 503 Service Unavailable";

    HttpServer() = default;
    virtual ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // Inspects a complete request, sets the reply, and gives the body's
    // source or null for none. The plain server knows no files: 404.
    virtual std::unique_ptr<HttpResponder> serve(HttpServerRequest& request, uint16_t port);

    // Takes ownership; the connection may already hold the request's bytes.
    void addConnection(std::unique_ptr<Connection> connection, uint16_t port);
    // Runs every request once and deletes finished ones.
    void step();

    size_t requestCount() const { return requests.size(); }
    // The whole request must have come within this time.
    void setTimeoutMs(uint64_t ms) { timeoutMs = ms; }
    // A reply that cannot move for this long is given up.
    void setSendTimeoutMs(uint64_t ms) { sendTimeoutMs = ms; }
    void setConnectionLimits(size_t perAddress, size_t total) {
        maxPerAddress = perAddress;
        maxConnections = total;
    }
    // Bytes the header parser has looked at, all requests together; and
    // received bytes held by the requests now. For watching the work done.
    uint64_t headerBytesExamined() const { return examined; }
    size_t bufferedBytes() const;
    void collectWatchedFds(std::vector<platform::WatchedFd>& out) const;

private:
    bool stepRequest(HttpServerRequest& request, uint64_t now);  // false: delete it
    void parse(HttpServerRequest& request);
    void refuse(HttpServerRequest& request, const char* status, uint64_t now);

    std::vector<std::unique_ptr<HttpServerRequest>> requests;
    uint64_t timeoutMs = 15000;
    uint64_t sendTimeoutMs = 30000;
    size_t maxPerAddress = kMaxPerAddress;
    size_t maxConnections = kMaxConnections;
    uint64_t examined = 0;
};

// Milliseconds on a steady clock, for time-outs.
uint64_t steadyMs();

}  // namespace lh::net
