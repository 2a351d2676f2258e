// HTTP client exchange; see HttpRequest.h.
#include "net/HttpRequest.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>

#include "net/Resolver.h"

namespace lh::net {
namespace {
constexpr size_t kMaxStatusLine = 4095;
constexpr size_t kMaxHeaderLine = 4096;
constexpr size_t kMaxHeaderBlock = 16384;
// Room to receive at least this much per poll whatever the caller asked,
// so a body moves at the connection's speed.
constexpr size_t kMinReceive = 1u << 20;
}  // namespace

ParsedUrl parseUrl(const std::string& url) {
    ParsedUrl out;
    std::string rest = url;
    if (size_t scheme = rest.find("://"); scheme != std::string::npos) rest = rest.substr(scheme + 3);
    if (size_t slash = rest.find('/'); slash != std::string::npos) {
        out.path = rest.substr(slash);
        rest.resize(slash);
    }
    if (size_t at = rest.find('@'); at != std::string::npos) {
        out.credentials = rest.substr(0, at);
        rest = rest.substr(at + 1);
    }
    if (size_t colon = rest.find(':'); colon != std::string::npos) {
        unsigned long port = std::strtoul(rest.c_str() + colon + 1, nullptr, 10);
        out.port = port > 65535 ? 0 : uint16_t(port);
        rest.resize(colon);
    }
    out.host = rest;
    return out;
}

std::string base64(const std::string& bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t v = uint32_t(uint8_t(bytes[i])) << 16;
        if (i + 1 < bytes.size()) v |= uint32_t(uint8_t(bytes[i + 1])) << 8;
        if (i + 2 < bytes.size()) v |= uint8_t(bytes[i + 2]);
        out += digits[(v >> 18) & 63];
        out += digits[(v >> 12) & 63];
        out += i + 1 < bytes.size() ? digits[(v >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? digits[v & 63] : '=';
    }
    return out;
}

HttpRequest::HttpRequest(Resolver* r, size_t size) : resolver(r), receiveSize(std::max<size_t>(size, 4096)) {}

HttpRequest::~HttpRequest() = default;

void HttpRequest::addHeader(const std::string& line) {
    if (line.find_first_of("\r\n") != std::string::npos) return;
    extraHeaders += line + "\r\n";
}

void HttpRequest::failWith(const std::string& text) {
    error = text;
    current = Failed;
}

void HttpRequest::start(const std::string& newUrl, int version, const std::string& method) {
    link.reset();
    url = newUrl;
    parts = parseUrl(url);
    responseHeaders.clear();
    headerBytes = 0;
    lineScan = 0;
    status.clear();
    error.clear();
    if (parts.host.empty() || parts.port == 0) return failWith("invalid URL");
    std::string text = method + " " + parts.path + " HTTP/1." + std::to_string(version % 10) + "\r\n";
    text += "Host:" + parts.host + "\r\n";
    if (!parts.credentials.empty()) text += "Authorization: Basic " + base64(parts.credentials) + "\r\n";
    text += extraHeaders + "\r\n";
    size_t receiveLimit = std::max(receiveSize, kMinReceive);
    link = resolver ? std::make_unique<Connection>(resolver, text.size(), receiveLimit)
                    : std::make_unique<Connection>(std::make_unique<Resolver>(), text.size(), receiveLimit);
    link->connectTo(parts.host, parts.port);
    if (link->state() == ConnectionState::Failed) return failWith(link->lastError());
    link->writeText(text);
    current = StatusLine;
}

int HttpRequest::poll() {
    if (current == Failed || !link) return -1;
    link->pump();
    if (link->state() == ConnectionState::Failed) {
        failWith(link->lastError());
        return -1;
    }
    bool closed = link->state() == ConnectionState::Closed;
    std::string line;
    while (current != Body) {
        // The whole header has a bound, so a peer cannot keep us reading
        // header lines for ever.
        size_t room = kMaxHeaderBlock - std::min(headerBytes, kMaxHeaderBlock);
        size_t limit = std::min(current == StatusLine ? kMaxStatusLine : kMaxHeaderLine, room);
        size_t before = link->readable();
        int got = link->takeLine(line, limit, lineScan);
        if (got == 0) break;
        headerBytes += before - link->readable();
        if (got < 0 || headerBytes > kMaxHeaderBlock) {
            failWith("malformed HTTP reply");
            return -1;
        }
        if (current == StatusLine) {
            status = line;
            int code = statusCode();
            if (code == 200 || code == 206) {
                current = Header;
            } else if (code == 301 || code == 302) {
                current = RedirectHeader;
            } else {
                failWith(line);
                return -1;
            }
        } else if (current == RedirectHeader) {
            if (line.empty()) {
                failWith(status);
                return -1;
            }
            if (strncasecmp(line.c_str(), "Location:", 9) == 0) {
                std::string target = line.substr(9);
                target.erase(0, target.find_first_not_of(' '));
                if (!target.empty()) {
                    start(target, 0, "GET");
                    return current == Failed ? -1 : 0;
                }
            }
        } else if (line.empty()) {
            current = Body;
        } else {
            responseHeaders += line;
            responseHeaders += '\0';
        }
    }
    return closed ? 1 : 0;
}

int HttpRequest::progress() const {
    switch (current) {
        case Failed: return -1;
        case StatusLine: return 0;
        case RedirectHeader:
        case Header: return 1;
        case Body: return 2;
    }
    return -1;
}

int HttpRequest::statusCode() const {
    size_t blank = status.find(' ');
    if (blank == std::string::npos) return 0;
    return std::atoi(status.c_str() + blank + 1);
}

const char* HttpRequest::headerValue(const std::string& name) const {
    std::string key = name;
    if (!key.empty() && key.back() == ':') key.pop_back();
    for (size_t at = 0; at < responseHeaders.size();) {
        const char* line = responseHeaders.c_str() + at;
        size_t length = std::char_traits<char>::length(line);
        if (length > key.size() && line[key.size()] == ':' && strncasecmp(line, key.c_str(), key.size()) == 0) {
            const char* value = line + key.size() + 1;
            while (*value == ' ') ++value;
            return value;
        }
        at += length + 1;
    }
    return nullptr;
}

size_t HttpRequest::bodyAvailable() const { return current == Body && link ? link->readable() : 0; }

size_t HttpRequest::readBody(void* buffer, size_t length) {
    return current == Body && link ? link->read(buffer, length) : 0;
}

}  // namespace lh::net
