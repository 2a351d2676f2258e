// The polled TCP stream and name lookup on loopback: connect, failure
// texts, all-or-nothing writes, line reading, soft close, the resolver.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "NetTestLoop.h"
#include "support/TestSupport.h"
#include "net/Connection.h"
#include "net/Listener.h"
#include "net/Resolver.h"

using namespace lh::net;
using lh::test::pumpUntil;

namespace {

struct LoopbackPair {
    Listener listener;
    std::unique_ptr<Connection> client;
    std::unique_ptr<Connection> server;

    explicit LoopbackPair(size_t limit = Connection::kDefaultLimit) {
        EXPECT_TRUE(listener.listenOn(0, 0x7F000001));
        client = std::make_unique<Connection>(static_cast<Resolver*>(nullptr), limit, limit);
        client->connectTo("127.0.0.1", listener.port());
        EXPECT_TRUE(pumpUntil({}, [&] {
            if (!server) server = listener.accept(limit, limit);
            return server && client->state() == ConnectionState::Connected;
        }, {client.get()}));
    }
};

std::string readAll(Connection& c) {
    std::string s(c.readable(), '\0');
    c.read(s.data(), s.size());
    return s;
}

}  // namespace

TEST(Connection, FailuresAreStatesWithTheirText) {
    Connection empty(static_cast<Resolver*>(nullptr));
    empty.connectTo("", 1802);
    EXPECT_EQ(empty.state(), ConnectionState::Failed);
    EXPECT_EQ(empty.lastError(), "empty hostname");

    Connection refused(static_cast<Resolver*>(nullptr));
    refused.connectTo("127.0.0.1", lh::test::freeTcpPort());
    EXPECT_TRUE(pumpUntil({}, [&] { return refused.state() == ConnectionState::Failed; }, {&refused}));
    EXPECT_EQ(refused.lastError(), "connecting to host");

    Connection noResolver(static_cast<Resolver*>(nullptr));
    noResolver.connectTo("localhost", 1802);
    noResolver.pump();
    EXPECT_EQ(noResolver.lastError(), "resolving hostname");

    Connection bad(static_cast<Resolver*>(nullptr));
    bad.adopt(-1, 0, 0);
    EXPECT_EQ(bad.lastError(), "invalid socket passed to connect");
}

TEST(Connection, WritesAllOrNothingAndDeliversInOrderPastTheLimit) {
    LoopbackPair pair(64);
    Connection& c = *pair.client;
    std::string fill(c.writeSpace(), 'x');
    EXPECT_EQ(c.write("y", 1) + c.write(fill.data(), fill.size() - 1), 0);
    EXPECT_EQ(c.write("zz", 2), -1);  // one byte too many
    EXPECT_EQ(c.pendingSend(), 64u);
    // Many rounds through a small buffer keep the order.
    std::string expected, got;
    for (int round = 0; round < 200; ++round) {
        std::string piece = std::to_string(round) + ";";
        expected += piece;
        ASSERT_TRUE(pumpUntil({}, [&] { return c.write(piece.data(), piece.size()) == 0; },
                              {&c, pair.server.get()}));
        got += readAll(*pair.server);
    }
    std::string head = "y" + fill.substr(0, fill.size() - 1);
    ASSERT_TRUE(pumpUntil({}, [&] {
        got += readAll(*pair.server);
        return got.size() >= head.size() + expected.size();
    }, {&c, pair.server.get()}));
    EXPECT_EQ(got, head + expected);
}

TEST(Connection, LinesEndAtCrLfOrLfAndSoftCloseDeliversFirst) {
    LoopbackPair pair;
    pair.client->writeText("one\r\ntwo\n\nthree\n\r");
    pair.client->close(false);
    EXPECT_EQ(pair.client->state(), ConnectionState::Closing);
    ASSERT_TRUE(pumpUntil({}, [&] { return pair.server->state() == ConnectionState::Closed; },
                          {pair.client.get(), pair.server.get()}));
    EXPECT_EQ(pair.client->state(), ConnectionState::Closed);
    Connection& s = *pair.server;
    EXPECT_EQ(s.lineCount(), 4u);
    std::string line;
    for (const char* want : {"one", "two", "", "three"}) {
        EXPECT_EQ(s.readLine(line, 100), 0);
        EXPECT_EQ(line, want);
    }
    EXPECT_EQ(s.readable(), 0u);

    LoopbackPair longLine;
    longLine.client->writeText("abcdefgh\n");
    ASSERT_TRUE(pumpUntil({}, [&] { return longLine.server->lineCount() == 1; },
                          {longLine.client.get(), longLine.server.get()}));
    EXPECT_EQ(longLine.server->readLine(line, 5), 1);
    EXPECT_EQ(line, "abcde");
    EXPECT_EQ(longLine.server->readLine(line, 5), 0);
    EXPECT_EQ(line, "fgh");
}

