// A host board and two client boards joined by in-memory mail: a drop shows
// only after the host's answer, anchored and in place; moves, proposals,
// turns, locks and deletes agree everywhere; the store keeps tokens of
// closed windows and hands them to a late joiner; hostile requests change
// nothing.
#include <gtest/gtest.h>

#include <deque>

#include "net/MessageCatalogue.h"
#include "table/TokenBoard.h"

using namespace lh::table;
using lh::net::NetMessage;
namespace tags = lh::net::tags;

namespace {

// A window at (100, 50), 400x300, with one map control at (10, 20) of
// 300x200 whose picture is scrolled by (-40, 0).
class FakePlace : public TokenPlace {
public:
    bool share = true;
    int32_t scroll = -40;
    int changes = 0;
    std::vector<lh::render::Rect> areas;  // what gliding asked to redraw
    bool sharable() const override { return share; }
    lh::render::Rect windowRect() const override { return {100, 50, 500, 350}; }
    int32_t controlCount() const override { return 1; }
    lh::render::Rect controlRect(int32_t) const override { return {10, 20, 310, 220}; }
    void origin(int32_t index, int32_t& x, int32_t& y) const override {
        x = index == 1 ? 110 + scroll : 100;
        y = index == 1 ? 70 : 50;
    }
    void changed() override { ++changes; }
    void changedArea(const lh::render::Rect& r) override { areas.push_back(r); }
};

TokenDef& picture(TokenLibrary& lib, const std::string& name, uint32_t w, uint32_t h) {
    std::vector<uint32_t> px(size_t(w) * h, 0xFF336699u);
    auto b = std::make_unique<lh::render::Bitmap>();
    b->LoadFromPixels(w, h, px.data());
    return lib.insert(name, std::move(b), false, true);
}

struct Net {
    TokenLibrary hostLib, clientLib, lateLib;
    TokenBoard host{hostLib}, client{clientLib}, late{lateLib};
    std::deque<std::pair<std::string, NetMessage>> mail;  // destination, message
    std::vector<std::string> refused;

    Net() {
        hostLib.setHost(true);
        clientLib.setHost(false);
        lateLib.setHost(false);
        host.setRole(BoardRole::Host);
        client.setRole(BoardRole::Client);
        late.setRole(BoardRole::Client);
        host.setOutbox({nullptr, [this](const NetMessage& m) {
                            mail.emplace_back("client", m);
                            if (lateJoined) mail.emplace_back("late", m);
                        },
                        [this](const NetMessage& m, const std::string& u) { mail.emplace_back(u, m); }});
        client.setOutbox({[this](const NetMessage& m) { mail.emplace_back("host", m); }, nullptr, nullptr});
        late.setOutbox({[this](const NetMessage& m) { mail.emplace_back("host", m); }, nullptr, nullptr});
    }
    void deliver() {
        for (int i = 0; i < 1000 && !mail.empty(); ++i) {
            auto [to, m] = mail.front();
            mail.pop_front();
            std::string why;
            TokenBoard& b = to == "host" ? host : to == "late" ? late : client;
            if (!b.handle(m, to == "host" ? "player" : "", why)) refused.push_back(why);
        }
    }
    bool lateJoined = false;
};

const WindowKey kMap{"imagewindow", "image.00001"};

}  // namespace

