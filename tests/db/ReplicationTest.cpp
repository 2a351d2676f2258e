// Replication between sessions in one process on loopback: the host keeps
// the process's tree, each client a tree of its own. Covers the message
// forms (pieces of formatted text, null texts, images), what a received
// DATAR makes of a tree, holders and ownership, and the host's refusal of
// what a client may not do.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "ReplicationKit.h"
#include "db/DbContext.h"
#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "net/Replication.h"
#include "db/StringValue.h"
#include "db/Users.h"
#include "db/XmlParse.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/NetTestLoop.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh;
using db::DbNode;
using db::NodeKind;

namespace {

struct Client {
    net::Session session;
    DbNode root{"", nullptr};
    db::Replication repl{session, root};
    std::vector<db::DataMessage> seen;  // for clients that only record
};

class ReplicationInProcess : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        port = test::openLoopbackHost(host);
        hostRepl.registerHandlers();
        host.setSystemLineSink([this](const std::string& line) { lines.push_back(line); });
        for (const char* name : {"alice", "bob", "carol"}) join(name);
        // carol only records what reaches her.
        clients["carol"]->session.setHandler(net::tags::DATAR, [this](net::SessionPeer*, const net::NetMessage& m) {
            db::DataMessage d;
            std::string why;
            EXPECT_TRUE(db::decodeData(m, d, why)) << why;
            clients["carol"]->seen.push_back(d);
            return net::HandlerResult::Handled;
        });
    }
    void TearDown() override {
        db::dbContext().sink = nullptr;
        db::clearTree();
    }

    void join(const std::string& name) {
        auto client = std::make_unique<Client>();
        client->repl.registerHandlers();
        client->session.connectToHost("127.0.0.1", port);
        clients[name] = std::move(client);
        size_t before = host.users().size();
        ASSERT_TRUE(pump([&] { return host.users().size() > before; }));
        host.users().back()->name = name;
        db::knownUser(name);
    }

    bool pump(const std::function<bool()>& done) {
        std::vector<net::Session*> sessions{&host};
        for (auto& [name, c] : clients) sessions.push_back(&c->session);
        auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        for (;;) {
            for (net::Session* s : sessions) s->poll();
            if (done()) return true;
            if (std::chrono::steady_clock::now() > end) return false;
            std::vector<platform::WatchedFd> fds;
            for (net::Session* s : sessions) s->collectWatchedFds(fds);
            platform::waitForSockets(fds, 10);
        }
    }
    // Round trips through every client: what was sent before has arrived.
    void settle() {
        int echoes = 0;
        host.setHandler(net::tags::MESGQ, [&](net::SessionPeer*, const net::NetMessage&) {
            ++echoes;
            return net::HandlerResult::Handled;
        });
        for (auto& [name, c] : clients) {
            c->session.setHandler(net::tags::MESGQ, [&c](net::SessionPeer*, const net::NetMessage& m) {
                c->session.sendToHost(m);
                return net::HandlerResult::Handled;
            });
            host.sendTo(net::NetMessage(net::tags::MESGQ, {0}), name);
        }
        ASSERT_TRUE(pump([&] { return echoes == int(clients.size()); }));
    }
    DbNode& tree(const std::string& name) { return clients[name]->root; }
    static int32_t number(DbNode* node) { return node ? node->valueAs<db::IntValue>()->base() : -1; }
    // A message as the named client would send it, dispatched on the host.
    void fromClient(const std::string& name, const db::DataMessage& d) {
        net::NetMessage m;
        db::encodeData(d, m);
        host.dispatch(host.findUser(name), m);
    }

    net::Session host;
    db::Replication hostRepl{host, db::rootNode()};
    uint16_t port = 0;
    std::map<std::string, std::unique_ptr<Client>> clients;
    std::vector<std::string> lines;
};

DbNode& makeRecord(DbNode& root, const std::string& path, int hp, const std::string& name) {
    DbNode* record = &root;
    size_t at = 0;
    while (at <= path.size()) {
        size_t dot = std::min(path.find('.', at), path.size());
        record = record->addChild(path.substr(at, dot - at));
        at = dot + 1;
    }
    record->addChild("hp")->attachValue(db::makeValue(NodeKind::intValue));
    record->child("hp")->valueAs<db::IntValue>()->set(hp);
    record->addChild("name")->attachValue(db::makeValue(NodeKind::stringValue));
    record->child("name")->valueAs<db::StringValue>()->set(name);
    return *record;
}