TEST(Connection, ASecondSoftCloseKeepsWhatIsStillQueued) {
    LoopbackPair pair;
    // More than the kernel takes at once, so some is still queued when the
    // second close comes.
    std::string big(8u << 20, 'q');
    ASSERT_EQ(pair.client->writeText(big), 0);
    pair.client->pump();
    pair.client->close(false);
    ASSERT_EQ(pair.client->state(), ConnectionState::Closing);
    ASSERT_GT(pair.client->pendingSend(), 0u);
    size_t queued = pair.client->pendingSend();
    pair.client->close(false);
    EXPECT_EQ(pair.client->state(), ConnectionState::Closing);
    EXPECT_EQ(pair.client->pendingSend(), queued);
    std::string got;
    ASSERT_TRUE(pumpUntil({}, [&] {
        got += readAll(*pair.server);
        return pair.server->state() == ConnectionState::Closed;
    }, {pair.client.get(), pair.server.get()}));
    got += readAll(*pair.server);
    EXPECT_EQ(got.size(), big.size());
    EXPECT_EQ(pair.client->state(), ConnectionState::Closed);
}

TEST(Resolver, ResolvesLocalhostAndFailsCleanlyOnABadName) {
    Resolver resolver;
    std::atomic<int> done{0};
    resolver.setOnDone([&] { ++done; });
    uint32_t address = 0;
    Resolver::Answer a = Resolver::Answer::Pending;
    ASSERT_TRUE(pumpUntil({}, [&] { return (a = resolver.lookup("LocalHost", address)) != Resolver::Answer::Pending; }));
    EXPECT_EQ(a, Resolver::Answer::Known);
    EXPECT_EQ(address, 0x7F000001u);
    EXPECT_GE(done.load(), 1);

    // Refused without asking any server: not a name at all.
    ASSERT_TRUE(pumpUntil({}, [&] { return (a = resolver.lookup("no such host!", address)) != Resolver::Answer::Pending; }));
    EXPECT_EQ(a, Resolver::Answer::Failed);

    // A connection by name goes through the resolver, then connects.
    Listener listener;
    ASSERT_TRUE(listener.listenOn(0, 0x7F000001));
    Connection byName(&resolver);
    byName.connectTo("localhost", listener.port());
    EXPECT_TRUE(pumpUntil({}, [&] { return byName.state() == ConnectionState::Connected; }, {&byName}));
    // A name the system's resolver must ask a server about: a lost query is
    // asked again after the resolver's own timeout, so the wait allows for that.
    constexpr int kServerAnswerMs = 30000;
    Connection badName(&resolver);
    badName.connectTo(std::string(70, 'x') + ".invalid", listener.port());
    EXPECT_TRUE(pumpUntil({}, [&] { return badName.state() == ConnectionState::Failed; }, {&badName}, kServerAnswerMs));
    EXPECT_EQ(badName.lastError(), "resolving hostname");

    uint32_t numeric = 0;
    Resolver none([](const std::string&, uint32_t&) -> bool { ADD_FAILURE() << "looked up"; return false; });
    EXPECT_EQ(none.lookup("10.1.2.3", numeric), Resolver::Answer::Known);
    EXPECT_EQ(numeric, 0x0A010203u);
}

TEST(Resolver, TheSixtyFifthNameTakesTheOldestFinishedEntry) {
    std::atomic<int> lookups{0};
    Resolver resolver([&](const std::string& name, uint32_t& address) {
        ++lookups;
        address = uint32_t(std::stoi(name.substr(1)));
        return true;
    });
    uint32_t address = 0;
    auto settle = [&](const std::string& name) {
        return pumpUntil({}, [&] { return resolver.lookup(name, address) == Resolver::Answer::Known; });
    };
    for (int i = 0; i < Resolver::kEntries; ++i) ASSERT_TRUE(settle("h" + std::to_string(i)));
    ASSERT_TRUE(settle("h0"));  // h1 is now the oldest
    int before = lookups.load();
    ASSERT_TRUE(settle("h64"));
    EXPECT_EQ(address, 64u);
    ASSERT_TRUE(settle("h0"));
    EXPECT_EQ(lookups.load(), before + 1);  // h0 was kept
    ASSERT_TRUE(settle("h1"));
    EXPECT_EQ(lookups.load(), before + 2);  // h1 had to be looked up again
}

TEST(Resolver, DestroyingItDoesNotWaitForALookupThatHangs) {
    // The lookup hangs until the test lets it go, or gives up on its own
    // after a long while; giving up means the destructor waited for it.
    struct Gate {
        std::mutex m;
        std::condition_variable cv;
        bool entered = false, released = false, gaveUp = false, finished = false;
    };
    auto gate = std::make_shared<Gate>();
    auto resolver = std::make_unique<Resolver>([gate](const std::string&, uint32_t&) {
        std::unique_lock<std::mutex> lock(gate->m);
        gate->entered = true;
        gate->cv.notify_all();
        gate->gaveUp = !gate->cv.wait_for(lock, std::chrono::seconds(20), [&] { return gate->released; });
        gate->finished = true;
        gate->cv.notify_all();
        return false;
    });
    resolver->setOnDone([] {});
    uint32_t address = 0;
    EXPECT_EQ(resolver->lookup("slow.example", address), Resolver::Answer::Pending);
    {
        std::unique_lock<std::mutex> lock(gate->m);
        ASSERT_TRUE(gate->cv.wait_for(lock, std::chrono::seconds(20), [&] { return gate->entered; }));
    }
    resolver.reset();
    std::unique_lock<std::mutex> lock(gate->m);
    EXPECT_FALSE(gate->gaveUp) << "the destructor waited for the lookup";
    gate->released = true;
    gate->cv.notify_all();
    // The worker ends on its own once the lookup returns.
    EXPECT_TRUE(gate->cv.wait_for(lock, std::chrono::seconds(20), [&] { return gate->finished; }));
}
