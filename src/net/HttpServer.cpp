// Request parsing and reply sending of the HTTP server; see HttpServer.h.
#include "net/HttpServer.h"

#include <algorithm>
#include <chrono>

namespace lh::net {
namespace {
// Lines longer than this end the request as malformed.
constexpr size_t kMaxLine = 4096;
// The body is read from the responder while less than this waits to go
// out, so a file moves at the connection's speed without buffering whole.
constexpr size_t kSendWindow = 1u << 20;
constexpr size_t kReadPiece = 64u << 10;
}  // namespace

uint64_t steadyMs() {
    using namespace std::chrono;
    return uint64_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::string HttpServerRequest::target() const {
    // Everything behind the method: folder and file names may hold blanks,
    // and the protocol word was cut off already.
    size_t first = requestLine.find(' ');
    if (first == std::string::npos) return {};
    return requestLine.substr(first + 1);
}

HttpServer::~HttpServer() = default;

std::unique_ptr<HttpResponder> HttpServer::serve(HttpServerRequest& request, uint16_t) {
    request.setStatus("HTTP/1.1 404 NOT FOUND");
    return nullptr;
}

void HttpServer::addConnection(std::unique_ptr<Connection> connection, uint16_t port) {
    if (!connection) return;
    uint64_t now = steadyMs();
    size_t total = 0, fromAddress = 0, refusing = 0;
    for (const auto& r : requests) {
        if (r->state == HttpServerRequest::Refusing) {
            ++refusing;
            continue;
        }
        ++total;
        if (r->connection->peerAddress() == connection->peerAddress()) ++fromAddress;
    }
    bool busy = total >= maxConnections || fromAddress >= maxPerAddress;
    // Refusals that cannot leave at once are bounded too: past that, a
    // connection is simply closed.
    if (busy && refusing >= maxConnections) return;
    auto request = std::make_unique<HttpServerRequest>();
    request->connection = std::move(connection);
    request->arrivedMs = now;
    request->lastProgressMs = now;
    request->port = port;
    if (busy) {
        refuse(*request, kBusy, now);
        // The few bytes of a refusal nearly always leave in one go.
        if (request->connection->state() != ConnectionState::Closing) return;
    }
    requests.push_back(std::move(request));
}

void HttpServer::step() {
    uint64_t now = steadyMs();
    for (size_t i = 0; i < requests.size();) {
        if (stepRequest(*requests[i], now)) {
            ++i;
        } else {
            requests.erase(requests.begin() + long(i));
        }
    }
}

void HttpServer::refuse(HttpServerRequest& r, const char* status, uint64_t now) {
    Connection& c = *r.connection;
    c.received().clear();
    c.writeText(std::string(status) + "\r\n\r\n");
    c.close(false);
    c.pump(-1, 0);
    r.state = HttpServerRequest::Refusing;
    r.lastProgressMs = now;
}

void HttpServer::parse(HttpServerRequest& r) {
    Connection& c = *r.connection;
    bool reading = r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader;
    // Once the request is complete nothing more is read: what a peer sends
    // after it is left to the socket, where flow control stops the peer.
    c.pump(-1, reading ? long(kMaxHeaderBlock) : 0);
    if (c.state() == ConnectionState::Failed) {
        r.errorText = c.lastError();
        r.state = HttpServerRequest::Failed;
        return;
    }
    if (c.state() == ConnectionState::Closed) {
        r.state = HttpServerRequest::PeerClosed;
        return;
    }
    std::string line;
    while (r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader) {
        size_t room = kMaxHeaderBlock - std::min(r.headerBytes, kMaxHeaderBlock);
        size_t limit = std::min(kMaxLine, room);
        size_t before = c.readable();
        int got = c.takeLine(line, limit, r.lineScan, &examined);
        if (got == 0) return;
        if (got < 0 && limit == kMaxLine) {
            // A line that never ends is as malformed as a wrong one.
            r.errorText = "malformed HTTP request";
            r.state = HttpServerRequest::Failed;
            return;
        }
        r.headerBytes += before - c.readable();
        if (got < 0 || r.headerBytes > kMaxHeaderBlock) return refuse(r, kBadRequest, steadyMs());
        if (r.state == HttpServerRequest::ReadingRequestLine) {
            // The target runs from behind "GET " to the last " HTTP/": paths
            // may hold blanks of their own.
            size_t protocol = line.rfind(" HTTP/");
            if (line.rfind("GET ", 0) != 0 || protocol == std::string::npos || protocol < 4) {
                r.errorText = "malformed HTTP request";
                r.state = HttpServerRequest::Failed;
                return;
            }
            line.resize(protocol);
            if (size_t query = line.find('?'); query != std::string::npos) line.resize(query);
            r.requestLine = line;
            r.state = HttpServerRequest::ReadingHeader;
        } else if (line.empty()) {
            // No second request follows on the same connection: whatever
            // came behind this one is dropped.
            r.state = HttpServerRequest::Complete;
            c.received().clear();
        } else {
            r.headerLines.push_back(line);
        }
    }
    if (r.state == HttpServerRequest::Complete && r.served) {
        std::string head = (r.statusLine.empty() ? std::string("HTTP/1.1 200 OK") : r.statusLine) + "\r\n";
        for (const std::string& h : r.replyHeaders) head += h + "\r\n";
        head += "\r\n";
        c.writeText(head);
        r.state = HttpServerRequest::Sending;
    }
}

bool HttpServer::stepRequest(HttpServerRequest& r, uint64_t now) {
    Connection& c = *r.connection;
    if (r.state == HttpServerRequest::Refusing) {
        c.pump(-1, 0);
        bool ended = c.state() == ConnectionState::Closed || c.state() == ConnectionState::Failed;
        if (ended) return false;
        if (now - r.lastProgressMs < timeoutMs) return true;
        c.abort();
        return false;
    }
    // The time-out comes before any work on what the peer sent.
    bool headerIncomplete =
        r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader;
    if (headerIncomplete && now - r.arrivedMs >= timeoutMs) {
        c.abort();
        return false;
    }
    parse(r);
    if (r.state == HttpServerRequest::Failed || r.state == HttpServerRequest::PeerClosed) return false;
    if (r.state == HttpServerRequest::Refusing) return true;
    headerIncomplete =
        r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader;
    if (headerIncomplete) return true;
    if (r.state == HttpServerRequest::Complete && !r.served) {
        r.responder = serve(r, r.port);
        r.served = true;
        r.lastProgressMs = now;
        parse(r);  // queues the reply's head
        if (r.state == HttpServerRequest::Failed || r.state == HttpServerRequest::PeerClosed) return false;
    }
    if (r.state != HttpServerRequest::Sending) return true;
    bool ended = !r.responder;
    std::vector<uint8_t> piece(ended ? 0 : kReadPiece);
    while (!ended && c.pendingSend() < kSendWindow) {
        size_t n = r.responder->read(piece.data(), std::min(piece.size(), c.writeSpace()));
        if (n == 0) {
            ended = !r.responder->isOpen();
            break;
        }
        c.write(piece.data(), n);
    }
    size_t sent = 0;
    c.pump(-1, 0, &sent);
    if (c.state() != ConnectionState::Connected) return false;
    // A peer that takes nothing for long holds a file open and a buffer
    // full: it is given up with a reset. Closed the usual way, the end of
    // the stream would queue behind the bytes it never takes, so it would
    // not learn of it, and the kernel would keep those bytes.
    if (sent > 0 || c.pendingSend() == 0) r.lastProgressMs = now;
    if (now - r.lastProgressMs >= sendTimeoutMs) {
        c.abort();
        return false;
    }
    if (ended) {
        // The request ends once the reply has left.
        r.responder.reset();
        return c.pendingSend() > 0;
    }
    return true;
}

size_t HttpServer::bufferedBytes() const {
    size_t total = 0;
    for (const auto& r : requests) total += r->connection->readable();
    return total;
}

void HttpServer::collectWatchedFds(std::vector<platform::WatchedFd>& out) const {
    for (const auto& r : requests) {
        bool reading = r->state == HttpServerRequest::ReadingRequestLine ||
                       r->state == HttpServerRequest::ReadingHeader;
        r->connection->watch(out, r->responder != nullptr, reading);
    }
}

}  // namespace lh::net
