// Sessions on loopback: messages split and glued over a real socket, the
// relays between a host and three clients, addressed sending, and the loss
// of a connection on either side.
#include <gtest/gtest.h>

#include <algorithm>

#include "NetTestLoop.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"
#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "support/TestSupport.h"

using namespace lh::net;
using lh::test::openLoopbackHost;
using lh::test::pumpUntil;

namespace {

struct Received {
    std::string by;
    std::string tag;
    std::string body;
};

std::string bodyText(const NetMessage& m) { return {m.body.begin(), m.body.end()}; }

NetMessage textMessage(MessageTag tag, const std::string& text) {
    NetMessage m(tag);
    m.body.assign(text.begin(), text.end());
    return m;
}

// A host with three logged-in clients named a, b and c.
struct Table {
    Session host;
    Session clients[3];
    std::vector<Received> log;

    Table() {
        uint16_t port = openLoopbackHost(host);
        for (auto& c : clients) c.connectToHost("127.0.0.1", port);
        EXPECT_TRUE(pumpUntil({&host, &clients[0], &clients[1], &clients[2]}, [&] { return host.users().size() == 3; }));
        // The login would name them; the order of accepts is the order of connects
        // only by chance, so the names follow the peers' ports.
        const char* names[] = {"a", "b", "c"};
        for (int i = 0; i < 3; ++i) {
            uint16_t localPort = lh::platform::boundPort(clients[i].hostPeer()->connection->socket());
            for (auto& peer : host.users()) {
                if (peer->connection->port() == localPort) peer->name = names[i];
            }
        }
        for (int i = 0; i < 3; ++i) {
            for (MessageTag t : {tags::CHATR, tags::DIETR, tags::MESGQ, tags::LGOTR}) {
                clients[i].setHandler(t, [this, i, t](SessionPeer* from, const NetMessage& m) {
                    EXPECT_EQ(from, nullptr);
                    log.push_back({Table::names[i], std::string(t.text()), bodyText(m)});
                    return HandlerResult::Handled;
                });
            }
        }
    }
    bool run(const std::function<bool()>& done) {
        return pumpUntil({&host, &clients[0], &clients[1], &clients[2]}, done);
    }
    std::vector<std::string> receivers(const std::string& tag) {
        std::vector<std::string> out;
        for (auto& r : log) {
            if (r.tag == tag) out.push_back(r.by);
        }
        std::sort(out.begin(), out.end());
        return out;
    }
    static constexpr const char* names[3] = {"a", "b", "c"};
};

}  // namespace

TEST(Session, SplitAndGluedMessagesOverASocketArriveWholeAndInOrder) {
    Session host;
    uint16_t port = openLoopbackHost(host);
    std::vector<std::string> got;
    host.setHandler(tags::CHATQ, [&](SessionPeer* from, const NetMessage& m) {
        EXPECT_EQ(from->name, "writer");
        got.push_back(bodyText(m));
        return HandlerResult::Handled;
    });
    Connection raw(static_cast<Resolver*>(nullptr));
    raw.connectTo("127.0.0.1", port);
    ASSERT_TRUE(pumpUntil({&host}, [&] { return host.users().size() == 1 && raw.state() == ConnectionState::Connected; }, {&raw}));
    host.users()[0]->name = "writer";

    std::vector<std::string> texts = {"first", "", "third message"};
    ByteQueue wire;
    for (auto& t : texts) encodeMessage(textMessage(tags::CHATQ, t), wire);
    std::string stream(reinterpret_cast<const char*>(wire.data()), wire.size());
    for (size_t split = 1; split < stream.size(); ++split) {
        got.clear();
        raw.writeText(stream.substr(0, split));
        Connection& seen = *host.users()[0]->connection;
        ASSERT_TRUE(pumpUntil({&host}, [&] {
            size_t whole = 0, dispatched = 0;
            for (auto& t : texts) {
                if (whole + 9 + t.size() > split) break;
                whole += 9 + t.size();
                ++dispatched;
            }
            return got.size() == dispatched && seen.readable() == split - whole;
        }, {&raw}));
        raw.writeText(stream.substr(split));
        ASSERT_TRUE(pumpUntil({&host}, [&] { return got.size() == texts.size(); }, {&raw})) << split;
        EXPECT_EQ(got, texts);
    }
}

