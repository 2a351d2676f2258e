// Pointers between a host and a client board: a client's pointer reaches
// the host only in its own name; the echo never overwrites the receiver's
// own shape but gives it the colour; a pointer on a window that is not open
// is not shown; a closed window takes pointers away, and a departed
// user's goes from the host and, by the host's word, from every client;
// malformed bodies are refused with the reason, and the map stays bounded.
#include <gtest/gtest.h>

#include <vector>

#include "net/MessageCatalogue.h"
#include "table/PointerBoard.h"

using namespace lh::table;
using lh::net::NetMessage;
namespace tags = lh::net::tags;

namespace {

const WindowKey kMap{"imagewindow", "image.00001"};

struct Side {
    PointerBoard board;
    std::vector<NetMessage> sent;
    std::vector<WindowKey> openWindows{kMap};

    Side(const std::string& user, bool host) {
        board.setLocalUser(user);
        board.setHost(host);
        board.setSend([this](const NetMessage& m) { sent.push_back(m); });
        board.setIsOpen([this](const WindowKey& k) {
            for (const auto& w : openWindows)
                if (w == k) return true;
            return false;
        });
    }
    // Handles `m` as if from `from`; whether it was taken.
    bool take(const NetMessage& m, const std::string& from) {
        bool accepted = false;
        std::string why;
        EXPECT_TRUE(board.handle(m, from, accepted, why)) << why;
        return accepted;
    }
};

NetMessage asEcho(NetMessage m) {
    m.tag = tags::PNTRR;
    return m;
}

}  // namespace

TEST(PointerBoard, OwnNameOnlyEchoKeepsTheShapeAndPointersGoAway) {
    Side host("GM", true), client("Ann", false);
    client.board.SetLocal(&kMap, 2, 0x00100020u, 0x00300040u, false);
    EXPECT_TRUE(client.sent.empty());  // sent only when finished
    client.board.SetLocal(&kMap, 2, 0x00100020u, 0x00500060u, true);
    ASSERT_EQ(client.sent.size(), 1u);
    const NetMessage request = client.sent.back();
    EXPECT_EQ(request.tag, tags::PNTRQ);

    // From somebody else it is refused, and not kept.
    EXPECT_FALSE(host.take(request, "Bob"));
    EXPECT_EQ(host.board.find("Ann"), nullptr);
    EXPECT_TRUE(host.take(request, "Ann"));
    const PointerState* seen = host.board.find("Ann");
    ASSERT_TRUE(seen && seen->shown);
    EXPECT_EQ(seen->kind, 2);
    EXPECT_EQ(seen->endX, 0x60);
    EXPECT_EQ(seen->endY, 0x50);
    // A request is for the host; an answer sent to it changes nothing.
    EXPECT_FALSE(host.take(asEcho(request), "Ann"));

    // The echo, with a new colour: the shape stays the client's own.
    client.board.SetLocal(&kMap, 4, 0x00010001u, 0x00020002u, false);
    PointerBody echoed;
    std::string why;
    ASSERT_TRUE(decodePointer(request, echoed, why));
    echoed.color = 0x0000FF00u;
    NetMessage echo;
    encodePointer(tags::PNTRR, echoed, echo);
    EXPECT_TRUE(client.take(echo, ""));
    const PointerState* own = client.board.find("Ann");
    EXPECT_EQ(own->kind, 4);
    EXPECT_EQ(own->endX, 2);
    EXPECT_EQ(own->color, 0x0000FF00u);

    // The host's own pointer on a map the client has not open: kept, not shown.
    host.board.SetLocal(&kMap, 3, 0, 0x00080008u, true);
    ASSERT_EQ(host.sent.back().tag, tags::PNTRR);
    client.openWindows.clear();
    EXPECT_TRUE(client.take(host.sent.back(), ""));
    EXPECT_FALSE(client.board.find("GM")->shown);
    client.openWindows = {kMap};
    EXPECT_TRUE(client.take(host.sent.back(), ""));
    EXPECT_TRUE(client.board.find("GM")->shown);

    // Its window closed: every pointer on it goes.
    client.board.WindowClosed(kMap);
    EXPECT_FALSE(client.board.find("GM")->shown);
    EXPECT_FALSE(client.board.find("Ann")->shown);

    // The user left: his entry goes on the host, which sends his pointer
    // away from the other clients, whether or not he played a character.
    Side other("Bob", false);
    EXPECT_TRUE(other.take(asEcho(request), ""));
    EXPECT_TRUE(other.board.find("Ann")->shown);
    const size_t sentBefore = host.sent.size();
    host.board.UserLeft("Ann");
    EXPECT_EQ(host.board.find("Ann"), nullptr);
    ASSERT_EQ(host.sent.size(), sentBefore + 1);
    EXPECT_EQ(host.sent.back().tag, tags::PNTRR);
    PointerBody left;
    ASSERT_TRUE(decodePointer(host.sent.back(), left, why));
    EXPECT_EQ(left.user, "Ann");
    EXPECT_EQ(left.kind, 0);
    EXPECT_TRUE(left.window.className.empty() && left.window.recordName.empty());
    EXPECT_TRUE(other.take(host.sent.back(), ""));
    EXPECT_FALSE(other.board.find("Ann")->shown);
    // Nothing goes out for a user the host had no pointer of, nor from a client.
    host.board.UserLeft("Zed");
    EXPECT_EQ(host.sent.size(), sentBefore + 1);
    other.board.UserLeft("Ann");
    EXPECT_EQ(other.board.find("Ann"), nullptr);
    EXPECT_TRUE(other.sent.empty());

    // Taken away by its user: an empty window and kind 0 go out.
    host.board.SetLocal(nullptr, 1, 0, 0, true);
    PointerBody gone;
    ASSERT_TRUE(decodePointer(host.sent.back(), gone, why));
    EXPECT_EQ(gone.kind, 0);
    EXPECT_TRUE(gone.window.className.empty() && gone.window.recordName.empty());
    EXPECT_TRUE(client.take(host.sent.back(), ""));
    EXPECT_FALSE(client.board.find("GM")->shown);
}

TEST(PointerBoard, MalformedBodiesAreRefusedAndTheMapIsBounded) {
    Side host("GM", true);
    NetMessage m;
    encodePointer(tags::PNTRQ, PointerBody{"Ann", kMap, 2, 1, 2, 255}, m);
    m.body.pop_back();
    bool accepted = true;
    std::string why;
    EXPECT_FALSE(host.board.handle(m, "Ann", accepted, why));
    EXPECT_FALSE(accepted);
    EXPECT_FALSE(why.empty());

    // However many names come, at most kMaxUsers are kept.
    for (size_t i = 0; i < PointerBoard::kMaxUsers + 20; ++i) {
        const std::string user = "u" + std::to_string(i);
        encodePointer(tags::PNTRQ, PointerBody{user, kMap, 2, 1, 2, 255}, m);
        host.take(m, user);
    }
    EXPECT_EQ(host.board.all().size(), PointerBoard::kMaxUsers);
}
