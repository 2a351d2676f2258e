// Malformed input from a client: each case is dropped with a line in the
// system font (or closes that one connection), and the host keeps serving
// the others.
#include <gtest/gtest.h>

#include "NetTestLoop.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"

using namespace lh::net;
using lh::test::openLoopbackHost;
using lh::test::pumpUntil;

namespace {

// A host whose CHATQ handler reads a font number and a text, a well-behaved
// client "good", and a raw connection "evil" that writes whatever it likes.
struct Arena {
    Session host;
    Session good;
    Connection evil{static_cast<Resolver*>(nullptr)};
    std::vector<std::string> systemLines;
    std::vector<std::string> goodChats;
    std::vector<std::string> hostChats;
    std::vector<std::string> departed;

    Arena() {
        uint16_t port = openLoopbackHost(host);
        host.setSystemLineSink([this](const std::string& line) { systemLines.push_back(line); });
        host.setDepartureHandler([this](SessionPeer& p) { departed.push_back(p.name); });
        host.setHandler(tags::CHATQ, [this](SessionPeer* from, const NetMessage& m) {
            MessageReader r(m);
            r.u32();
            std::string text = r.text(1024);
            if (!r.ok()) {
                host.reportMalformed(from, m, r.error());
                return HandlerResult::Rejected;
            }
            hostChats.push_back(text);
            return HandlerResult::Handled;
        });
        good.setHandler(tags::CHATR, [this](SessionPeer*, const NetMessage& m) {
            MessageReader r(m);
            r.u32();
            goodChats.push_back(r.text(1024));
            return HandlerResult::Handled;
        });
        good.connectToHost("127.0.0.1", port);
        EXPECT_TRUE(pumpUntil({&host, &good}, [&] { return host.users().size() == 1; }));
        host.users()[0]->name = "good";
        evil.connectTo("127.0.0.1", port);
        EXPECT_TRUE(pumpUntil({&host, &good}, [&] { return host.users().size() == 2; }, {&evil}));
        host.users()[1]->name = "evil";
    }

    void evilSends(const std::vector<uint8_t>& bytes) { evil.write(bytes.data(), bytes.size()); }
    void evilSends(const NetMessage& m) { evilSends(encodeMessage(m)); }

    // The good client still chats through the host.
    void goodStillServed(const std::string& text) {
        NetMessage chat(tags::CHATQ);
        MessageWriter(chat).u32(1).text(text);
        good.sendToHost(chat);
        ASSERT_TRUE(pumpUntil({&host, &good}, [&] { return !goodChats.empty() && goodChats.back() == text; },
                              {&evil}));
    }
};

NetMessage chatWith(std::vector<uint8_t> body) { return NetMessage(tags::CHATQ, std::move(body)); }

}  // namespace

TEST(Hardening, MalformedBodiesAndUnknownTagsAreDroppedWithALine) {
    Arena a;
    a.evilSends(chatWith({1, 2}));                       // too short for the number
    a.evilSends(chatWith({1, 0, 0, 0, 'n', 'o', 'z'}));  // text without its zero
    std::vector<uint8_t> longText(5000, 'x');
    longText.push_back(0);
    longText.insert(longText.begin(), 4, 0);
    a.evilSends(chatWith(longText));  // text longer than allowed
    a.evilSends(NetMessage(MessageTag("ZZZZZ"), {1, 2, 3}));
    a.evilSends(NetMessage(MessageTag("\x01\xff\x00zq"), {}));
    ASSERT_TRUE(pumpUntil({&a.host, &a.good}, [&] { return a.systemLines.size() == 5; }, {&a.evil}));
    EXPECT_NE(a.systemLines[0].find("CHATQ from 'evil'"), std::string::npos) << a.systemLines[0];
    EXPECT_NE(a.systemLines[0].find("found 2"), std::string::npos) << a.systemLines[0];
    EXPECT_NE(a.systemLines[1].find("zero-terminated"), std::string::npos);
    EXPECT_NE(a.systemLines[2].find("at most 1024"), std::string::npos);
    EXPECT_NE(a.systemLines[3].find("unknown message tag"), std::string::npos);
    EXPECT_TRUE(a.hostChats.empty());
    // The sender stays connected and the others are served.
    EXPECT_EQ(a.evil.state(), ConnectionState::Connected);
    a.goodStillServed("still here");
    EXPECT_EQ(a.hostChats.size(), 1u);
    EXPECT_TRUE(a.departed.empty());
    EXPECT_EQ(a.goodChats.size(), 1u);  // nothing malformed was relayed

    // A flood of garbage does not flood the chat.
    for (int i = 0; i < 100; ++i) a.evilSends(NetMessage(MessageTag("ZZZZZ"), {}));
    NetMessage last(tags::CHATQ);
    MessageWriter(last).u32(0).text("evil but well-formed");
    a.evilSends(last);
    ASSERT_TRUE(pumpUntil({&a.host, &a.good}, [&] { return a.hostChats.size() == 2; }, {&a.evil}));
    a.goodStillServed("after the flood");
    EXPECT_EQ(a.systemLines.size(), size_t(Session::kMaxMalformedLines) + 1);
    EXPECT_NE(a.systemLines.back().find("without a line"), std::string::npos);
}

