// What the chat keeps beyond its view: the host's HTML log (header, line
// forms, switching off and on, a file that cannot be opened), polls (ids
// handed out by the host, votes, boxes breaking into rows, votes checked
// against the voter) and Identities made from a name field; and what acts
// on the view: the radial menus over a die result and elsewhere, drops of
// numbers and texts, the middle button, CHCLR and BELLR from the host.
#include <gtest/gtest.h>

#include "chat/ChatLine.h"
#include "chat/ChatLog.h"
#include "chat/ChatWindow.h"
#include "chat/ChatWire.h"
#include "chat/IdentityViews.h"
#include "chat/Poll.h"
#include "db/DbNode.h"
#include "db/StringValue.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "../ui/DesktopFixture.h"
#include "ui/StringControl.h"
#include "ui/Window.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/DesktopObject.h"
#include "ui/DragPayload.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"
#include "ui/WindowClass.h"

namespace lh::chat {
namespace {

std::unique_ptr<ui::DieResult> result(std::vector<std::pair<const char*, int32_t>> dice, int32_t modifier) {
    auto r = std::make_unique<ui::DieResult>();
    for (auto& [name, value] : dice) r->dice.push_back({name, nullptr, value});
    r->modifier = modifier;
    return r;
}

TEST(ChatLog, LinesAndHeadersAsTheFileHoldsThem) {
    std::tm t{};
    t.tm_mday = 3, t.tm_mon = 10, t.tm_year = 126, t.tm_hour = 9, t.tm_min = 5, t.tm_sec = 7;
    EXPECT_EQ(chatLogHeader(t), "<br />\n<b>Chat log started at 3.11.2026 / 09:05:07</b><br/>\n<br />\n");

    struct Case {
        const char* speaker;
        const char* text;
        std::unique_ptr<ui::ChatAttachment> attachment;
        const char* expected;
    };
    Case cases[] = {
        {"Bob", "Hello <b>all</b>", nullptr, "<font color=\"#000000\">Bob: Hello <b>all</b></font><br />\n"},
        {"", "The door opens.", nullptr, "<font color=\"#000000\">The door opens.</font><br />\n"},
        {"Bob", "Hits", result({{"d6", 4}, {"d6", 5}, {"d6", 1}}, 2),
         "<font color=\"#000000\">Bob: Hits</font> [3d6+2 = 12]<br />\n"},
        {"Bob", "", result({{"d8", 7}, {"d6", 1}}, -1), "<font color=\"#000000\">Bob: </font> [2d8-1 = 7]<br />\n"},
        {"", "", result({}, -3), "<font color=\"#000000\"></font> [-3]<br />\n"},
        {"Bob", "Rest here?", std::make_unique<Poll>(4u),
         "<font color=\"#000000\">Bob: (POLL) Rest here?</font><br />\n"},
    };
    for (Case& c : cases) {
        ChatLine line(c.text, c.speaker, "nosuchfont");
        line.attachment = std::move(c.attachment);
        EXPECT_EQ(chatLogLine(line), c.expected) << c.text;
    }

    // The file: each start writes a header, lines go in only while it runs,
    // and what was there stays.
    test::TempDir dir;
    ChatLog log;
    log.path = (dir.path() / "chatlog.html").string();
    ChatLine said("One", "Bob", "chatfont");
    log.write(said);  // not started yet
    log.setLogging(true);
    log.write(said);
    log.setLogging(false);
    log.write(said);
    log.setLogging(true);
    log.write(said);
    const std::string file = test::readFile(dir.path() / "chatlog.html");
    size_t headers = 0, lines = 0;
    for (size_t at = 0; (at = file.find("Chat log started at ", at)) != std::string::npos; ++at) ++headers;
    for (size_t at = 0; (at = file.find("Bob: One", at)) != std::string::npos; ++at) ++lines;
    EXPECT_EQ(headers, 2u);
    EXPECT_EQ(lines, 2u);
    EXPECT_LT(file.find("Bob: One"), file.rfind("Chat log started at "));

    // A file that cannot be opened is passed over.
    log.path = (dir.path() / "missing" / "chatlog.html").string();
    log.write(said);
    log.path.clear();
    log.write(said);
}

TEST(ChatPoll, IdsVotesAndRowsOfBoxes) {
    // The host numbers polls itself; a client takes the host's number, and
    // its own next poll follows it.
    Poll::nextId() = 5;
    ChatWindow host(ChatLink{db::SessionMode::Host, nullptr});
    ChatWindow client(ChatLink{db::SessionMode::Join, nullptr});
    ChatMessage asked{"Bob", "chatfont", "Rest here?", "", ui::ChatAttachment::kPoll, "", 99};
    auto onHost = host.lineFromMessage(asked);
    EXPECT_EQ(static_cast<Poll&>(*onHost->attachment).id, 5u);
    EXPECT_EQ(host.messageFromLine(*onHost).pollId, 5u);
    auto onClient = client.lineFromMessage(asked);
    EXPECT_EQ(static_cast<Poll&>(*onClient->attachment).id, 99u);
    EXPECT_EQ(Poll().id, 100u);

    // A vote reaches the poll of its id, once and for good; a vote for a poll
    // that is gone changes nothing.
    client.add(std::move(onClient));
    EXPECT_TRUE(client.setVote(99, "Hero", 1));
    EXPECT_TRUE(client.setVote(99, "Hero", 1));
    EXPECT_FALSE(client.setVote(5, "Hero", 1));
    const auto& poll = static_cast<const Poll&>(*client.allLines().back()->attachment);
    EXPECT_TRUE(poll.hasVoted("Hero"));
    EXPECT_FALSE(poll.hasVoted("Sage"));
    EXPECT_EQ(poll.votes.size(), 1u);
    client.clear();
    EXPECT_FALSE(client.setVote(99, "Sage", 1));

    // Boxes: one per character in play, breaking into rows when the width
    // runs out; with nobody in play, or without the icons, only the margins.
    ui::clearRuleset();
    ui::ruleset().settings.pollBox.box.margin = 14;
    ui::ruleset().settings.pollBox.emptyIcon = "poll_empty";
    render::RenderContext measurer;
    Poll p;
    ui::AttachmentSize size;
    Poll::voters() = [] { return std::vector<std::string>{"A", "B", "C", "D", "E"}; };
    p.measure(size, measurer, 200);
    EXPECT_EQ(size.width, 28);
    EXPECT_EQ(size.height, 28);
    auto icon = std::make_unique<render::Bitmap>();
    ASSERT_TRUE(icon->CreateEmpty(20, 20, true));
    ui::ruleset().icons["poll_empty"] = std::move(icon);
    struct Case {
        int32_t width, expectedWidth, expectedHeight;
    };
    for (Case c : {Case{200, 28 + 4 * 20, 28}, Case{50, 28 + 20, 28 + 2 * 20}, Case{5, 28, 28 + 4 * 20}}) {
        p.measure(size, measurer, c.width);
        EXPECT_EQ(size.width, c.expectedWidth) << c.width;
        EXPECT_EQ(size.height, c.expectedHeight) << c.width;
    }
    Poll::voters() = [] { return std::vector<std::string>{}; };
    p.measure(size, measurer, 200);
    EXPECT_EQ(size.width, 28);
    Poll::voters() = nullptr;
    ui::clearRuleset();
}

// The chat on a host session without sockets: a player's poll is numbered by
// the host; votes count only under the voter's own Identity; a poll id that
// is not in the chat, or a cut vote, changes nothing.
TEST(ChatPoll, TheHostNumbersPollsAndChecksVoters) {
    net::Session session;
    session.becomeHost();
    std::vector<std::string> notices, traced;
    session.setSystemLineSink([&](const std::string& line) { notices.push_back(line); });
    platform::Subscription watch = platform::traceLines().subscribe(
        [&](std::string_view line) { traced.emplace_back(line); });
    db::setSessionMode(db::SessionMode::Host);
    ui::startSubsystems({db::SessionMode::Host, ui::desktop(), &session, nullptr});
    ASSERT_TRUE(ui::chatPort());
    ASSERT_TRUE(ui::makePoll());

    net::SessionPeer& ann = session.addPeer(nullptr);
    ann.name = "Ann";
    db::knownUser("Ann").identity.set("Hero");
    Poll::nextId() = 40;
    ChatMessage asked{"Hero", "chatfont", "Rest here?", "", ui::ChatAttachment::kPoll, "", 7};
    session.dispatch(&ann, encodeChat(net::tags::CHATQ, asked));
    auto saw = [&](const std::string& text) { return std::find(traced.begin(), traced.end(), text) != traced.end(); };
    EXPECT_TRUE(saw("poll 40 Rest here?"));

    session.dispatch(&ann, encodePollVote(net::tags::POLLQ, {40, 1, "Hero"}));
    session.dispatch(&ann, encodePollVote(net::tags::POLLQ, {40, 1, "Sage"}));  // not Ann's
    session.dispatch(&ann, encodePollVote(net::tags::POLLQ, {41, 1, "Hero"}));  // no such poll
    net::NetMessage cut = encodePollVote(net::tags::POLLQ, {40, 1, "Hero"});
    cut.body.resize(6);
    session.dispatch(&ann, cut);
    EXPECT_TRUE(saw("vote 40 Hero"));
    EXPECT_FALSE(saw("vote 40 Sage"));
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_NE(notices[0].find("POLLQ"), std::string::npos) << notices[0];

    // A name field's control-click: a new Identity, once.
    EXPECT_TRUE(makeIdentityFromField("Innkeeper"));
    ASSERT_TRUE(ui::activeIdentity());
    EXPECT_EQ(ui::activeIdentity()->name, "Innkeeper");
    EXPECT_EQ(ui::activeIdentity()->fontName, "chatfont");
    EXPECT_FALSE(makeIdentityFromField("Innkeeper"));
    EXPECT_FALSE(makeIdentityFromField(""));

    ui::stopSubsystems();
    EXPECT_FALSE(ui::makePoll());
    ui::identities().clear();
}

// A drag source that hands out one payload.
struct Carried final : ui::DesktopObject {
    ui::DragPayload payload;
    int GetDragData(ui::DragPayload& out) override {
        out = payload;
        return 1;
    }
};

// The Gamemaster's strip of Identities, 100 pixels a plate: a click makes
// one active and resets the entry, a middle or control click and the menu
// remove one (never the first), a dropped text or a dropped sheet whose
// name field the Ruleset accepts makes an NPC Identity.
TEST(IdentityList, ClicksRemoveAndDropsMakeVoices) {
    ui::identities().clear();
    ui::identities().selectOrMakeIdentity("Keeper", "dmfont");
    for (const char* name : {"Grub", "Vala", "Orm"}) ui::identities().selectOrMakeIdentity(name, "npcchatfont");
    ui::IdentityListSettings& settings = ui::ruleset().settings.identityList;
    settings = {};
    settings.present = true;
    settings.spacing = 100;
    settings.acceptDrops.push_back({"charsheet", "name"});
    IdentityList list;
    list.rect = {0, 0, 400, 30};
    int resets = 0;
    list.selected = [&] { ++resets; };
    auto names = [] {
        std::string out;
        for (const auto& identity : ui::identities().all()) out += identity->name + ",";
        return out;
    };
    auto release = [&](int message, int32_t x, uint32_t flags = 0) {
        list.MouseButton(message, flags, ui::mouse::pack(x, 10));
    };

    release(ui::mouse::kLeftUp, 150);
    EXPECT_EQ(ui::activeIdentity()->name, "Grub");
    EXPECT_EQ(resets, 1);
    release(ui::mouse::kMiddleUp, 350);
    release(ui::mouse::kLeftUp, 50, ui::mouse::kControl);  // the first stays
    release(ui::mouse::kMiddleUp, 50);
    EXPECT_EQ(names(), "Keeper,Grub,Vala,");
    release(ui::mouse::kLeftUp, 250, ui::mouse::kControl);
    EXPECT_EQ(names(), "Keeper,Grub,");
    EXPECT_EQ(resets, 1);
    ui::inputState().lastMousePosition = ui::mouse::pack(50, 10);
    EXPECT_FALSE(list.BuildMenu());
    ui::inputState().lastMousePosition = ui::mouse::pack(150, 10);
    ASSERT_TRUE(list.BuildMenu());
    list.MenuSelected(1);
    EXPECT_EQ(names(), "Keeper,");

    ui::desktop().dragPayload = {};
    ui::desktop().dragPayload.kind = 2;
    ui::desktop().dragPayload.text = "Innkeeper";
    EXPECT_EQ(list.MouseDrop(0, 0, 0, nullptr), 1);
    ASSERT_EQ(ui::activeIdentity()->name, "Innkeeper");
    EXPECT_EQ(ui::activeIdentity()->fontName, "npcchatfont");

    auto sheet = std::make_unique<ui::WindowClass>();
    sheet->dataSource = "charsheet";
    ui::ruleset().windowClasses["charsheet"] = std::move(sheet);
    db::DbNode* field = db::rootNode().addChild("charsheet")->addChild("00001")->addChild("name");
    field->attachValue(std::make_unique<db::StringValue>());
    field->valueAs<db::StringValue>()->set("Grimble");
    db::DbNode* before = ui::desktop().root;
    ui::desktop().root = &db::rootNode();
    ui::desktop().dragPayload = {};
    ui::desktop().dragPayload.kind = 3;
    ui::desktop().dragPayload.className = "charsheet";
    ui::desktop().dragPayload.recordName = "00001";
    EXPECT_EQ(list.MouseDrop(0, 0, 0, nullptr), 1);
    EXPECT_EQ(names(), "Keeper,Innkeeper,Grimble,");
    EXPECT_EQ(ui::activeIdentity()->fontName, "npcchatfont");
    ui::desktop().dragPayload.className = "notes";  // not accepted
    EXPECT_EQ(list.MouseDrop(0, 0, 0, nullptr), 0);

    ui::desktop().root = before;
    ui::desktop().dragPayload = {};
    db::clearTree();
    ui::clearRuleset();
    ui::identities().clear();
}

TEST(ChatWindow, MenusDropsAndTheMiddleButton) {
    ui::identities().clear();
    ChatWindow chat(ChatLink{db::SessionMode::Host, nullptr});
    chat.rect = {0, 0, 400, 300};
    std::vector<std::pair<int32_t, std::string>> attached;
    std::vector<uint8_t> bells;
    int logSwitches = 0;
    chat.attachDieResult = [&](std::unique_ptr<ui::DieResult> r, const char* text) {
        attached.emplace_back(r->modifier, text ? text : "(null)");
    };
    chat.ringBell = [&](uint8_t sound) { bells.push_back(sound); };
    chat.toggleLog = [&] { ++logSwitches; };

    // A die result at a known place, as a paint leaves it.
    auto rolled = std::make_unique<ChatLine>("Attack", "Bob", "chatfont");
    rolled->attachment = result({{"d6", 5}, {"d6", 2}}, 1);
    rolled->attachment->rect = {100, 200, 160, 220};
    auto& die = static_cast<ui::DieResult&>(*rolled->attachment);
    chat.add(std::move(rolled));

    // Over the die: its display modes; "Reset" only once one is set.
    ui::inputState().lastMousePosition = ui::mouse::pack(110, 210);
    auto menu = chat.BuildMenu();
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->hubIcon, "menuhub");
    EXPECT_EQ(menu->find("Reset"), -1);
    const std::pair<const char*, int> modes[] = {
        {"Double value", ui::DieResult::kDouble}, {"Halve value", ui::DieResult::kHalve},
        {"Negate value", ui::DieResult::kNegate}, {"Display sum", ui::DieResult::kSum}};
    for (auto [label, mode] : modes) {
        menu = chat.BuildMenu();
        ASSERT_GE(menu->find(label), 0) << label;
        chat.MenuSelected(menu->at(menu->find(label)).id);
        EXPECT_EQ(die.displayMode, mode) << label;
        EXPECT_EQ(chat.menuLine, nullptr);
    }
    menu = chat.BuildMenu();
    EXPECT_EQ(menu->find("Reset"), 1);
    chat.MenuSelected(menu->at(1).id);
    EXPECT_EQ(die.displayMode, ui::DieResult::kAsRolled);