void setMarkup(DbNode& record, const std::string& field, const std::string& markup) {
    DbNode* node = record.addChild(field);
    if (!node->value) node->attachValue(db::makeValue(NodeKind::formattedText));
    node->valueAs<db::KeptFormattedText>()->markup = markup;
}

std::string stored(const DbNode* node) {
    std::string out;
    if (node && node->value) node->value->writeStored(out, 0);
    return out;
}

// Markup whose stored form is exactly `bytes` bytes: one line and its end.
std::string markupOfStoredSize(size_t bytes) { return "<p>" + std::string(bytes - 8, 'a') + "</p>"; }

TEST_F(ReplicationInProcess, SentRecordReachesOnlyItsUserAndMakesHolders) {
    DbNode& record = makeRecord(db::rootNode(), "charsheet.00001", 12, "Aria \"the #23 bold\"");
    record.child("name")->valueAs<db::StringValue>()->set(std::string_view("line\x01 \xe9"));
    ASSERT_EQ(hostRepl.sendTo(record, "alice"), 0);
    settle();
    EXPECT_EQ(number(db::findNode("charsheet.00001.hp", tree("alice"))), 12);
    EXPECT_EQ(db::findNode("charsheet.00001.name", tree("alice"))->valueAs<db::StringValue>()->text(),
              "line\x01 \xe9");
    EXPECT_TRUE(tree("bob").children.empty());
    db::SessionUser& alice = db::knownUser("alice");
    for (DbNode* n : {&record, record.child("hp"), record.child("name")}) {
        EXPECT_TRUE(n->holders.contains(&alice));
        EXPECT_FALSE(n->holders.contains(&db::knownUser("bob")));
    }
    EXPECT_FALSE(db::rootNode().child("charsheet")->holders.contains(&alice));
    // Not the owner: the client cannot edit its copy.
    EXPECT_EQ(db::findNode("charsheet.00001", tree("alice"))->owner, nullptr);
    // Offline users get nothing.
    EXPECT_EQ(hostRepl.sendTo(record, "nobody"), -1);
}

TEST_F(ReplicationInProcess, HoldersMadeBySendingAreStoredAndReadBack) {
    DbNode& record = makeRecord(db::rootNode(), "charsheet.00001", 12, "Aria");
    hostRepl.sendTo(record, "alice");
    record.addHolder("bob", true);
    std::string text = db::databaseText(db::rootNode());
    EXPECT_NE(text.find("<holder name=\"alice\" />"), std::string::npos) << text;
    EXPECT_NE(text.find("<holder name=\"bob\" owner=\"true\" />"), std::string::npos) << text;
    db::XmlParseResult parsed = db::parseXmlTextChecked(text, "db.xml");
    ASSERT_EQ(parsed.status, db::XmlStatus::ok);
    DbNode loaded("", nullptr);
    db::loadNodes(parsed.root.get(), loaded, false);
    DbNode* copy = db::findNode("charsheet.00001.hp", loaded);
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->holders.contains(&db::knownUser("alice")));
    EXPECT_EQ(copy->owner, &db::knownUser("bob"));
}

TEST_F(ReplicationInProcess, FormattedTextTravelsInPiecesOfAtMost4000Bytes) {
    DbNode& record = makeRecord(db::rootNode(), "notes.00001", 1, "n");
    struct Case {
        size_t bytes;
        size_t messages;
    };
    for (Case c : {Case{4000, 1}, Case{4001, 2}, Case{8000, 2}, Case{8001, 3}}) {
        setMarkup(record, "text", markupOfStoredSize(c.bytes));
        clients["carol"]->seen.clear();
        hostRepl.sendTo(*record.child("text"), "carol");
        settle();
        auto& seen = clients["carol"]->seen;
        ASSERT_EQ(seen.size(), c.messages) << c.bytes;
        std::string whole;
        for (size_t i = 0; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i].isLastChunk, i + 1 == seen.size());
            EXPECT_LE(seen[i].text.size(), db::kTextChunkSize);
            whole += seen[i].text;
        }
        EXPECT_EQ(whole, record.child("text")->valueAs<db::KeptFormattedText>()->markup + "\n");
    }
    // An empty text sends nothing, and the receiver keeps what it had.
    hostRepl.sendTo(record, "alice");
    setMarkup(record, "text", "");
    clients["carol"]->seen.clear();
    hostRepl.sendTo(*record.child("text"), "carol");
    hostRepl.sendTo(*record.child("text"), "alice");
    settle();
    EXPECT_TRUE(clients["carol"]->seen.empty());
    EXPECT_EQ(stored(db::findNode("notes.00001.text", tree("alice"))), markupOfStoredSize(8001) + "\n");
    // A long text with markup arrives whole and reads back the same.
    std::string longText = test::longMarkup(30000, 3);
    setMarkup(record, "text", longText);
    hostRepl.sendTo(*record.child("text"), "alice");
    settle();
    EXPECT_EQ(stored(db::findNode("notes.00001.text", tree("alice"))), longText);
}

