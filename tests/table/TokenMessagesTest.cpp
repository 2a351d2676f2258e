// Token and pointer bodies: each back as it went, laid out byte for byte,
// and every cut or padded body refused with a reason.
#include <gtest/gtest.h>

#include "net/MessageCatalogue.h"
#include "table/TokenMessages.h"

using namespace lh::table;
using lh::net::NetMessage;
namespace tags = lh::net::tags;

namespace {

// Every shorter body, and the body with a byte more, must be refused.
template <typename Body, typename Decode>
void expectOnlyWhole(const NetMessage& m, Decode decode) {
    std::string why;
    for (size_t cut = 0; cut < m.body.size(); ++cut) {
        NetMessage shorter(m.tag, std::vector<uint8_t>(m.body.begin(), m.body.begin() + long(cut)));
        Body b;
        EXPECT_FALSE(decode(shorter, b, why)) << m.tag.text() << " cut at " << cut;
    }
    NetMessage longer = m;
    longer.body.push_back(0);
    Body b;
    EXPECT_FALSE(decode(longer, b, why)) << m.tag.text() << " padded";
}

}  // namespace

TEST(TokenMessages, RoundTripsAndLayout) {
    NetMessage m;
    std::string why;

    std::string name;
    encodeLibraryEntry("tokens/shared/orc.png", m);
    ASSERT_TRUE(decodeLibraryEntry(m, name, why)) << why;
    EXPECT_EQ(name, "tokens/shared/orc.png");

    TokenAdd add{"data/tokens/hero.png", {"imagewindow", "image.00001"}, 2, -40, 17, 9, true}, addBack;
    encodeTokenAdd(tags::TOKAR, add, m);
    // name, class, record, then 3 numbers, the id and one byte.
    EXPECT_EQ(m.body.size(), add.name.size() + 1 + 12 + 12 + 12 + 4 + 1);
    ASSERT_TRUE(decodeTokenAdd(m, addBack, why)) << why;
    EXPECT_EQ(addBack, add);
    expectOnlyWhole<TokenAdd>(m, decodeTokenAdd);
    encodeTokenAdd(tags::TOKAQ, add, m);
    EXPECT_EQ(m.body.size(), add.name.size() + 1 + 12 + 12 + 12);
    ASSERT_TRUE(decodeTokenAdd(m, addBack, why)) << why;
    EXPECT_EQ(addBack.id, 0u);
    EXPECT_FALSE(addBack.hostOnly);
    EXPECT_EQ(addBack.x, -40);
    expectOnlyWhole<TokenAdd>(m, decodeTokenAdd);

    TokenRef del{{"imagewindow", ""}, 77}, delBack;
    encodeTokenDelete(tags::TOKDQ, del, m);
    ASSERT_TRUE(decodeTokenDelete(m, delBack, why)) << why;
    EXPECT_EQ(delBack, del);
    expectOnlyWhole<TokenRef>(m, decodeTokenDelete);

    TokenMove move{{"c", "r"}, 1, 5, -6, true, 3}, moveBack;
    encodeTokenMove(tags::TOKPR, move, m);
    EXPECT_EQ(m.body[2 + 2 + 12], 1);  // the proposal byte behind the numbers
    ASSERT_TRUE(decodeTokenMove(m, moveBack, why)) << why;
    EXPECT_EQ(moveBack, move);
    expectOnlyWhole<TokenMove>(m, decodeTokenMove);
    m.body[2 + 2 + 12] = 2;
    EXPECT_FALSE(decodeTokenMove(m, moveBack, why));

    for (int8_t rotation : {int8_t(-128), int8_t(-1), int8_t(0), int8_t(8), int8_t(127)}) {
        TokenTurn turn{{"c", "r"}, 4, rotation}, turnBack;
        encodeTokenTurn(tags::TOKOQ, turn, m);
        ASSERT_TRUE(decodeTokenTurn(m, turnBack, why)) << why;
        EXPECT_EQ(turnBack, turn);
    }
    expectOnlyWhole<TokenTurn>(m, decodeTokenTurn);

    TokenLock lock{{"c", "r"}, 4, true}, lockBack;
    encodeTokenLock(lock, m);
    ASSERT_TRUE(decodeTokenLock(m, lockBack, why)) << why;
    EXPECT_EQ(lockBack, lock);
    expectOnlyWhole<TokenLock>(m, decodeTokenLock);

    PointerBody p{"Ann", {"imagewindow", "image.00001"}, 3, 0xFFF6000Au, 0x00200010u, 0x00FF00FFu}, pBack;
    encodePointer(tags::PNTRQ, p, m);
    ASSERT_TRUE(decodePointer(m, pBack, why)) << why;
    EXPECT_EQ(pBack, p);
    expectOnlyWhole<PointerBody>(m, decodePointer);
    // A removed pointer: two empty texts and kind 0.
    encodePointer(tags::PNTRR, PointerBody{"Ann", {}, 0, 0, 0, 255}, m);
    EXPECT_EQ(m.body.size(), 4u + 1 + 1 + 16);
}

TEST(TokenMessages, UnterminatedAndOverlongTextsAreRefused) {
    std::string why;
    NetMessage m(tags::TLIBR, std::vector<uint8_t>(300, 'a'));
    std::string name;
    EXPECT_FALSE(decodeLibraryEntry(m, name, why));
    m.body.push_back(0);  // zero-terminated but longer than a name may be
    EXPECT_FALSE(decodeLibraryEntry(m, name, why));
}

TEST(TokenMessages, SafeNames) {
    EXPECT_TRUE(isSafeTokenName("tokens/shared/orc.png"));
    EXPECT_TRUE(isSafeTokenName("tokens\\host\\a b.png"));
    EXPECT_TRUE(isSafeTokenName("data/tokens/..hidden.png"));
    for (const char* bad : {"", "/etc/passwd", "\\x.png", "C:\\x.png", "tokens/../../x.png", "..", "tokens//x.png",
                            "tokens/./x.png", "tokens\\..\\x", "tokens/x\n.png"})
        EXPECT_FALSE(isSafeTokenName(bad)) << bad;
}
