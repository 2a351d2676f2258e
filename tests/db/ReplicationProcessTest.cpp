// The test process is the host; two clients run as processes of their own
// (replication_peer) and are driven by MESGQ lines. After each step the
// trees are compared: each client must hold exactly the values that the
// host lists it as holder of, with the same owner flags.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "ReplicationKit.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "net/Replication.h"
#include "db/TextEscape.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/NetTestLoop.h"
#include "support/TestSupport.h"

using namespace lh;
using db::DbNode;

namespace {

class ReplicationProcesses : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        port = test::openLoopbackHost(host);
        db::attachReplication(host);
        host.setSystemLineSink([this](const std::string& line) { systemLines.push_back(line); });
        host.setHandler(net::tags::CONNQ, [](net::SessionPeer* from, const net::NetMessage& m) {
            from->name = test::helloName(m);
            db::knownUser(from->name);
            return from->name.empty() ? net::HandlerResult::Rejected : net::HandlerResult::Handled;
        });
        host.setHandler(net::tags::MESGQ, [this](net::SessionPeer* from, const net::NetMessage& m) {
            net::MessageReader r(m);
            std::string text = r.text(r.remaining());
            size_t eol = text.find('\n');
            if (r.ok() && text.rfind("dump ", 0) == 0 && eol != std::string::npos) {
                replies[from->name][text.substr(5, eol - 5)] = text.substr(eol + 1);
            }
            return net::HandlerResult::Handled;
        });
        for (const char* name : {"alice", "bob"}) {
            clients.push_back(std::make_unique<test::ChildProcess>(test::builtProgram("replication_peer"),
                                                                   std::vector<std::string>{std::to_string(port), name}));
        }
        ASSERT_TRUE(pump([this] { return host.findUser("alice") && host.findUser("bob"); }));
    }

    void TearDown() override {
        for (const char* name : {"alice", "bob"}) tell(name, "quit");
        pump([this] { return host.users().empty(); });
        for (auto& c : clients) EXPECT_EQ(c->wait(std::chrono::seconds(10)), 0) << c->errors();
        db::detachReplication();
        db::clearTree();
        db::setSessionMode(db::SessionMode::Join);
    }

    bool pump(const std::function<bool()>& done) { return test::pumpUntil({&host}, done, {}, 10000); }

    void tell(const std::string& user, const std::string& line) {
        net::NetMessage m(net::tags::MESGQ);
        net::MessageWriter(m).text(line);
        host.sendTo(m, user);
    }

    // Two rounds: the first makes sure the host has applied everything the
    // clients sent before it; the second, that the host's echoes of that
    // have reached every client.
    std::map<std::string, std::string> settle() {
        std::map<std::string, std::string> dumps;
        for (int round = 0; round < 2; ++round) {
            std::string tag = std::to_string(++rounds);
            for (const char* name : {"alice", "bob"}) tell(name, "dump " + tag);
            bool done = pump([&] { return replies["alice"].count(tag) && replies["bob"].count(tag); });
            EXPECT_TRUE(done) << "no answer to dump " << tag;
            for (const char* name : {"alice", "bob"}) dumps[name] = replies[name][tag];
        }
        return dumps;
    }

    static std::string hostListingFor(const std::string& user) {
        db::SessionUser* u = &db::knownUser(user);
        return test::listValues(
            db::rootNode(), [u](const DbNode& n) { return n.holders.contains(u); },
            [u](const DbNode& n) { return n.owner == u; });
    }

    void expectAllInStep() {
        auto dumps = settle();
        EXPECT_EQ(dumps["alice"], hostListingFor("alice"));
        EXPECT_EQ(dumps["bob"], hostListingFor("bob"));
    }

    static std::string hostValue(const std::string& path) {
        return test::listValues(
            *db::findNode(path)->parent, [&](const DbNode& n) { return n.pathOf() == path; },
            [](const DbNode&) { return false; });
    }

    net::Session host;
    uint16_t port = 0;
    std::vector<std::unique_ptr<test::ChildProcess>> clients;
    std::map<std::string, std::map<std::string, std::string>> replies;
    std::vector<std::string> systemLines;
    int rounds = 0;
};

DbNode& makeRecord(const std::string& path, int hp) {
    test::editValue(db::rootNode(), path + ".name", 's', "Record " + path);
    test::editValue(db::rootNode(), path + ".hp", 'i', std::to_string(hp));
    return *db::findNode(path);
}