TEST_F(ReplicationInProcess, ReceivedDataBuildsTheTreeAndKeepsKinds) {
    Client& alice = *clients["alice"];
    auto receive = [&](const db::DataMessage& d) {
        net::NetMessage m;
        db::encodeData(d, m);
        alice.session.dispatch(nullptr, m);
    };
    db::DataMessage d;
    d.path = "a.b.c";
    d.kind = 1;
    d.number = 7;
    d.isOwner = true;
    receive(d);
    ASSERT_EQ(number(db::findNode("a.b.c", alice.root)), 7);
    EXPECT_EQ(db::findNode("a.b", alice.root)->kind, NodeKind::node);
    EXPECT_EQ(db::findNode("a.b.c", alice.root)->owner, &db::localUser());
    // Another kind for a value node: dropped, owner untouched.
    d.kind = 2;
    d.text = "x";
    d.isOwner = false;
    receive(d);
    EXPECT_EQ(db::findNode("a.b.c", alice.root)->kind, NodeKind::intValue);
    EXPECT_EQ(db::findNode("a.b.c", alice.root)->owner, &db::localUser());
    // A group gets its value from the first DATAR with one.
    d.path = "a.b";
    d.kind = 2;
    d.text = "";
    receive(d);
    EXPECT_EQ(db::findNode("a.b", alice.root)->kind, NodeKind::stringValue);
    EXPECT_TRUE(db::findNode("a.b", alice.root)->valueAs<db::StringValue>()->isNull());
    // The unassigned kind makes a plain node.
    d.path = "a.three";
    d.kind = 3;
    receive(d);
    EXPECT_EQ(db::findNode("a.three", alice.root)->kind, NodeKind::node);
    // Ownership from the host covers the node and all below it.
    d.path = "a";
    d.kind = 0;
    d.isOwner = false;
    receive(d);
    EXPECT_EQ(db::findNode("a.b.c", alice.root)->owner, nullptr);
}

TEST_F(ReplicationInProcess, ImagesCarryTheirFileNamesAndNumbers) {
    test::TempDir dir;
    std::filesystem::path saved = platform::workingDirectory();
    platform::setWorkingDirectory(dir.path());
    std::filesystem::create_directories(dir.path() / "images");
    test::writeFile(dir.path() / "images" / "map.png", std::string(1234, 'x'));
    DbNode* node = db::rootNode().addChild("image")->addChild("00001");
    node->attachValue(db::makeValue(NodeKind::image));
    auto* image = dynamic_cast<db::ImageValueBase*>(node->value.get());
    image->setWireState({"images\\map.png", "campaigns\\c\\masks\\map.png", 40, 3, -4, 100, -200});
    uint32_t size = 0;
    uint64_t time = 0;
    clients["alice"]->repl.setImageArrivedHandler([&](DbNode&, uint32_t s, uint64_t t) {
        size = s;
        time = t;
    });
    hostRepl.sendTo(*node, "alice");
    settle();
    platform::setWorkingDirectory(saved);
    DbNode* copy = db::findNode("image.00001", tree("alice"));
    ASSERT_NE(copy, nullptr);
    db::ImageWireState got = dynamic_cast<db::ImageValueBase*>(copy->value.get())->wireState();
    EXPECT_EQ(got.imagePath, "images\\map.png");
    EXPECT_EQ(got.maskPath, "campaigns\\c\\masks\\map.png");
    EXPECT_EQ(got.gridSize, 40);
    EXPECT_EQ(got.gridOffsetY, -4);
    EXPECT_EQ(got.viewY, -200);
    EXPECT_EQ(size, 1234u);
    // After 2020 and before 2100, in 100 ns ticks since 1601.
    EXPECT_GT(time, 132223104000000000ull);
    EXPECT_LT(time, 157469184000000000ull);
}

