// The envelope on the wire, framing of split and glued bytes, body reading
// and writing, and the tag catalogue.
#include <gtest/gtest.h>

#include <set>

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/NetMessage.h"

using namespace lh::net;

namespace {
std::vector<uint8_t> bytesOf(std::string_view s) { return {s.begin(), s.end()}; }
}  // namespace

TEST(Envelope, BytesOnTheWireAreLengthTagBody) {
    NetMessage chat(tags::CHATQ);
    MessageWriter(chat).text("hi").u32(0x01020304);
    std::vector<uint8_t> expected = {7, 0, 0, 0, 'C', 'H', 'A', 'T', 'Q', 'h', 'i', 0, 4, 3, 2, 1};
    EXPECT_EQ(encodeMessage(chat), expected);
    EXPECT_EQ(encodeMessage(NetMessage(tags::CNDER)).size(), 9u);
}

TEST(Envelope, SplitAtEveryByteAndGluedArriveWholeInOrder) {
    std::vector<NetMessage> sent = {NetMessage(tags::CHATQ, bytesOf("hello")), NetMessage(tags::CNDER),
                                    NetMessage(tags::DATAR, std::vector<uint8_t>(300, 0xAB))};
    ByteQueue wire;
    for (const auto& m : sent) encodeMessage(m, wire);
    std::vector<uint8_t> stream(wire.data(), wire.data() + wire.size());
    for (size_t split = 0; split <= stream.size(); ++split) {
        ByteQueue in;
        std::vector<NetMessage> got;
        NetMessage m;
        in.append(stream.data(), split);
        while (takeMessage(in, m) == FrameStatus::Complete) got.push_back(m);
        in.append(stream.data() + split, stream.size() - split);
        while (takeMessage(in, m) == FrameStatus::Complete) got.push_back(m);
        ASSERT_EQ(got.size(), sent.size()) << "split at " << split;
        for (size_t i = 0; i < sent.size(); ++i) {
            EXPECT_EQ(got[i].tag, sent[i].tag);
            EXPECT_EQ(got[i].body, sent[i].body);
        }
        EXPECT_EQ(in.size(), 0u);
    }
}

TEST(Envelope, FileFetchLengthAndGarbageLength) {
    ByteQueue in;
    std::string request = "\xFF\xFF\xFF\xFF" "FILEXGET /a HTTP/1.0\r\n";
    in.append(request.data(), request.size());
    NetMessage m;
    ASSERT_EQ(takeMessage(in, m), FrameStatus::Complete);
    EXPECT_EQ(m.tag, tags::FILEX);
    EXPECT_TRUE(m.body.empty());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(in.data()), in.size()), "GET /a HTTP/1.0\r\n");

    ByteQueue bad;
    uint8_t header[9] = {0x01, 0x00, 0x00, 0x04, 'C', 'H', 'A', 'T', 'Q'};  // 64 MiB + 1
    bad.append(header, sizeof header);
    uint32_t length = 0;
    EXPECT_EQ(takeMessage(bad, m, &length), FrameStatus::BadLength);
    EXPECT_EQ(length, (64u << 20) + 1);
    EXPECT_EQ(bad.size(), 9u);
}

TEST(MessageReader, RoundTripsEveryField) {
    NetMessage m(tags::TOKPQ);
    MessageWriter(m).u8(200).u16(0xBEEF).u32(0xDEADBEEF).i32(-5).u64(0x1122334455667788ull).f32(1.5f).text(
        "token\xe9").text("");
    MessageReader r(m);
    EXPECT_EQ(r.u8(), 200);
    EXPECT_EQ(r.u16(), 0xBEEF);
    EXPECT_EQ(r.u32(), 0xDEADBEEFu);
    EXPECT_EQ(r.i32(), -5);
    EXPECT_EQ(r.u64(), 0x1122334455667788ull);
    EXPECT_EQ(r.f32(), 1.5f);
    EXPECT_EQ(r.text(255), "token\xe9");
    EXPECT_EQ(r.text(255), "");
    EXPECT_TRUE(r.ok());
    EXPECT_EQ(r.remaining(), 0u);
}

TEST(MessageReader, ShortBodiesAndBadTextsFailWithoutReadingPastTheEnd) {
    std::vector<uint8_t> three = {1, 2, 3};
    MessageReader shortNumber(three);
    EXPECT_EQ(shortNumber.u32(), 0u);
    EXPECT_FALSE(shortNumber.ok());
    EXPECT_NE(shortNumber.error().find("found 3"), std::string::npos);
    EXPECT_EQ(shortNumber.u8(), 0);  // stays failed
    EXPECT_TRUE(shortNumber.rest().empty());

    std::vector<uint8_t> unterminated = bytesOf("abc");
    MessageReader noZero(unterminated);
    EXPECT_EQ(noZero.text(255), "");
    EXPECT_FALSE(noZero.ok());

    std::vector<uint8_t> longText = bytesOf("abcdef");
    longText.push_back(0);
    MessageReader tooLong(longText);
    tooLong.text(5);
    EXPECT_FALSE(tooLong.ok());
    MessageReader fits(longText);
    EXPECT_EQ(fits.text(6), "abcdef");

    MessageReader empty(std::span<const uint8_t>{});
    EXPECT_TRUE(empty.bytesOf(1).empty());
    EXPECT_FALSE(empty.skip(0) && empty.skip(1));
}

TEST(Catalogue, FiftyEightTagsOfFiveCapitalsWithTheirRoads) {
    auto all = messageCatalogue();
    ASSERT_EQ(all.size(), 58u);
    std::set<std::string_view> seen;
    for (const TagInfo& t : all) {
        for (char c : t.tag.letters) EXPECT_TRUE(c >= 'A' && c <= 'Z') << t.tag.text();
        EXPECT_TRUE(seen.insert(t.tag.text()).second);
        EXPECT_EQ(findTag(t.tag), &t);
        char last = t.tag.letters[4];
        std::set<std::string_view> exceptions = {"DATAR", "MESGQ", "IMGAR", "FILEX", "WINDQ", "WINSQ"};
        if (!exceptions.count(t.tag.text())) {
            EXPECT_EQ(t.route, last == 'Q' ? TagRoute::ToHost : TagRoute::ToClients) << t.tag.text();
        }
    }
    EXPECT_EQ(findTag(MessageTag("ZZZZZ")), nullptr);
    EXPECT_EQ(findTag(tags::WINDQ)->route, TagRoute::ToClients);
    EXPECT_EQ(findTag(tags::IMGAR)->route, TagRoute::ToHost);
    EXPECT_EQ(findTag(tags::MESGQ)->route, TagRoute::EitherWay);
}
