// Request parsing and reply sending of the HTTP server; see HttpServer.h.
#include "net/HttpServer.h"

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
    auto request = std::make_unique<HttpServerRequest>();
    request->connection = std::move(connection);
    request->arrivedMs = steadyMs();
    request->port = port;
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

void HttpServer::parse(HttpServerRequest& r) {
    Connection& c = *r.connection;
    c.pump();
    if (c.state() == ConnectionState::Failed) {
        r.errorText = c.lastError();
        r.state = HttpServerRequest::Failed;
        return;
    }
    if (c.state() == ConnectionState::Closed) {
        r.state = HttpServerRequest::PeerClosed;
        return;
    }
    if (r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader) {
        // A line that never ends is as malformed as a wrong one.
        if (c.lineCount() == 0 && c.readable() > kMaxLine) {
            r.errorText = "malformed HTTP request";
            r.state = HttpServerRequest::Failed;
            return;
        }
    }
    if (r.state == HttpServerRequest::ReadingRequestLine && c.lineCount() > 0) {
        std::string line;
        c.readLine(line, kMaxLine);
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
    }
    while (r.state == HttpServerRequest::ReadingHeader && c.lineCount() > 0) {
        std::string line;
        c.readLine(line, kMaxLine);
        if (line.empty()) {
            r.state = HttpServerRequest::Complete;
        } else if (r.headerLines.size() < 256) {
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
    parse(r);
    if (r.state == HttpServerRequest::Failed || r.state == HttpServerRequest::PeerClosed) return false;
    bool headerIncomplete =
        r.state == HttpServerRequest::ReadingRequestLine || r.state == HttpServerRequest::ReadingHeader;
    if (headerIncomplete) return now - r.arrivedMs < timeoutMs;
    if (r.state == HttpServerRequest::Complete && !r.served) {
        r.responder = serve(r, r.port);
        r.served = true;
        parse(r);  // queues the reply's head
    }
    if (r.state != HttpServerRequest::Sending) return true;
    Connection& c = *r.connection;
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
    c.pump();
    if (ended) {
        // The request ends once the reply has left.
        r.responder.reset();
        return c.pendingSend() > 0 && c.state() == ConnectionState::Connected;
    }
    return c.state() == ConnectionState::Connected;
}

void HttpServer::collectWatchedFds(std::vector<platform::WatchedFd>& out) const {
    for (const auto& r : requests) r->connection->watch(out, r->responder != nullptr);
}

}  // namespace lh::net