TEST_F(ReplicationProcesses, SharingChangesDeletionAndOwnershipTravel) {
    auto& repl = *db::replication();
    DbNode& mine = makeRecord("charsheet.00001", 10);
    DbNode& ours = makeRecord("charsheet.00002", 20);
    // Shared with one client: it reaches only that one.
    ASSERT_EQ(repl.sendTo(mine, "alice"), 0);
    auto dumps = settle();
    EXPECT_NE(dumps["alice"].find("charsheet.00001.hp 1 10 -"), std::string::npos) << dumps["alice"];
    EXPECT_EQ(dumps["bob"], "");
    expectAllInStep();

    // A change on the host reaches every holder.
    repl.sendTo(ours, "alice");
    repl.sendTo(ours, "bob");
    test::editValue(db::rootNode(), "charsheet.00002.hp", 'i', "21");
    expectAllInStep();

    // A change by the owning client reaches the host and the other holder,
    // including a field it makes on first use.
    ours.addHolder("alice", true);
    repl.sendToHolders(ours);
    tell("alice", "set charsheet.00002.hp i 22");
    tell("alice", "set charsheet.00002.notes s " + db::escapeText("quote \" and #23 hash"));
    expectAllInStep();
    EXPECT_EQ(hostValue("charsheet.00002.hp"), "charsheet.00002.hp 1 22 -\n");
    EXPECT_EQ(db::findNode("charsheet.00002.notes")->owner, &db::knownUser("alice"));

    // A long formatted text crosses in pieces and arrives whole, both ways.
    test::editValue(db::rootNode(), "charsheet.00002.story", 't', test::longMarkup(20000, 1));
    expectAllInStep();
    tell("alice", "long charsheet.00002.story 15000 7");
    expectAllInStep();
    EXPECT_GT(hostValue("charsheet.00002.story").size(), 15000u);

    // Ownership travels: bob takes the record over, alice's copy says so.
    ours.addHolder("bob", true);
    repl.sendToHolders(ours);
    expectAllInStep();
    tell("alice", "set charsheet.00002.hp i 99");  // no longer hers: not sent
    tell("bob", "set charsheet.00002.hp i 23");
    expectAllInStep();
    EXPECT_EQ(hostValue("charsheet.00002.hp"), "charsheet.00002.hp 1 23 -\n");

    // Deletion: by the owning client, and by the host.
    tell("bob", "del charsheet.00002");
    expectAllInStep();
    EXPECT_EQ(db::findNode("charsheet.00002"), nullptr);
    delete &mine;
    expectAllInStep();
    EXPECT_EQ(settle()["alice"], "");
    EXPECT_TRUE(systemLines.empty()) << systemLines.front();
}

TEST_F(ReplicationProcesses, ForgedChangesFromAClientChangeNothingOnTheHost) {
    auto& repl = *db::replication();
    DbNode& record = makeRecord("charsheet.00001", 10);
    record.addHolder("alice", true);
    repl.sendTo(record, "alice");
    repl.sendTo(record, "bob");
    expectAllInStep();
    std::string before = hostListingFor("bob");

    tell("bob", "forge charsheet.00001.hp i 666");
    tell("bob", "forge charsheet.00001.extra s planted");
    tell("bob", "forge newgroup.00001.x s planted");
    tell("bob", "forgedel charsheet.00001");
    tell("bob", "set charsheet.00001.hp i 555");  // refused on its own side
    expectAllInStep();
    EXPECT_EQ(hostListingFor("bob"), before);
    EXPECT_EQ(db::findNode("newgroup"), nullptr);
    EXPECT_EQ(systemLines.size(), 4u);
    for (const std::string& line : systemLines) EXPECT_NE(line.find("'bob'"), std::string::npos) << line;

    // The owner's own change still goes through.
    tell("alice", "set charsheet.00001.hp i 11");
    expectAllInStep();
    EXPECT_EQ(hostValue("charsheet.00001.hp"), "charsheet.00001.hp 1 11 -\n");
}

// A bounded script of random edits on the host and both clients, in rounds;
// within a round the clients' edits and the host's race each other. Record
// structure (sharing, owners, deletion by the host) changes between rounds,
// as it does in play: the host decides it and the clients follow.
TEST_F(ReplicationProcesses, RandomEditsLeaveAllTreesEqualOnHeldNodes) {
    auto& repl = *db::replication();
    std::mt19937 random(20261123);
    const char* users[] = {"alice", "bob"};
    const char* fields[] = {"i1", "i2", "s1", "s2", "t1"};
    auto pick = [&](int n) { return int(random() % unsigned(n)); };
    auto valueFor = [&](char kind) -> std::string {
        if (kind == 'i') return std::to_string(pick(1000) - 500);
        if (kind == 's') return pick(4) ? "text " + std::to_string(pick(100)) : std::string();
        return test::longMarkup(pick(3) ? 200 : 9000, unsigned(pick(1000)));
    };
    for (int round = 0; round < 16; ++round) {
        // Structure, by the host, and deletions by the owners.
        DbNode* group = db::rootNode().addChild("charsheet");
        if (group->children.size() < 5 || pick(3) == 0) makeRecord("charsheet." + group->nextRecordId(), round);
        for (auto& [key, record] : group->children) {
            int action = pick(6);
            if (action == 0) repl.sendTo(*record, users[pick(2)]);
            if (action == 1) {
                record->addHolder(users[pick(2)], true);
                repl.sendToHolders(*record);
            }
            if (action == 2) tell(users[pick(2)], "del charsheet." + std::string(key));
        }
        if (pick(4) == 0 && group->children.size() > 3) delete group->children.begin()->second;
        settle();
        // Values, by everyone at once.
        std::vector<std::string> records;
        for (auto& [key, record] : group->children) records.push_back("charsheet." + std::string(key));
        for (int edit = 0; edit < 25 && !records.empty(); ++edit) {
            std::string path = records[size_t(pick(int(records.size())))] + "." + fields[pick(5)];
            char kind = path[path.size() - 2];
            std::string value = valueFor(kind);
            int who = pick(3);
            if (who == 2) {
                test::editValue(db::rootNode(), path, kind, value);
            } else {
                tell(users[who], "set " + path + " " + std::string(1, kind) + " " + db::escapeText(value));
            }
            host.poll();
        }
        expectAllInStep();
        if (HasFailure()) {
            ADD_FAILURE() << "trees differ after round " << round;
            return;
        }
    }
    EXPECT_TRUE(systemLines.empty()) << systemLines.front();
}

}  // namespace
