// The client side of one HTTP exchange over a polled Connection: build and
// queue the request, then poll() until the body is there. Redirects (301,
// 302) restart at the new location. There is no proxy support: nothing in
// the program asks for one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "net/Connection.h"

namespace lh::net {

class Resolver;

// The parts of "scheme://credentials@host:port/path".
struct ParsedUrl {
    std::string host;
    uint16_t port = 80;
    std::string path = "/";
    std::string credentials;
};
ParsedUrl parseUrl(const std::string& url);
std::string base64(const std::string& bytes);

class HttpRequest {
public:
    enum State : int { Failed = -1, StatusLine = 0, RedirectHeader = 1, Header = 2, Body = 3 };

    // `resolver` null gives every connection a resolver of its own.
    explicit HttpRequest(Resolver* resolver, size_t receiveSize = 16384);
    ~HttpRequest();

    // Ignored if it holds a CR or LF.
    void addHeader(const std::string& line);
    // version % 10 is the minor HTTP version; `method` is sent as given.
    void start(const std::string& url, int version = 0, const std::string& method = "GET");

    // -1 failed, 0 under way, 1 the connection is closed.
    int poll();
    // -1 failed, 0 before the header, 1 reading the header, 2 reading the body.
    int progress() const;
    int statusCode() const;
    // Case-blind; the value without its leading blanks, or null.
    const char* headerValue(const std::string& name) const;
    size_t bodyAvailable() const;
    size_t readBody(void* buffer, size_t length);

    State state() const { return current; }
    const std::string& errorText() const { return error; }
    const std::string& statusLine() const { return status; }
    Connection* connection() { return link.get(); }

private:
    void failWith(const std::string& text);

    Resolver* resolver;
    size_t receiveSize;
    std::unique_ptr<Connection> link;
    State current = Failed;
    std::string url;
    ParsedUrl parts;
    std::string extraHeaders;
    std::string responseHeaders;  // each line closed by a zero byte
    size_t headerBytes = 0;       // of the status line and header taken so far
    size_t lineScan = 0;          // see Connection::takeLine
    std::string status;
    std::string error;
};

}  // namespace lh::net