TEST(Session, HostRelaysByTheRulesAndSendsByName) {
    Table t;
    int chatsOnHost = 0;
    t.host.setPairHandler("CHAT", [&](SessionPeer* from, const NetMessage&) {
        EXPECT_NE(from, nullptr);
        ++chatsOnHost;
        return HandlerResult::Handled;
    });
    t.host.setHandler(tags::DIETQ, [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; });
    // Acted on, but judged not to be passed on.
    t.host.setHandler(tags::POLLQ, [](SessionPeer*, const NetMessage&) { return HandlerResult::Rejected; });

    t.clients[0].sendToHost(textMessage(tags::CHATQ, "hello"));
    ASSERT_TRUE(t.run([&] { return t.receivers("CHATR").size() == 3; }));
    EXPECT_EQ(t.receivers("CHATR"), (std::vector<std::string>{"a", "b", "c"}));  // the sender too
    EXPECT_EQ(t.log[0].body, "hello");
    EXPECT_EQ(chatsOnHost, 1);

    t.clients[1].sendToHost(textMessage(tags::DIETQ, "throw"));
    ASSERT_TRUE(t.run([&] { return t.receivers("DIETR").size() == 2; }));
    // A client cannot make the host act on a message meant for clients, and
    // a rejected request is not passed on.
    t.clients[2].sendToHost(textMessage(tags::CHATR, "forged"));
    t.clients[2].sendToHost(textMessage(tags::POLLQ, "vote"));
    // Addressed sending: by name, and to the holders of a record.
    t.host.sendTo(textMessage(tags::MESGQ, "psst"), "c");
    std::vector<std::string> holders = {"b", "c", "nobody"};
    t.host.sendToHolders(textMessage(tags::LGOTR, "x"), holders);
    EXPECT_FALSE(t.host.sendTo(textMessage(tags::MESGQ, "?"), "nobody"));
    ASSERT_TRUE(t.run([&] { return t.receivers("LGOTR").size() == 2 && t.receivers("MESGQ").size() == 1; }));
    EXPECT_EQ(t.receivers("DIETR"), (std::vector<std::string>{"a", "c"}));  // not the thrower
    EXPECT_EQ(t.receivers("MESGQ"), (std::vector<std::string>{"c"}));
    EXPECT_EQ(t.receivers("LGOTR"), (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(chatsOnHost, 1);
    EXPECT_EQ(t.receivers("CHATR").size(), 3u);
    EXPECT_TRUE(t.receivers("POLLR").empty());

    // A subsystem that takes its handler away stops hearing its messages.
    t.clients[0].setHandler(tags::MESGQ, nullptr);
    t.host.sendTo(textMessage(tags::MESGQ, "gone"), "a");
    t.host.sendTo(textMessage(tags::LGOTR, "after"), "a");  // same connection, so it comes second
    ASSERT_TRUE(t.run([&] { return t.receivers("LGOTR").size() == 3; }));
    EXPECT_EQ(t.receivers("MESGQ"), (std::vector<std::string>{"c"}));
}

TEST(Session, LostConnectionsReachTheirStateWithText) {
    Table t;
    std::vector<std::string> departed;
    t.host.setDepartureHandler([&](SessionPeer& p) { departed.push_back(p.name); });
    std::string reason;
    t.clients[1].setHostLostHandler([&](const std::string& r) { reason = r; });

    t.clients[0].hostPeer()->connection->close(true);  // a client goes away
    ASSERT_TRUE(t.run([&] { return departed.size() == 1; }));
    EXPECT_EQ(departed[0], "a");
    EXPECT_EQ(t.host.users().size(), 2u);

    t.host.disconnect(*t.host.findUser("b"));  // the host drops a client
    ASSERT_TRUE(t.run([&] { return t.clients[1].hostLost(); }));
    EXPECT_EQ(reason, "connection closed");
    EXPECT_EQ(t.clients[1].hostLostReason(), "connection closed");
    EXPECT_FALSE(t.clients[2].hostLost());

    Session nobodyThere;
    nobodyThere.connectToHost("127.0.0.1", lh::test::freeTcpPort());
    ASSERT_TRUE(pumpUntil({&nobodyThere}, [&] { return nobodyThere.hostLost(); }));
    EXPECT_EQ(nobodyThere.hostLostReason(), "connecting to host");
}

TEST(Session, MessagesThatDoNotFitQueueAndLeaveInOrder) {
    Session host;
    host.setSendLimit(100);  // room for three messages of 28 bytes
    uint16_t port = openLoopbackHost(host);
    Session client;
    client.connectToHost("127.0.0.1", port);
    std::vector<std::string> got;
    client.setHandler(tags::CHATR, [&](SessionPeer*, const NetMessage& m) {
        got.push_back(bodyText(m));
        return HandlerResult::Handled;
    });
    ASSERT_TRUE(pumpUntil({&host, &client}, [&] { return host.users().size() == 1; }));
    SessionPeer& peer = *host.users()[0];
    peer.name = "c";
    std::vector<std::string> sent;
    for (int i = 0; i < 10; ++i) {
        sent.push_back("message number " + std::to_string(i) + "...");
        host.sendToAll(textMessage(tags::CHATR, sent.back()));
    }
    EXPECT_EQ(peer.queue.size(), 7u);
    EXPECT_EQ(host.pendingBytes(peer), 10u * 28);
    host.poll();  // drains the buffer into the socket, then refills it from the queue
    ASSERT_LT(peer.queue.size(), 7u);
    ASSERT_FALSE(peer.queue.empty());
    // The buffer has room now, yet this one goes behind the queue.
    sent.push_back("last one, behind the rest");
    host.sendTo(textMessage(tags::CHATR, sent.back()), peer);
    EXPECT_EQ(peer.queue.back().body.size(), sent.back().size());
    ASSERT_TRUE(pumpUntil({&host, &client}, [&] { return got.size() == sent.size(); }));
    EXPECT_EQ(got, sent);
    EXPECT_EQ(host.pendingBytes(peer), 0u);
}

// A player sent away (a kick) still gets everything sent to her before: what
// the host had pushed into the socket, what waited in its buffer and in the
// peer's queue, even while she keeps talking, so that the host holds unread
// input at the close. The host lets go of the connection at her end of the
// stream, or after its time-out if that never comes.
TEST(Session, APeerSentAwayGetsAllThatWasSentBefore) {
    struct ManualClock {
        ManualClock() { lh::platform::useManualClock(1000); }
        ~ManualClock() { lh::platform::useRealClock(); }
    } clock;
    Session host;
    host.setSendLimit(64 * 1024);  // part of what is sent waits in the peer's queue
    uint16_t port = openLoopbackHost(host);
    Session clients[2];
    std::vector<std::string> got[2];
    for (int i = 0; i < 2; ++i) {
        clients[i].connectToHost("127.0.0.1", port);
        clients[i].setHandler(tags::CHATR, [&got, i](SessionPeer*, const NetMessage& m) {
            got[i].push_back(bodyText(m));
            return HandlerResult::Handled;
        });
    }
    ASSERT_TRUE(pumpUntil({&host, &clients[0], &clients[1]}, [&] { return host.users().size() == 2; }));
    std::vector<std::string> departed;
    host.setDepartureHandler([&](SessionPeer& p) { departed.push_back(p.name); });
    host.users()[0]->name = "p0";
    host.users()[1]->name = "p1";
    // Which client is which peer: by the ports.
    auto clientOf = [&](const std::string& name) -> Session& {
        uint16_t peerPort = host.findUser(name)->connection->port();
        uint16_t first = lh::platform::boundPort(clients[0].hostPeer()->connection->socket());
        return peerPort == first ? clients[0] : clients[1];
    };

    std::vector<std::string> sent;
    for (int i = 0; i < 40; ++i) sent.push_back("before the kick " + std::to_string(i) + std::string(4000, 'x'));
    for (const char* name : {"p0", "p1"}) {
        Session& client = clientOf(name);
        // The first half is in the socket already and the client has read none of it.
        for (size_t i = 0; i < sent.size() / 2; ++i) host.sendTo(textMessage(tags::CHATR, sent[i]), name);
        host.poll();
        // The client talks on, unread by the host...
        for (int i = 0; i < 20; ++i) client.sendToHost(textMessage(tags::CHATQ, std::string(2000, 'y')));
        client.hostPeer()->connection->pump(-1, 0);
        // ...while the host sends the rest and the kick.
        for (size_t i = sent.size() / 2; i < sent.size(); ++i) host.sendTo(textMessage(tags::CHATR, sent[i]), name);
        ASSERT_FALSE(host.findUser(name)->queue.empty());
        host.disconnect(*host.findUser(name));
        host.sendTo(textMessage(tags::CHATR, "after the kick"), name);
    }
    ASSERT_TRUE(pumpUntil({&host, &clients[0], &clients[1]},
                          [&] { return clients[0].hostLost() && clients[1].hostLost(); }));
    for (auto& g : got) {
        EXPECT_EQ(g.size(), sent.size());
        EXPECT_TRUE(g == sent);
    }
    EXPECT_EQ(clients[0].hostLostReason(), "connection closed");
    std::sort(departed.begin(), departed.end());
    EXPECT_EQ(departed, (std::vector<std::string>{"p0", "p1"}));
    EXPECT_TRUE(host.users().empty());

    // One ends its side: the host lets go at once. The other never does:
    // the host waits for her until the time-out.
    ASSERT_EQ(host.farewellCount(), 2u);
    clients[0].hostPeer()->connection->close(true);
    ASSERT_TRUE(pumpUntil({&host}, [&] { return host.farewellCount() == 1; }));
    lh::platform::advanceClock(Session::kFarewellMs - 1);
    lh::platform::runDueTimers();
    EXPECT_EQ(host.farewellCount(), 1u);
    lh::platform::advanceClock(1);
    lh::platform::runDueTimers();
    EXPECT_EQ(host.farewellCount(), 0u);
}