    // Elsewhere, on the host: prompt, halt with the bell, the log, clear.
    ui::inputState().lastMousePosition = ui::mouse::pack(10, 10);
    menu = chat.BuildMenu();
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->find("Start chat log"), 4);
    chat.logging = true;
    menu = chat.BuildMenu();
    EXPECT_EQ(menu->find("Stop chat log"), 4);
    EXPECT_EQ(menu->at(4).icon, "logoff");
    chat.MenuSelected(menu->at(4).id);
    EXPECT_EQ(logSwitches, 1);
    chat.MenuSelected(menu->at(menu->find("Prompt Icon")).id);
    EXPECT_EQ(chat.allLines().back()->indicatorName, "indicator_prompt");
    EXPECT_TRUE(bells.empty());
    chat.MenuSelected(menu->at(menu->find("Halt Icon")).id);
    EXPECT_EQ(chat.allLines().back()->indicatorName, "indicator_stop");
    EXPECT_EQ(chat.allLines().back()->fontName, "narratorfont");
    EXPECT_EQ(bells, std::vector<uint8_t>{1});

    // Drops: a number goes through attachDieResult, negated with Ctrl; a
    // text becomes a line, its description the speaker in "npcchatfont".
    Carried carried;
    carried.payload.kind = ui::kDragNumber;
    carried.payload.number = 7;
    carried.payload.description = "Strength";
    chat.MouseDrop(0, 0, 0, &carried);
    chat.MouseDrop(0, ui::mouse::kControl, 0, &carried);
    EXPECT_EQ(attached, (std::vector<std::pair<int32_t, std::string>>{{7, "Strength"}, {-7, "Strength"}}));
    carried.payload = {};
    carried.payload.kind = ui::kDragText;
    carried.payload.text = "A gate of iron.";
    chat.MouseDrop(0, 0, 0, &carried);
    EXPECT_EQ(chat.allLines().back()->fontName, "narratorfont");
    EXPECT_EQ(chat.allLines().back()->label, "");
    carried.payload.description = "Guard";
    carried.payload.text = "Halt!";
    chat.MouseDrop(0, 0, 0, &carried);
    EXPECT_EQ(chat.allLines().back()->fontName, "npcchatfont");
    EXPECT_EQ(chat.allLines().back()->label, "Guard:");
    carried.payload.kind = ui::kDragWindowLink;
    EXPECT_EQ(chat.MouseDrop(0, 0, 0, &carried), 0);