TEST(TokenBoard, DropMoveTurnLockDeleteAgree) {
    Net n;
    picture(n.hostLib, "data/tokens/hero.png", 32, 32);
    picture(n.clientLib, "data/tokens/hero.png", 32, 32);
    FakePlace hp, cp;
    n.host.Open(kMap, hp);
    n.client.Open(kMap, cp);

    // The client drops at window point (60, 80): inside the map control.
    n.client.AddToken(kMap, *n.clientLib.find("data/tokens/hero.png"), 60, 80, -1);
    EXPECT_TRUE(n.client.tokensOf(kMap)->empty());  // nothing until the answer
    n.deliver();
    ASSERT_EQ(n.host.tokensOf(kMap)->size(), 1u);
    ASSERT_EQ(n.client.tokensOf(kMap)->size(), 1u);
    Token& ht = *n.host.tokensOf(kMap)->front();
    Token& ct = *n.client.tokensOf(kMap)->front();
    EXPECT_EQ(ht.id, 1u);
    EXPECT_EQ(ct.id, 1u);
    EXPECT_EQ(ct.anchorIndex, 1);
    // Desktop point (160, 130) less the map's origin (70, 70).
    EXPECT_EQ(ct.rect, (lh::render::Rect{90, 60, 122, 92}));
    EXPECT_EQ(ht.rect, ct.rect);

    // Moved by the client to a window point outside the control: anchored to
    // the window, gliding from where it stood.
    n.client.MoveToken(kMap, 350, 250, 1, false, -1);
    EXPECT_EQ(ct.rect.left, 90);
    n.deliver();
    EXPECT_EQ(ct.anchorIndex, 0);
    EXPECT_EQ(ct.rect.left, 350);
    EXPECT_EQ(ct.shownX, 90 + 70 - 100);  // the old place in the window's frame
    // Each glide step redraws only where the token was and now is, with its
    // shadow; once there, nothing.
    const int32_t fromX = ct.shownX, fromY = ct.shownY;
    n.client.Glide();
    ASSERT_EQ(cp.areas.size(), 1u);
    EXPECT_EQ(cp.areas[0], (lh::render::Rect{100 + fromX, 50 + fromY, 100 + ct.shownX + 33, 50 + ct.shownY + 34}));
    for (int i = 0; i < 100; ++i) n.client.Glide();
    EXPECT_EQ(ct.shownX, 350);
    EXPECT_EQ(ct.shownY, 250);
    const size_t steps = cp.areas.size();
    n.client.Glide();
    EXPECT_EQ(cp.areas.size(), steps);
    EXPECT_LT(steps, 20u);

    // Turned left from 0: 7 everywhere; right from 7: 0.
    n.client.RotateToken(kMap, 1, ct.rotation - 1);
    n.deliver();
    EXPECT_EQ(ct.rotation, 7);
    EXPECT_EQ(ht.rotation, 7);
    ASSERT_TRUE(ct.rotated);
    EXPECT_EQ(ct.rotated->GetWidth(), 49u);
    n.client.RotateToken(kMap, 1, ct.rotation + 1);
    n.deliver();
    EXPECT_EQ(ct.rotation, 0);
    EXPECT_FALSE(ct.rotated);

    // Locked: the client's plain move is refused, a proposal stands, and
    // accepting it moves the token on both.
    n.host.LockTokens(kMap, true);
    n.deliver();
    EXPECT_TRUE(ct.locked);
    NetMessage sneaky;
    encodeTokenMove(tags::TOKPQ, TokenMove{kMap, 0, 5, 5, false, 1}, sneaky);
    n.mail.emplace_back("host", sneaky);
    n.deliver();
    EXPECT_EQ(ht.rect.left, 350);
    n.client.MoveToken(kMap, -100, 10, 1, true, -1);
    n.deliver();
    EXPECT_EQ(ht.pendingX, -100);
    EXPECT_EQ(ct.pendingY, 10);
    n.host.MoveToken(kMap, 250, 260, 1, false, -1);
    n.deliver();
    EXPECT_EQ(ct.rect.left, 250);
    EXPECT_FALSE(ct.hasProposal());
    EXPECT_FALSE(ht.hasProposal());

    n.client.DeleteToken(kMap, 1);
    n.deliver();
    EXPECT_TRUE(n.host.tokensOf(kMap)->empty());
    EXPECT_TRUE(n.client.tokensOf(kMap)->empty());
    EXPECT_TRUE(n.refused.empty());
}

TEST(TokenBoard, StoreKeepsRestoresAndFeedsALateJoiner) {
    Net n;
    picture(n.hostLib, "data/tokens/hero.png", 32, 32);
    picture(n.clientLib, "data/tokens/hero.png", 32, 32);
    picture(n.lateLib, "data/tokens/hero.png", 32, 32);
    picture(n.hostLib, "tokens/shared/orc.png", 16, 16).builtIn = false;
    FakePlace hp, cp, lp;
    n.host.Open(kMap, hp);
    n.client.Open(kMap, cp);
    n.host.AddToken(kMap, *n.hostLib.find("data/tokens/hero.png"), 60, 80, -1);
    n.host.AddToken(kMap, *n.hostLib.find("data/tokens/hero.png"), 5, 5, -1);
    n.deliver();
    n.host.RotateToken(kMap, 2, 3);
    n.host.LockTokens(kMap, true);
    n.deliver();
    // The client closes: kept under "class:record", anchor as an index.
    n.client.Close(kMap);
    EXPECT_EQ(n.client.store().at("imagewindow:image.00001").size(), 2u);
    // A move while closed lands in the store.
    n.host.MoveToken(kMap, 7, 8, 1, false, 0);
    n.deliver();
    n.client.Open(kMap, cp);
    ASSERT_EQ(n.client.tokensOf(kMap)->size(), 2u);
    Token* moved = n.client.find(kMap, 1);
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->rect.left, 7);
    EXPECT_EQ(moved->shownX, 7);
    EXPECT_EQ(moved->anchorIndex, 0);
    EXPECT_EQ(n.client.find(kMap, 2)->rotation, 3);
    EXPECT_TRUE(n.client.find(kMap, 2)->rotated);
    EXPECT_TRUE(n.client.store().empty());

    // The host closes its window: the store answers requests meanwhile.
    n.host.Close(kMap);
    NetMessage del;
    encodeTokenDelete(tags::TOKDQ, TokenRef{kMap, 2}, del);
    n.mail.emplace_back("host", del);
    n.deliver();
    EXPECT_EQ(n.client.tokensOf(kMap)->size(), 1u);
    // A turn there reaches everyone; a plain move of a locked token does not.
    n.client.RotateToken(kMap, 1, 5);
    n.deliver();
    EXPECT_EQ(n.host.findStored(kMap, 1)->rotation, 5);
    EXPECT_EQ(n.client.find(kMap, 1)->rotation, 5);
    n.client.MoveToken(kMap, 200, 100, 1, false, 0);
    n.deliver();
    EXPECT_EQ(n.host.findStored(kMap, 1)->rect.left, 7);
    EXPECT_EQ(n.client.find(kMap, 1)->rect.left, 7);

    // A late joiner gets the library's shared picture and the token, locked.
    n.lateJoined = true;
    n.host.SendAll("late");
    n.deliver();
    EXPECT_TRUE(n.lateLib.find("tokens/shared/orc.png"));  // listed, fetched later
    ASSERT_EQ(n.late.store().count("imagewindow:image.00001"), 1u);
    n.late.Open(kMap, lp);
    ASSERT_EQ(n.late.tokensOf(kMap)->size(), 1u);
    EXPECT_TRUE(n.late.tokensOf(kMap)->front()->locked);
    EXPECT_EQ(n.late.tokensOf(kMap)->front()->rect.left, 7);
}