TEST(Hardening, GarbageLengthClosesOnlyThatConnection) {
    for (uint32_t length : {0x7FFFFFFFu, (64u << 20) + 1, 0xFFFFFFFEu}) {
        Arena a;
        a.evilSends({uint8_t(length), uint8_t(length >> 8), uint8_t(length >> 16), uint8_t(length >> 24), 'C',
                     'H', 'A', 'T', 'Q', 'x'});
        ASSERT_TRUE(pumpUntil({&a.host, &a.good}, [&] { return a.evil.state() == ConnectionState::Closed; },
                              {&a.evil}));
        EXPECT_EQ(a.departed, std::vector<std::string>{"evil"});
        ASSERT_EQ(a.systemLines.size(), 1u);
        EXPECT_NE(a.systemLines[0].find("above the limit"), std::string::npos);
        a.goodStillServed("after " + std::to_string(length));
    }
}

TEST(Hardening, NotLoggedInAndWrongRoadAreIgnored) {
    Arena a;
    a.host.users()[1]->name.clear();  // as if the login had not happened yet
    NetMessage chat(tags::CHATQ);
    MessageWriter(chat).u32(0).text("sneaky");
    a.evilSends(chat);
    a.evilSends(NetMessage(tags::CONNR, {0, 0, 0}));  // only the host answers logins
    a.goodStillServed("fine");
    EXPECT_EQ(a.hostChats, std::vector<std::string>{"fine"});
    EXPECT_TRUE(a.systemLines.empty());
}

TEST(Hardening, AStrangerCannotAnnounceABigBody) {
    Arena a;
    a.host.users()[1]->name.clear();  // not logged in
    NetMessage login(tags::CONNQ);
    login.body.assign(100000, 'x');
    a.evilSends(login);
    ASSERT_TRUE(pumpUntil({&a.host, &a.good}, [&] { return a.evil.state() == ConnectionState::Closed; },
                          {&a.evil}));
    EXPECT_EQ(a.departed, std::vector<std::string>{""});
    a.goodStillServed("unbothered");
}

TEST(Hardening, BodyLargerThanTheOldRingsArrives) {
    Arena a;
    a.host.setHandler(tags::DRSTQ, [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; });
    std::vector<uint8_t> got;
    a.good.setHandler(tags::DRSTR, [&](SessionPeer*, const NetMessage& m) {
        got = m.body;
        return HandlerResult::Handled;
    });
    std::vector<uint8_t> big(3u << 20);
    for (size_t i = 0; i < big.size(); ++i) big[i] = uint8_t(i * 7);
    a.evilSends(NetMessage(tags::DRSTQ, big));
    ASSERT_TRUE(pumpUntil({&a.host, &a.good}, [&] { return !got.empty(); }, {&a.evil}));
    EXPECT_EQ(got, big);
}