    // The middle button: the host with an Identity tells a hidden total,
    // never its dice; anyone else goes back to the newest line.
    die.hidden = true;
    ui::identities().selectOrMakeIdentity("Keeper", "dmfont");
    attached.clear();
    chat.MouseButton(ui::mouse::kMiddleUp, 0, ui::mouse::pack(110, 210));
    EXPECT_EQ(attached, (std::vector<std::pair<int32_t, std::string>>{{8, "(null)"}}));
    ui::identities().clear();
    chat.scrollBy(-3);
    chat.MouseButton(ui::mouse::kMiddleUp, 0, ui::mouse::pack(110, 210));
    EXPECT_EQ(chat.scrollPosition(), -1);

    chat.MenuSelected(menu->at(menu->find("Clear")).id);
    EXPECT_TRUE(chat.allLines().empty());

    // A player gets no menu but over a die result.
    ChatWindow player(ChatLink{db::SessionMode::Join, nullptr});
    EXPECT_FALSE(player.BuildMenu());
}

// On a player's machine: CHCLR empties the view; BELLR rings (and is
// traced), other sounds do nothing, a cut one is dropped with a notice.
TEST(ChatWindow, TheHostClearsAndRings) {
    net::Session session;  // a client's, fed without sockets
    std::vector<std::string> notices, traced;
    session.setSystemLineSink([&](const std::string& line) { notices.push_back(line); });
    platform::Subscription watch = platform::traceLines().subscribe(
        [&](std::string_view line) { traced.emplace_back(line); });
    db::setSessionMode(db::SessionMode::Join);
    ui::startSubsystems({db::SessionMode::Join, ui::desktop(), &session, nullptr});
    ui::ChatLineDraft said;
    said.text = "Hello";
    ui::chatPort()->add(std::move(said));
    session.dispatch(nullptr, net::NetMessage(net::tags::CHCLR));
    session.dispatch(nullptr, encodeBell(1));
    session.dispatch(nullptr, encodeBell(9));  // other sounds do nothing
    session.dispatch(nullptr, net::NetMessage(net::tags::BELLR));
    EXPECT_NE(std::find(traced.begin(), traced.end(), "bell 1"), traced.end());
    EXPECT_EQ(std::find(traced.begin(), traced.end(), "bell 9"), traced.end());
    EXPECT_EQ(notices.size(), 1u);
    ui::stopSubsystems();
    db::setSessionMode(db::SessionMode::Host);
    ui::identities().clear();
}

