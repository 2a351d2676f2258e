// The map message bodies: each one back as it went, and hostile bodies
// refused with a reason instead of read past their end.
#include <gtest/gtest.h>

#include "net/MessageCatalogue.h"
#include "table/ImageMessages.h"
#include "table/LayerPixels.h"

using namespace lh::table;
using lh::net::NetMessage;
namespace tags = lh::net::tags;

TEST(ImageMessages, RoundTrips) {
    NetMessage m;
    std::string path, file, why;
    bool has = false;
    encodeAvailability(true, "image.00002.image", m);
    ASSERT_TRUE(decodeAvailability(m, has, path, why)) << why;
    EXPECT_TRUE(has);
    EXPECT_EQ(path, "image.00002.image");
    EXPECT_EQ(m.body[0], 1);

    std::vector<uint32_t> points = {packPoint(-3, 4), packPoint(32767, -32768), packPoint(0, 0)}, back;
    encodePolygon(tags::IMMSQ, "a.b", points, m);
    EXPECT_EQ(m.body.size(), 4u + 4 + 12);
    ASSERT_TRUE(decodePolygon(m, path, back, why)) << why;
    EXPECT_EQ(back, points);
    EXPECT_EQ(pointX(back[0]), -3);
    EXPECT_EQ(pointY(back[1]), -32768);

    SnapshotKind kind = SnapshotKind::Drawing;
    encodeSnapshotRequest("a.b", SnapshotKind::Mask, m);
    ASSERT_TRUE(decodeSnapshotRequest(m, path, kind, why)) << why;
    EXPECT_EQ(kind, SnapshotKind::Mask);
    encodeSnapshotReply("a.b", SnapshotKind::Drawing, "temp\\drawing_snapshot_Ann_17_1", m);
    ASSERT_TRUE(decodeSnapshotReply(m, path, kind, file, why)) << why;
    EXPECT_EQ(kind, SnapshotKind::Drawing);
    EXPECT_EQ(file, "temp\\drawing_snapshot_Ann_17_1");
    encodeSnapshotRead(file, m);
    ASSERT_TRUE(decodeSnapshotRead(m, file, why)) << why;

    std::vector<StrokePoint> stroke = {{packPoint(1, 2), 255}, {packPoint(3, 4), 7}}, strokeBack;
    encodeStroke(tags::DRSTR, "a.b", stroke, m);
    EXPECT_EQ(m.body.size(), 4u + 4 + 10);  // five bytes a point, no padding
    ASSERT_TRUE(decodeStroke(m, path, strokeBack, why)) << why;
    EXPECT_EQ(strokeBack, stroke);
    encodeErased("a.b", m);
    ASSERT_TRUE(decodeErased(m, path, why)) << why;
    EXPECT_EQ(path, "a.b");
}

TEST(ImageMessages, HostileBodiesAreRefused) {
    auto body = [](std::initializer_list<int> bytes, const std::string& prefix = "a.b") {
        NetMessage m;
        for (char c : prefix) m.body.push_back(uint8_t(c));
        m.body.push_back(0);
        for (int b : bytes) m.body.push_back(uint8_t(b));
        return m;
    };
    std::string path, file, why;
    std::vector<uint32_t> points;
    std::vector<StrokePoint> stroke;
    SnapshotKind kind;
    // A count far beyond the body, and one a point short.
    EXPECT_FALSE(decodePolygon(body({0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4}), path, points, why));
    EXPECT_FALSE(decodePolygon(body({2, 0, 0, 0, 1, 2, 3, 4}), path, points, why));
    EXPECT_FALSE(decodePolygon(body({1, 0, 0, 0, 1, 2, 3, 4, 5}), path, points, why));  // a byte too many
    EXPECT_FALSE(decodePolygon(body({1, 0}), path, points, why));
    EXPECT_FALSE(decodeStroke(body({1, 0, 0, 0, 1, 2, 3, 4}), path, stroke, why));  // no pressure byte
    EXPECT_FALSE(decodeStroke(body({0x33, 0x33, 0x33, 0x33}), path, stroke, why));
    EXPECT_TRUE(decodeStroke(body({0, 0, 0, 0}), path, stroke, why));  // empty is well formed
    // Paths that are no record paths, or no zero at all.
    EXPECT_FALSE(decodeErased(body({}, "a..b"), path, why));
    EXPECT_FALSE(decodeErased(body({}, ""), path, why));
    NetMessage open;
    open.body = {'a', 'b'};
    EXPECT_FALSE(decodeErased(open, path, why));
    EXPECT_FALSE(decodeErased(body({}, std::string(300, 'x')), path, why));
    // Kinds and flags out of their range.
    EXPECT_FALSE(decodeSnapshotRequest(body({2, 0, 0, 0}), path, kind, why));
    EXPECT_FALSE(decodeSnapshotRequest(body({1, 0, 0}), path, kind, why));
    EXPECT_FALSE(decodeSnapshotReply(body({1, 0, 0, 0, 0}), path, kind, file, why));  // no name
    NetMessage flag;
    flag.body = {7, 'a', 0};
    bool has;
    EXPECT_FALSE(decodeAvailability(flag, has, path, why));
    flag.body = {};
    EXPECT_FALSE(decodeAvailability(flag, has, path, why));
    EXPECT_FALSE(why.empty());
}
