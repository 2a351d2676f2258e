// The chat's message bodies: round trips of every field and attachment, and
// bodies cut short or garbled, which are refused without reading past their
// end; through a host session such a body is dropped with a notice.
#include <gtest/gtest.h>

#include "chat/ChatWire.h"
#include "net/MessageCatalogue.h"
#include "ui/ChatPort.h"
#include "ui/DieType.h"
#include "ui/RulesetData.h"

namespace lh::chat {
namespace {

void addDieTypes() {
    for (const char* name : {"d6", "d8"}) {
        auto type = std::make_unique<ui::DieType>();
        type->name = name;
        ui::ruleset().dieTypes[name] = std::move(type);
    }
}

TEST(ChatWire, LinesTravelWithEveryFieldAndAttachment) {
    std::string eightBit;
    for (int c = 0x20; c <= 0xFF; ++c) eightBit += char(c);
    ChatMessage plain{"Keeper (tired)", "dmfont", eightBit, "indicator_stop", 0, "", 0};
    ChatMessage die{"Bob", "systemfont", "Attack", "", 1, "d6=4,d6=1,d8=7:2", 0};
    ChatMessage poll{"", "narratorfont", "Shall we rest?", "", 2, "", 0xDEADBEEF};
    ChatMessage empty{};
    for (const ChatMessage& m : {plain, die, poll, empty}) {
        std::string error;
        std::optional<ChatMessage> back = decodeChat(encodeChat(net::tags::CHATQ, m), error);
        ASSERT_TRUE(back) << error;
        EXPECT_EQ(*back, m);
    }
    // The exact bytes of a die line: four texts, the kind, the die text and a zero.
    net::NetMessage bytes = encodeChat(net::tags::CHATR, die);
    std::string body(bytes.body.begin(), bytes.body.end());
    EXPECT_EQ(body, std::string("Bob\0systemfont\0Attack\0\0\x01" "d6=4,d6=1,d8=7:2\0\0", 42));

    TypingNotice typing{"Bob", 1};
    std::string error;
    std::optional<TypingNotice> t = decodeTyping(encodeTyping(net::tags::CHINQ, typing), error);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->identity, "Bob");
    EXPECT_EQ(t->state, 1);
    EXPECT_EQ(decodeHostTyping(encodeHostTyping(true), error), std::optional<bool>(true));
    EXPECT_EQ(decodeBell(encodeBell(1), error), std::optional<uint8_t>(1));
}

TEST(ChatWire, DieTextsReadAsTheSenderRolled) {
    ui::clearRuleset();
    addDieTypes();
    struct Case {
        const char* text;
        size_t dice;
        int32_t modifier;
        bool hidden;
        int32_t total;
    };
    const Case cases[] = {
        {"d6=4,d6=1,d8=7:2", 3, 2, false, 14},
        {":-3", 0, -3, false, -3},
        {"?d6=6:0", 1, 0, true, 6},
        {"d6=4,junk,d20=9,d8=2:1", 2, 1, false, 7},  // no "=" skipped, unknown die adds nothing
        {"d6=99999999999999:0", 1, 0, false, 2147483647},  // clamped, never overflowing
        {"", 0, 0, false, 0},
    };
    for (const Case& c : cases) {
        ui::DieResult r;
        r.readDieText(c.text);
        EXPECT_EQ(r.dice.size(), c.dice) << c.text;
        EXPECT_EQ(r.modifier, c.modifier) << c.text;
        EXPECT_EQ(r.hidden, c.hidden) << c.text;
        EXPECT_EQ(r.total(), c.total) << c.text;
    }
    ui::DieResult r;
    r.readDieText("d6=4,d6=1,d8=7:2");
    EXPECT_EQ(r.dieText(), "d6=4,d6=1,d8=7:2");
    r.displayMode = ui::DieResult::kHalve;
    EXPECT_EQ(r.shownValue(), 7);
    r.readDieText(":-7");
    r.displayMode = ui::DieResult::kHalve;
    EXPECT_EQ(r.shownValue(), -3);
    ui::clearRuleset();
}

TEST(ChatWire, ShortAndGarbledBodiesAreRefused) {
    ChatMessage die{"Bob", "systemfont", "Attack", "", 1, "d6=4:2", 0};
    ChatMessage poll{"Bob", "chatfont", "Rest?", "", 2, "", 7};
    for (const ChatMessage& m : {die, poll}) {
        net::NetMessage whole = encodeChat(net::tags::CHATQ, m);
        for (size_t cut = 0; cut < whole.body.size(); ++cut) {
            // A copy of exactly `cut` bytes, so the sanitizer sees any over-read.
            net::NetMessage part(net::tags::CHATQ, std::vector<uint8_t>(whole.body.begin(), whole.body.begin() + long(cut)));
            std::string error;
            EXPECT_FALSE(decodeChat(part, error)) << cut;
            EXPECT_FALSE(error.empty());
        }
    }
    std::string error;
    net::NetMessage badKind(net::tags::CHATQ, {'a', 0, 'b', 0, 'c', 0, 0, 7});
    EXPECT_FALSE(decodeChat(badKind, error));
    EXPECT_NE(error.find("kind 7"), std::string::npos);
    net::NetMessage noZero(net::tags::CHATQ, std::vector<uint8_t>(300, 'x'));
    EXPECT_FALSE(decodeChat(noZero, error));
    EXPECT_FALSE(decodeTyping(net::NetMessage(net::tags::CHINQ, {'B', 'o', 'b', 0}), error));
    EXPECT_FALSE(decodeBell(net::NetMessage(net::tags::BELLR), error));
    // A vote: whole it comes back as it went; cut anywhere it is refused.
    net::NetMessage vote = encodePollVote(net::tags::POLLQ, {7, 1, "H\xE9ro"});
    std::optional<PollVote> back = decodePollVote(vote, error);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->pollId, 7u);
    EXPECT_EQ(back->value, 1u);
    EXPECT_EQ(back->identity, "H\xE9ro");
    for (size_t cut = 0; cut < vote.body.size(); ++cut) {
        net::NetMessage part(net::tags::POLLQ, std::vector<uint8_t>(vote.body.begin(), vote.body.begin() + long(cut)));
        EXPECT_FALSE(decodePollVote(part, error)) << cut;
    }
    // A host typing message whose text is not empty is ignored, not refused.
    error.clear();
    EXPECT_FALSE(decodeHostTyping(net::NetMessage(net::tags::CHITR, {1, 'x', 0}), error));
    EXPECT_TRUE(error.empty());
}

}  // namespace
}  // namespace lh::chat
