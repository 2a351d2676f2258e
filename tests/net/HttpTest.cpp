// The file service's road: an HTTP GET behind a FILEX envelope on the
// session port is handed to the HTTP server and answered; plus the client's
// URL parsing, redirects and header lookup.
#include <gtest/gtest.h>

#include <cstring>

#include "NetTestLoop.h"
#include "net/HttpRequest.h"
#include "net/Listener.h"
#include "net/Session.h"

using namespace lh::net;
using lh::test::openLoopbackHost;
using lh::test::pumpUntil;

namespace {

class TextResponder : public HttpResponder {
public:
    explicit TextResponder(std::string body) : text(std::move(body)) {}
    size_t read(uint8_t* buffer, size_t maximum) override {
        size_t n = std::min(maximum, text.size() - at);
        std::memcpy(buffer, text.data() + at, n);
        at += n;
        return n;
    }

private:
    std::string text;
    size_t at = 0;
};

// Serves "/big" (1 MiB of a pattern), redirects "/old" to "/big", and
// answers 404 for anything else.
class TestServer : public HttpServer {
public:
    std::string big;
    std::vector<std::string> targets;
    TestServer() {
        for (int i = 0; i < (1 << 20); ++i) big += char('a' + i % 26);
    }
    std::unique_ptr<HttpResponder> serve(HttpServerRequest& request, uint16_t port) override {
        targets.push_back(request.target());
        request.addReplyHeader("Server:test");
        if (request.target() == "/old") {
            request.setStatus("HTTP/1.1 302 Found");
            request.addReplyHeader("Location: http://127.0.0.1:" + std::to_string(port) + "/big");
            return nullptr;
        }
        if (request.target() != "/big") return HttpServer::serve(request, port);
        request.addReplyHeader("Content-Length: " + std::to_string(big.size()));
        return std::make_unique<TextResponder>(big);
    }
};

const std::string kFetchMethod = std::string("\xFF\xFF\xFF\xFF", 4) + "FILEXGET";

}  // namespace

TEST(Http, GetBehindFilexOnTheSessionPortIsServed) {
    Session host;
    uint16_t port = openLoopbackHost(host);
    auto server = std::make_unique<TestServer>();
    TestServer& srv = *server;
    host.setHttpServer(std::move(server));
    int departures = 0;
    host.setDepartureHandler([&](SessionPeer&) { ++departures; });

    for (std::string path : {"/big", "/missing?x=1"}) {
        HttpRequest fetch(&host.resolver());
        fetch.addHeader("Accept:*/*");
        fetch.addHeader("Bad:\r\nInjected: yes");
        fetch.start("http://127.0.0.1:" + std::to_string(port) + path, 0, kFetchMethod);
        std::string body;
        int result = 0;
        ASSERT_TRUE(pumpUntil({&host}, [&] {
            result = fetch.poll();
            char piece[4096];
            while (size_t n = fetch.readBody(piece, sizeof piece)) body.append(piece, n);
            return result != 0;
        }, {fetch.connection()}));
        if (path == "/missing?x=1") {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(fetch.errorText(), "HTTP/1.1 404 NOT FOUND");
            EXPECT_EQ(srv.targets.back(), "/missing");  // the query is cut
            continue;
        }
        EXPECT_EQ(result, 1) << fetch.errorText();
        EXPECT_EQ(fetch.statusCode(), 200);
        ASSERT_NE(fetch.headerValue("content-length"), nullptr);
        EXPECT_STREQ(fetch.headerValue("content-length:"), "1048576");
        EXPECT_STREQ(fetch.headerValue("SERVER"), "test");
        EXPECT_EQ(fetch.headerValue("Injected"), nullptr);
        EXPECT_EQ(body, srv.big);
    }
    // The fetch connections never counted as users.
    ASSERT_TRUE(pumpUntil({&host}, [&] { return host.httpServer().requestCount() == 0; }));
    EXPECT_TRUE(host.users().empty());
    EXPECT_EQ(departures, 0);
}

TEST(Http, RedirectRestartsAtTheNewLocation) {
    // A plain HTTP server on a listener of its own, as an outside one would be.
    Listener listener;
    ASSERT_TRUE(listener.listenOn(0, 0x7F000001));
    TestServer server;
    HttpRequest fetch(nullptr);
    fetch.start("http://127.0.0.1:" + std::to_string(listener.port()) + "/old");
    size_t bodyBytes = 0;
    ASSERT_TRUE(pumpUntil({}, [&] {
        if (auto c = listener.accept()) server.addConnection(std::move(c), listener.port());
        server.step();
        int result = fetch.poll();
        char piece[65536];
        while (size_t n = fetch.readBody(piece, sizeof piece)) bodyBytes += n;
        return result != 0;
    }));
    EXPECT_EQ(server.targets, (std::vector<std::string>{"/old", "/big"}));
    EXPECT_EQ(fetch.statusCode(), 200);
    EXPECT_EQ(bodyBytes, server.big.size());
}

