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
    };
    State state = ReadingRequestLine;
    std::unique_ptr<Connection> connection;
    uint64_t arrivedMs = 0;
    uint16_t port = 0;
    std::string requestLine;  // cut at the last " HTTP/" and at the query
    std::vector<std::string> headerLines;
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
    void setTimeoutMs(uint64_t ms) { timeoutMs = ms; }
    void collectWatchedFds(std::vector<platform::WatchedFd>& out) const;

private:
    bool stepRequest(HttpServerRequest& request, uint64_t now);  // false: delete it
    void parse(HttpServerRequest& request);

    std::vector<std::unique_ptr<HttpServerRequest>> requests;
    uint64_t timeoutMs = 15000;
};

// Milliseconds on a steady clock, for time-outs.
uint64_t steadyMs();

}  // namespace lh::net