TEST_F(ReplicationInProcess, OwnersChangesEchoAndOthersAreRefusedOnTheHost) {
    DbNode& record = makeRecord(db::rootNode(), "charsheet.00001", 5, "Bo");
    record.addHolder("alice", true);
    hostRepl.sendTo(record, "alice");
    hostRepl.sendTo(record, "bob");
    settle();
    DbNode* aliceHp = db::findNode("charsheet.00001.hp", tree("alice"));
    EXPECT_EQ(aliceHp->owner, &db::localUser());
    EXPECT_EQ(db::findNode("charsheet.00001.hp", tree("bob"))->owner, nullptr);
    // The owner's edit: its copy at once, the host, and the other holder.
    aliceHp->valueAs<db::IntValue>()->set(6);
    clients["alice"]->repl.publishNode(*aliceHp);
    settle();
    EXPECT_EQ(number(db::findNode("charsheet.00001.hp")), 6);
    EXPECT_EQ(number(db::findNode("charsheet.00001.hp", tree("bob"))), 6);
    EXPECT_TRUE(lines.empty());

    // Not the owner, a static node, a new group, another's record: refused,
    // each with a line.
    db::DataMessage d;
    d.kind = 1;
    d.number = 66;
    for (const char* path : {"charsheet.00001.hp", "charsheet.00001.new", "other.00001.x", "charsheet"}) {
        d.path = path;
        fromClient("bob", d);
    }
    record.child("name")->isStatic = 1;
    d.path = "charsheet.00001.name";
    d.kind = 2;
    fromClient("alice", d);
    EXPECT_EQ(number(db::findNode("charsheet.00001.hp")), 6);
    EXPECT_EQ(db::findNode("charsheet.00001.new"), nullptr);
    EXPECT_EQ(db::findNode("other"), nullptr);
    EXPECT_EQ(db::findNode("charsheet.00001.name")->valueAs<db::StringValue>()->text(), "Bo");
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_NE(lines[0].find("no right to change 'charsheet.00001.hp'"), std::string::npos) << lines[0];
    // A field that the owner makes on first use is taken, with its owner.
    d.path = "charsheet.00001.new";
    d.kind = 1;
    fromClient("alice", d);
    ASSERT_NE(db::findNode("charsheet.00001.new"), nullptr);
    EXPECT_EQ(db::findNode("charsheet.00001.new")->owner, &db::knownUser("alice"));
    settle();
    EXPECT_EQ(number(db::findNode("charsheet.00001.new", tree("bob"))), 66);
}

TEST_F(ReplicationInProcess, DeletionIsAskedForByOwnersAndReachesEveryone) {
    db::dbContext().sink = &hostRepl;
    DbNode& record = makeRecord(db::rootNode(), "charsheet.00001", 5, "Bo");
    makeRecord(db::rootNode(), "charsheet.00002", 5, "Cy");
    record.addHolder("alice", true);
    hostRepl.sendTo(record, "alice");
    hostRepl.sendTo(record, "bob");
    hostRepl.sendTo(*db::findNode("charsheet.00002"), "bob");
    settle();
    // bob holds but does not own: his side refuses, and a forged request
    // is refused by the host.
    EXPECT_EQ(clients["bob"]->repl.requestDelete(*db::findNode("charsheet.00001", tree("bob"))), -1);
    net::NetMessage m;
    db::encodePathMessage(net::tags::DATDQ, "charsheet.00001", m);
    host.dispatch(host.findUser("bob"), m);
    EXPECT_NE(db::findNode("charsheet.00001"), nullptr);
    EXPECT_EQ(lines.size(), 1u);
    // alice owns it: her copy stays until the host's answer, then goes
    // everywhere; carol never held it and ignores the news.
    ASSERT_EQ(clients["alice"]->repl.requestDelete(*db::findNode("charsheet.00001", tree("alice"))), 0);
    EXPECT_NE(db::findNode("charsheet.00001", tree("alice")), nullptr);
    settle();
    EXPECT_EQ(db::findNode("charsheet.00001"), nullptr);
    EXPECT_EQ(db::findNode("charsheet.00001", tree("alice")), nullptr);
    EXPECT_EQ(db::findNode("charsheet.00001", tree("bob")), nullptr);
    EXPECT_NE(db::findNode("charsheet.00002", tree("bob")), nullptr);
    // The host deletes at once, and only the topmost node is named.
    // (The clients' trees share this process's sink with the host, so their
    // own deletions are announced again; only the paths are compared.)
    std::set<std::string> named;
    clients["carol"]->session.setHandler(net::tags::DATDR, [&](net::SessionPeer*, const net::NetMessage& m) {
        std::string path, why;
        EXPECT_TRUE(db::decodePathMessage(m, path, why));
        named.insert(path);
        return net::HandlerResult::Handled;
    });
    settle();
    named.clear();
    EXPECT_EQ(hostRepl.requestDelete(*db::findNode("charsheet")), 0);
    settle();
    EXPECT_EQ(named, std::set<std::string>{"charsheet"});
    EXPECT_EQ(db::findNode("charsheet", tree("bob")), nullptr);
}

