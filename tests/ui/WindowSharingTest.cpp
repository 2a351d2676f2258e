// Window sharing through real sessions on loopback: a host and a client in
// one process, each with its own Desktop and record tree. Share Sheet opens
// the window on the client, Close For All closes it there, a client's WINCQ
// makes a record on the host, and requests the client may not make (forged
// host messages, shares of windows it may not share, garbage) change
// nothing on the host.
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "db/DbContext.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "net/Replication.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/NetTestLoop.h"
#include "ui/Desktop.h"
#include "ui/RulesetData.h"
#include "ui/SessionWindowPort.h"
#include "ui/Window.h"
#include "ui/WindowMessages.h"

namespace lh::test {
namespace {

using ui::Window;

net::NetMessage windowMessage(net::MessageTag tag, ui::WindowMessage m, ui::WindowMessageForm form) {
    return net::NetMessage(tag, ui::encodeWindowMessage(m, form));
}

class WindowSharing : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset();
        uint16_t port = openLoopbackHost(host);
        hostRepl.registerHandlers();
        // The process's tree is the host's; what it publishes goes out here.
        db::dbContext().sink = &hostRepl;
        clientRepl.registerHandlers();
        hostPort.attach(hostDesk);
        clientDesk.root = &clientRoot;
        clientPort.attach(clientDesk);
        host.setSystemLineSink([this](const std::string& l) { hostLines.push_back(l); });
        client.setSystemLineSink([this](const std::string& l) { clientLines.push_back(l); });
        client.connectToHost("127.0.0.1", port);
        ASSERT_TRUE(pump([&] { return !host.users().empty(); }));
        host.users().back()->name = "alice";  // what the login would have set
        db::knownUser("alice");
    }
    void TearDown() override {
        db::dbContext().sink = nullptr;
        db::clearTree();
        ui::clearRuleset();
    }
    bool pump(const std::function<bool()>& done) { return pumpUntil({&host, &client}, done); }
    Window* hostOpen(const char* cls, const char* record) {
        return hostDesk.OpenWindow(*ui::findWindowClass(cls), record);
    }
    // Messages on one connection are handled in order: once the host has
    // made a record for this request, everything sent before it was seen.
    void barrier() {
        size_t before = db::rootNode().child("party") ? db::rootNode().child("party")->children.size() : 0;
        client.sendToHost(windowMessage(net::tags::WINCQ, {"party", "", 0, 0}, ui::WindowMessageForm::classOnly));
        ASSERT_TRUE(pump([&] {
            db::DbNode* party = db::rootNode().child("party");
            return party && party->children.size() > before;
        }));
    }

    net::Session host, client;
    db::DbNode clientRoot{"", nullptr};
    db::Replication hostRepl{host, db::rootNode()};
    db::Replication clientRepl{client, clientRoot};
    ui::Desktop hostDesk, clientDesk;
    ui::SessionWindowPort hostPort{host, hostRepl}, clientPort{client, clientRepl};
    std::vector<std::string> hostLines, clientLines;
};

TEST_F(WindowSharing, ShareSheetOpensOnTheClientAndCloseForAllClosesIt) {
    Window* sheet = hostOpen("sheet", "00001");
    db::DbNode* hp = sheet->record->child("hp");
    hp->valueAs<db::IntValue>()->set(5);
    sheet->Resize(320, 240);
    sheet->MenuSelected(ui::kMenuShare);
    EXPECT_EQ(sheet->sharedWith.count("alice"), 1u);
    ASSERT_TRUE(pump([&] { return clientDesk.Find("sheet", "00001") != nullptr; }));
    Window* copy = clientDesk.Find("sheet", "00001");
    EXPECT_TRUE(copy->shared);
    EXPECT_EQ(copy->rect.width(), 320);
    EXPECT_EQ(copy->rect.height(), 240);
    // The record came first, so the copy shows the host's value.
    ASSERT_NE(copy->record, nullptr);
    EXPECT_EQ(copy->record, db::findNode("sheets.00001", clientRoot));
    EXPECT_EQ(static_cast<TestBox&>(*copy->ControlAt(0)).value(), 5);

    // A change on the host reaches the client's window, which redraws.
    copy->changed = false;
    hp->valueAs<db::IntValue>()->set(8);
    hp->valueAs<db::IntValue>()->publish(false);
    ASSERT_TRUE(pump([&] { return copy->changed; }));
    EXPECT_EQ(static_cast<TestBox&>(*copy->ControlAt(2)).value(), 8);

    // A new size from the host: the client follows, within the class's limits.
    host.sendToAll(windowMessage(net::tags::WINSQ, {"sheet", "00001", 5000, 250}, ui::WindowMessageForm::namesAndSize));
    ASSERT_TRUE(pump([&] { return copy->rect.height() == 250; }));
    EXPECT_EQ(copy->rect.width(), 1025);

    hostDesk.Find("sheet", "00001")->MenuSelected(ui::kMenuCloseForAll);
    EXPECT_EQ(hostDesk.Find("sheet", "00001"), nullptr);
    ASSERT_TRUE(pump([&] { return clientDesk.Find("sheet", "00001") == nullptr; }));
    // Closing lost nothing: the record stays on both sides.
    EXPECT_NE(db::findNode("sheets.00001"), nullptr);
    EXPECT_NE(db::findNode("sheets.00001", clientRoot), nullptr);
}