// The Gamemaster's button beside a name field: pressed and let go over it,
// the field's text becomes an Identity in "npcchatfont" and the active one;
// let go elsewhere, or over an empty field, none.
TEST(IdentityActivation, TheHostsButtonMakesAVoiceOfItsField) {
    test::loadWindowRuleset(R"(<root>
  <windowclass name="npc">
    <datasource name="npc"/><defaultsize width="200" height="100"/><defaultposition x="100" y="100"/>
    <sheetdata>
      <stringcontrol name="name"><bounds rect="10,10,100,20"/></stringcontrol>
      <identityactivation><bounds rect="120,10,20,20"/><sourcefield name="name"/><icon normal="open" pressed="openpressed"/></identityactivation>
    </sheetdata>
  </windowclass>
</root>)");
    net::Session session;
    session.becomeHost();
    db::setSessionMode(db::SessionMode::Host);
    db::DbNode* before = ui::desktop().root;
    ui::desktop().root = &db::rootNode();
    ui::startSubsystems({db::SessionMode::Host, ui::desktop(), &session, nullptr});
    ui::Window* npc = ui::desktop().OpenWindow(*ui::findWindowClass("npc"), "00001");
    ASSERT_TRUE(npc);
    ui::Control* button = nullptr;
    for (const auto& control : npc->controls) {
        if (dynamic_cast<IdentityActivation*>(control.get())) button = control.get();
    }
    ASSERT_TRUE(button);
    auto* name = dynamic_cast<ui::StringControl*>(npc->FindControl("name"));
    ASSERT_TRUE(name);
    int32_t x, y;
    button->GetOrigin(x, y);
    auto press = [&](int32_t upX) {
        button->MouseButton(ui::mouse::kLeftDown, 0, ui::mouse::pack(x + 5, y + 5));
        button->MouseButton(ui::mouse::kLeftUp, 0, ui::mouse::pack(upX, y + 5));
    };
    const size_t voices = ui::identities().all().size();
    press(x + 5);  // an empty field names nobody
    EXPECT_EQ(ui::identities().all().size(), voices);
    name->value().set("Innkeeper");
    press(x + 500);  // let go away from the button
    EXPECT_EQ(ui::identities().all().size(), voices);
    press(x + 5);
    ASSERT_TRUE(ui::activeIdentity());
    EXPECT_EQ(ui::activeIdentity()->name, "Innkeeper");
    EXPECT_EQ(ui::activeIdentity()->fontName, "npcchatfont");
    EXPECT_EQ(ui::identities().all().size(), voices + 1);
    press(x + 5);  // the same name again picks it, and makes no second
    EXPECT_EQ(ui::identities().all().size(), voices + 1);

    while (!ui::desktop().windows.empty()) ui::desktop().Remove(ui::desktop().windows.back().get());
    ui::desktop().CollectClosed();
    ui::stopSubsystems();
    ui::identities().clear();
    ui::desktop().root = before;
    db::clearTree();
    ui::clearRuleset();
}

}  // namespace
}  // namespace lh::chat