TEST_F(ReplicationInProcess, OwnedRecordsAndSharingWithAll) {
    DbNode& owned = makeRecord(db::rootNode(), "charsheet.00003", 1, "Own");
    owned.addHolder("alice", true);
    DbNode& deep = makeRecord(db::rootNode(), "charsheet.00004", 1, "Deep");
    deep.child("hp")->setOwner(&db::knownUser("alice"));  // below a record: not looked at
    hostRepl.sendOwnedTo(db::rootNode(), db::knownUser("alice"));
    settle();
    EXPECT_NE(db::findNode("charsheet.00003.hp", tree("alice")), nullptr);
    EXPECT_EQ(db::findNode("charsheet.00004", tree("alice")), nullptr);

    DbNode& shared = makeRecord(db::rootNode(), "notes.00001", 9, "All");
    EXPECT_EQ(clients["alice"]->repl.sendToAllUsers(shared), -1);
    EXPECT_EQ(hostRepl.sendToAllUsers(shared), 0);
    settle();
    for (const char* name : {"alice", "bob"}) {
        EXPECT_EQ(number(db::findNode("notes.00001.hp", tree(name))), 9) << name;
        EXPECT_TRUE(shared.child("hp")->holders.contains(&db::knownUser(name)));
    }
}

TEST_F(ReplicationInProcess, MalformedMessagesAreDroppedWithALine) {
    DbNode& record = makeRecord(db::rootNode(), "charsheet.00001", 5, "Bo");
    record.addHolder("alice", true);
    auto send = [&](std::vector<uint8_t> body) {
        host.dispatch(host.findUser("alice"), net::NetMessage(net::tags::DATAR, std::move(body)));
    };
    send({});
    send({'a', 0});                             // no kind
    send({'a', '.', '.', 'b', 0, 1, 0, 1, 2, 3, 4});  // empty piece
    send({'c', 'h', 'a', 'r', 's', 'h', 'e', 'e', 't', '.', '0', '0', '0', '0', '1', '.', 'h', 'p', 0, 1, 0, 1, 2});
    std::vector<uint8_t> longPath(300, 'x');
    longPath.push_back(0);
    send(longPath);
    db::DataMessage d;
    d.path = "charsheet.00001.pic";
    d.kind = 5;
    d.image.imagePath = "..\\..\\etc\\passwd";
    fromClient("alice", d);
    EXPECT_EQ(lines.size(), 6u);
    EXPECT_EQ(number(db::findNode("charsheet.00001.hp")), 5);
    EXPECT_EQ(db::findNode("charsheet.00001.pic"), nullptr);

    // A text cut off by another, one not well formed, and one that grows
    // past the cap: each dropped with a line, the old text kept.
    lines.clear();
    d.kind = 4;
    d.path = "charsheet.00001.story";
    d.isLastChunk = false;
    d.text = "<p>half";
    fromClient("alice", d);
    d.path = "charsheet.00001.other";
    d.isLastChunk = true;
    d.text = "<p>broken";
    fromClient("alice", d);
    EXPECT_EQ(lines.size(), 2u);
    d.text = "<p>fine</p>";
    fromClient("alice", d);
    EXPECT_EQ(stored(db::findNode("charsheet.00001.other")), "<p>fine</p>\n");
    d.isLastChunk = false;
    d.text = std::string(4000, 'z');
    for (size_t sent = 0; sent <= db::TextReassembly::kDefaultCap; sent += 4000) fromClient("alice", d);
    EXPECT_EQ(lines.size(), 3u);
    EXPECT_NE(lines.back().find("too large"), std::string::npos) << lines.back();
    EXPECT_EQ(stored(db::findNode("charsheet.00001.other")), "<p>fine</p>\n");

    // Noise after a valid start, on both sides: dropped or applied, never
    // read past its end.
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        std::vector<uint8_t> body = {'c', 'h', 'a', 'r', 's', 'h', 'e', 'e', 't', '.', '0', '0', '0', '0', '1', '.',
                                     uint8_t('a' + random() % 3), 0, uint8_t(random() % 7)};
        body.resize(body.size() + random() % 24);
        for (size_t b = 19; b < body.size(); ++b) body[b] = uint8_t(random() % 4 ? random() : 0);
        net::NetMessage m(i % 2 ? net::tags::DATAR : net::tags::DATDR, body);
        clients["alice"]->session.dispatch(nullptr, m);
        m.tag = net::tags::DATAR;
        host.dispatch(host.findUser("alice"), m);
    }
    EXPECT_NE(db::findNode("charsheet.00001"), nullptr);
}

}  // namespace