TEST(TokenBoard, HostileRequestsChangeNothing) {
    Net n;
    picture(n.hostLib, "data/tokens/hero.png", 32, 32);
    FakePlace hp;
    n.host.Open(kMap, hp);
    auto send = [&](const NetMessage& m) {
        n.mail.emplace_back("host", m);
        n.deliver();
    };
    NetMessage m;
    // Unknown and unsafe names make nothing; a far anchor stands on the window.
    encodeTokenAdd(tags::TOKAQ, TokenAdd{"data/tokens/none.png", kMap, 0, 0, 0, 0, false}, m);
    send(m);
    encodeTokenAdd(tags::TOKAQ, TokenAdd{"../../etc/passwd", kMap, 0, 0, 0, 0, false}, m);
    send(m);
    encodeTokenAdd(tags::TOKAQ, TokenAdd{"/etc/passwd", kMap, 0, 0, 0, 0, false}, m);
    send(m);
    EXPECT_TRUE(n.host.tokensOf(kMap)->empty());
    encodeTokenAdd(tags::TOKAQ, TokenAdd{"data/tokens/hero.png", kMap, 99, 1, 2, 0, false}, m);
    send(m);
    ASSERT_EQ(n.host.tokensOf(kMap)->size(), 1u);
    Token& t = *n.host.tokensOf(kMap)->front();
    EXPECT_EQ(t.anchorIndex, 0);
    encodeTokenAdd(tags::TOKAQ, TokenAdd{"data/tokens/hero.png", kMap, -7, 1, 2, 0, false}, m);
    send(m);
    EXPECT_EQ(n.host.tokensOf(kMap)->back()->anchorIndex, 0);

    // Every rotation byte wraps into 0..7.
    for (int b = -128; b <= 127; ++b) {
        encodeTokenTurn(tags::TOKOQ, TokenTurn{kMap, t.id, int8_t(b)}, m);
        send(m);
        ASSERT_TRUE(t.rotation >= 0 && t.rotation < 8);
    }
    // Unknown ids and windows: nothing, no answer.
    n.mail.clear();
    encodeTokenDelete(tags::TOKDQ, TokenRef{kMap, 4242}, m);
    std::string why;
    EXPECT_TRUE(n.host.handle(m, "player", why));
    encodeTokenMove(tags::TOKPQ, TokenMove{{"nowindow", "x"}, 0, 1, 1, false, 1}, m);
    EXPECT_TRUE(n.host.handle(m, "player", why));
    EXPECT_TRUE(n.mail.empty());
    // Host-only answers sent to the host, and a lock from a client, are not obeyed.
    encodeTokenLock(TokenLock{kMap, t.id, true}, m);
    EXPECT_TRUE(n.host.handle(m, "player", why));
    EXPECT_FALSE(t.locked);
    encodeTokenDelete(tags::TOKDR, TokenRef{kMap, t.id}, m);
    EXPECT_TRUE(n.host.handle(m, "player", why));
    EXPECT_EQ(n.host.tokensOf(kMap)->size(), 2u);
    // A cut body is refused with its reason.
    m.body.pop_back();
    EXPECT_FALSE(n.host.handle(m, "player", why));
    EXPECT_FALSE(why.empty());
}

TEST(TokenBoard, NonSharableWindowsStayHome) {
    Net n;
    picture(n.clientLib, "data/tokens/hero.png", 32, 32);
    FakePlace cp;
    cp.share = false;
    n.client.Open(kMap, cp);
    n.client.AddToken(kMap, *n.clientLib.find("data/tokens/hero.png"), 1, 1, -1);
    n.client.RotateToken(kMap, 1, 9);
    EXPECT_TRUE(n.mail.empty());
    ASSERT_EQ(n.client.tokensOf(kMap)->size(), 1u);
    EXPECT_EQ(n.client.tokensOf(kMap)->front()->rotation, 1);
    n.client.DeleteToken(kMap, 1);
    EXPECT_TRUE(n.client.tokensOf(kMap)->empty());
    EXPECT_TRUE(n.mail.empty());
}
