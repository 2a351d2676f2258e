// The wire record of a throw: its layout, round trips, and everything a
// hostile or broken peer could send, which must be refused without harm.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "dice/DiceWorld.h"

namespace lh::dice {
namespace {

ThrowStart sample(int32_t shape) {
    ThrowStart s;
    s.shape = shape;
    s.bodyColor = 0xFF70002Au;
    s.colorFlags = 0x10000001u;
    s.mode = 1;
    s.orientation = rotationYawPitchRoll(0.25f * static_cast<float>(shape), 1.5f, 0.0f);
    s.center = Vec3{-3.5f, 2.25f, -5.0f};
    s.velocity = Vec3{0.125f, -0.5f, 0.0f};
    return s;
}

uint32_t u32At(const std::vector<uint8_t>& b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

TEST(ThrowRecord, LayoutAndRoundTrip) {
    std::vector<uint8_t> body;
    for (int32_t shape = 0; shape < kShapeCount; ++shape) appendThrowRecord(body, sample(shape));
    ASSERT_EQ(body.size(), 7 * kThrowRecordSize);
    EXPECT_EQ(body[0], 255);
    EXPECT_EQ(u32At(body, 108 + 4), 1u);
    EXPECT_EQ(u32At(body, 8), 0xFF70002Au);
    EXPECT_EQ(u32At(body, 12), 0x10000001u);
    EXPECT_EQ(u32At(body, 16), 1u);
    EXPECT_EQ(u32At(body, 84), 0xC0600000u);   // -3.5f
    EXPECT_EQ(u32At(body, 100), 0xBF000000u);  // -0.5f
    float m0;
    uint32_t bits = u32At(body, 20);
    std::memcpy(&m0, &bits, 4);
    EXPECT_EQ(m0, sample(0).orientation.m[0]);

    DecodedThrows decoded = decodeThrowRecords(body.data(), body.size());
    ASSERT_TRUE(decoded.error.empty()) << decoded.error;
    ASSERT_EQ(decoded.starts.size(), 7u);
    for (int32_t shape = 0; shape < kShapeCount; ++shape) {
        std::vector<uint8_t> again;
        appendThrowRecord(again, decoded.starts[static_cast<size_t>(shape)]);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), body.begin() + shape * 108));
    }

    // Reading stops at a record without the marker and at a partial record.
    body[3 * kThrowRecordSize] = 0;
    EXPECT_EQ(decodeThrowRecords(body.data(), body.size()).starts.size(), 3u);
    EXPECT_EQ(decodeThrowRecords(body.data(), 2 * kThrowRecordSize + 107).starts.size(), 2u);
    EXPECT_TRUE(decodeThrowRecords(body.data(), 0).starts.empty());
}

TEST(ThrowRecord, RefusesStartsThatCouldBreakTheSimulation) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    std::vector<ThrowStart> bad;
    for (int32_t shape : {-1, 7, 1000000}) bad.push_back(sample(0)), bad.back().shape = shape;
    for (float v : {nan, inf, -inf, 1e30f, 2000.0f}) {
        bad.push_back(sample(2)), bad.back().center.x = v;
        bad.push_back(sample(2)), bad.back().center.z = v;
        bad.push_back(sample(3)), bad.back().velocity.y = v;
        bad.push_back(sample(4)), bad.back().orientation.m[5] = v;
    }
    bad.push_back(sample(1)), bad.back().orientation.m[0] = 2.0f;   // stretched
    bad.push_back(sample(1)), bad.back().orientation.m[13] = 5.0f;  // moved
    bad.push_back(sample(1)), bad.back().orientation.m[3] = 0.5f;   // projective
    bad.push_back(sample(1)), bad.back().orientation = Matrix4{}, bad.back().orientation.m[4] = 1.0f;

    DiceWorld world;
    for (const ThrowStart& start : bad) {
        EXPECT_FALSE(validateThrowStart(start).empty());
        EXPECT_EQ(world.AddThrown(start), nullptr);
        // One bad record spoils the whole message.
        std::vector<uint8_t> body;
        appendThrowRecord(body, sample(0));
        appendThrowRecord(body, start);
        DecodedThrows decoded = decodeThrowRecords(body.data(), body.size());
        EXPECT_TRUE(decoded.starts.empty());
        EXPECT_FALSE(decoded.error.empty());
    }
    EXPECT_TRUE(world.dice().empty());

    std::vector<uint8_t> tooMany;
    for (size_t i = 0; i <= kMaxThrowRecords; ++i) appendThrowRecord(tooMany, sample(5));
    EXPECT_FALSE(decodeThrowRecords(tooMany.data(), tooMany.size()).error.empty());
}

// Random bytes, and the most extreme starts that pass, never crash, never
// produce a non-finite number, and always end within the step limit.
TEST(ThrowRecord, GarbageAndExtremesEndCalmly) {
    uint32_t seed = 12345u;
    auto next = [&seed] { return seed = seed * 1664525u + 1013904223u; };
    for (int m = 0; m < 300; ++m) {
        std::vector<uint8_t> body(static_cast<size_t>(next() % 400));
        for (uint8_t& b : body) b = static_cast<uint8_t>(next() >> 24);
        if (!body.empty()) body[0] = 255;
        DecodedThrows decoded = decodeThrowRecords(body.data(), body.size());
        EXPECT_TRUE(decoded.starts.empty());  // a random orientation is no rotation
    }

    DiceWorld world;
    world.viewBounds = {-19.5f, 15.234375f, 19.5f, -15.234375f};
    world.rollBounds = world.viewBounds;
    for (float z : {-1000.0f, 1000.0f, 0.0f}) {
        for (float xy : {-1000.0f, 1000.0f}) {
            ThrowStart s = sample(static_cast<int32_t>(next() % kShapeCount));
            s.center = Vec3{xy, -xy, z};
            s.velocity = Vec3{-1000.0f, 1000.0f, -1000.0f};
            s.mode = static_cast<int32_t>(next());
            ASSERT_NE(world.AddThrown(s), nullptr);
        }
    }
    int steps = 0;
    auto allAtRest = [&world] {
        for (const auto& die : world.dice())
            if (!die->atRest) return false;
        return true;
    };
    for (; steps <= kMaxStepsPerThrow + 1 && !allAtRest(); ++steps) {
        world.Step();
        for (const auto& die : world.dice())
            for (int i = 0; i < die->vertexCount; ++i) ASSERT_TRUE(isFinite(die->position(i))) << steps;
    }
    EXPECT_TRUE(allAtRest());
}

}  // namespace
}  // namespace lh::dice