TEST_F(WindowSharing, AClientsRequestMakesARecordOnTheHost) {
    client.sendToHost(windowMessage(net::tags::WINCQ, {"party", "", 0, 0}, ui::WindowMessageForm::classOnly));
    ASSERT_TRUE(pump([&] { return clientDesk.Find("party", "00001") != nullptr; }));
    db::DbNode* made = db::findNode("party.00001");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->owner, db::findKnownUser("alice"));
    // The host's window only made the record.
    EXPECT_EQ(hostDesk.Find("party", "00001"), nullptr);
    Window* mine = clientDesk.Find("party", "00001");
    EXPECT_TRUE(mine->shared);
    ASSERT_TRUE(pump([&] { return db::findNode("party.00001.gold", clientRoot) != nullptr; }));

    // The player shares it back: the host opens it and shares it on.
    mine->Share(nullptr);
    ASSERT_TRUE(pump([&] { return hostDesk.Find("party", "00001") != nullptr; }));
    EXPECT_TRUE(hostDesk.Find("party", "00001")->shared);

    // A class without PLAYERCONTROL makes nothing.
    client.sendToHost(windowMessage(net::tags::WINCQ, {"sheet", "", 0, 0}, ui::WindowMessageForm::classOnly));
    client.sendToHost(windowMessage(net::tags::WINCQ, {"nosuchclass", "", 0, 0}, ui::WindowMessageForm::classOnly));
    barrier();
    EXPECT_EQ(db::findNode("sheets"), nullptr);
    EXPECT_TRUE(hostLines.empty());
}

TEST_F(WindowSharing, RequestsTheClientMayNotMakeChangeNothing) {
    Window* sheet = hostOpen("sheet", "00001");
    const render::Rect before = sheet->rect;
    hostOpen("party", "00009");  // the host's record: not alice's
    hostDesk.Find("party", "00009")->Close(false);
    hostDesk.CollectClosed();
    // Host-to-client messages sent by a client are not acted on.
    client.sendToHost(windowMessage(net::tags::WINDQ, {"sheet", "00001", 0, 0}, ui::WindowMessageForm::names));
    client.sendToHost(windowMessage(net::tags::WINSQ, {"sheet", "00001", 900, 700}, ui::WindowMessageForm::namesAndSize));
    client.sendToHost(windowMessage(net::tags::WINCR, {"sheet", "00002", 200, 200}, ui::WindowMessageForm::namesAndSize));
    // Shares it may not make: a class without PLAYERCONTROL, a record of
    // somebody else, an unknown class.
    client.sendToHost(windowMessage(net::tags::WINBQ, {"sheet", "00003", 200, 200}, ui::WindowMessageForm::namesAndSize));
    client.sendToHost(windowMessage(net::tags::WINBQ, {"party", "00009", 200, 200}, ui::WindowMessageForm::namesAndSize));
    client.sendToHost(windowMessage(net::tags::WINBQ, {"nope", "1", 200, 200}, ui::WindowMessageForm::namesAndSize));
    // Garbage: a name without its end, a size cut short.
    client.sendToHost(net::NetMessage(net::tags::WINBQ, {'p', 'a', 'r', 't', 'y'}));
    client.sendToHost(net::NetMessage(net::tags::WINBQ, {'p', 0, 'q', 0, 1, 2}));
    barrier();
    EXPECT_EQ(hostDesk.Find("sheet", "00001"), sheet);
    EXPECT_EQ(sheet->rect, before);
    EXPECT_EQ(hostDesk.Find("sheet", "00002"), nullptr);
    EXPECT_EQ(hostDesk.Find("sheet", "00003"), nullptr);
    EXPECT_EQ(hostDesk.Find("party", "00009"), nullptr);
    EXPECT_EQ(hostDesk.windows.size(), 1u);
    // The garbage was reported, each with a line, and the session goes on.
    ASSERT_EQ(hostLines.size(), 2u);
    EXPECT_NE(hostLines[0].find("WINBQ"), std::string::npos);
    EXPECT_NE(hostLines[1].find("window size"), std::string::npos);
    EXPECT_FALSE(client.hostLost());

    // A malformed share from the host is dropped on the client likewise.
    host.sendToAll(net::NetMessage(net::tags::WINCR, {'s', 'h', 'e', 'e', 't', 0, '1'}));
    host.sendToAll(windowMessage(net::tags::WINCR, {"party", "00009", 200, 160}, ui::WindowMessageForm::namesAndSize));
    ASSERT_TRUE(pump([&] { return clientDesk.Find("party", "00009") != nullptr; }));
    EXPECT_EQ(clientLines.size(), 1u);
    EXPECT_EQ(clientDesk.Find("sheet", "00001"), nullptr);
}

}  // namespace
}  // namespace lh::test
