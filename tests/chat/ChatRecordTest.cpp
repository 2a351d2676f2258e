// What the chat keeps beyond its view: the host's HTML log (header, line
// forms, switching off and on, a file that cannot be opened), polls (ids
// handed out by the host, votes, boxes breaking into rows, votes checked
// against the voter) and Identities made from a name field.
#include <gtest/gtest.h>

#include "chat/ChatLine.h"
#include "chat/ChatLog.h"
#include "chat/ChatWindow.h"
#include "chat/ChatWire.h"
#include "chat/IdentityViews.h"
#include "chat/Poll.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"

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

}  // namespace
}  // namespace lh::chat