TEST(Http, MalformedRequestsAreClosed) {
    Session host;
    uint16_t port = openLoopbackHost(host);
    for (std::string request : {std::string("POST / HTTP/1.0\r\n\r\n"), std::string("GET / FTP\r\n\r\n"),
                                std::string(20000, 'G')}) {
        Connection c(static_cast<Resolver*>(nullptr));
        c.connectTo("127.0.0.1", port);
        c.writeText(std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + request);
        ASSERT_TRUE(pumpUntil({&host}, [&] { return c.state() == ConnectionState::Closed; }, {&c}));
        EXPECT_EQ(c.readable(), 0u);
    }
    EXPECT_EQ(host.httpServer().requestCount(), 0u);
}

TEST(Http, ARequestWhoseHeaderNeverEndsTimesOut) {
    Session host;
    uint16_t port = openLoopbackHost(host);
    host.httpServer().setTimeoutMs(50);
    Connection c(static_cast<Resolver*>(nullptr));
    c.connectTo("127.0.0.1", port);
    c.writeText(std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + "GET /slow HTTP/1.0\r\nHost:x\r\n");
    ASSERT_TRUE(pumpUntil({&host}, [&] { return host.httpServer().requestCount() == 1; }, {&c}));
    ASSERT_TRUE(pumpUntil({&host}, [&] { return c.state() == ConnectionState::Closed; }, {&c}));
    EXPECT_EQ(host.httpServer().requestCount(), 0u);
    EXPECT_TRUE(host.users().empty());

    // The time-out is looked at before anything the peer sent: a request
    // that is already too old is not even read.
    auto server = std::make_unique<TestServer>();
    TestServer& srv = *server;
    host.setHttpServer(std::move(server));
    host.httpServer().setTimeoutMs(0);
    Connection late(static_cast<Resolver*>(nullptr));
    late.connectTo("127.0.0.1", port);
    late.writeText(std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + "GET /big HTTP/1.0\r\n\r\n");
    ASSERT_TRUE(pumpUntil({&host}, [&] { return late.state() == ConnectionState::Closed; }, {&late}));
    EXPECT_TRUE(srv.targets.empty());
    EXPECT_EQ(late.readable(), 0u);
}

TEST(Http, UrlPartsAndFailures) {
    ParsedUrl u = parseUrl("http://user:pw@example.org:8080/a/b\\c.png");
    EXPECT_EQ(u.host, "example.org");
    EXPECT_EQ(u.port, 8080);
    EXPECT_EQ(u.path, "/a/b\\c.png");
    EXPECT_EQ(u.credentials, "user:pw");
    ParsedUrl bare = parseUrl("host");
    EXPECT_EQ(bare.path, "/");
    EXPECT_EQ(bare.port, 80);
    EXPECT_EQ(base64("user:pw"), "dXNlcjpwdw==");

    HttpRequest r(nullptr);
    r.start("http://:80/x");
    EXPECT_EQ(r.poll(), -1);
    EXPECT_EQ(r.errorText(), "invalid URL");
    r.start("http://127.0.0.1:0/x");
    EXPECT_EQ(r.errorText(), "invalid URL");
}

TEST(Http, HeadersPastTheirCapAreRefusedAfterLittleWork) {
    Session host;
    uint16_t port = openLoopbackHost(host);
    host.setHttpServer(std::make_unique<TestServer>());
    // 256 KB of short header lines, sent before any login.
    std::string flood = std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + "GET /big HTTP/1.0\r\n";
    while (flood.size() < (256u << 10)) flood += "a:b\r\n";
    Connection c(static_cast<Resolver*>(nullptr));
    c.connectTo("127.0.0.1", port);
    c.writeText(flood);
    std::string reply;
    ASSERT_TRUE(pumpUntil({&host}, [&] {
        char piece[4096];
        while (size_t n = c.read(piece, sizeof piece)) reply.append(piece, n);
        return c.state() == ConnectionState::Closed && host.httpServer().requestCount() == 0;
    }, {&c}));
    EXPECT_EQ(reply, "HTTP/1.1 400 Bad Request\r\n\r\n");
    // Each byte up to the cap was looked at about once; nothing behind it.
    EXPECT_LE(host.httpServer().headerBytesExamined(), HttpServer::kMaxHeaderBlock);
    EXPECT_TRUE(host.users().empty());

    // The client side has the same bound on a reply's header.
    Listener listener;
    ASSERT_TRUE(listener.listenOn(0, 0x7F000001));
    HttpRequest fetch(nullptr);
    fetch.start("http://127.0.0.1:" + std::to_string(listener.port()) + "/x");
    std::string answer = "HTTP/1.1 200 OK\r\n";
    while (answer.size() < (256u << 10)) answer += "a:b\r\n";
    std::unique_ptr<Connection> server;
    int result = 0;
    ASSERT_TRUE(pumpUntil({}, [&] {
        if (!server && (server = listener.accept())) server->writeText(answer);
        if (server) server->pump();
        result = fetch.poll();
        return result != 0;
    }, {fetch.connection()}));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(fetch.errorText(), "malformed HTTP reply");
}
