// The world of many dice: the permanent six, rolls that sink and go, dice
// that pass through each other, holding, and a throw replayed on another
// machine from its record, which must follow the thrower's path bit for bit.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "dice/DiceWorld.h"

namespace lh::dice {
namespace {

constexpr Bounds kView{-19.5f, 15.234375f, 19.5f, -15.234375f};
constexpr Bounds kRoll{-18.0f, -1.0f, 4.0f, -14.0f};

void setUp(DiceWorld& world) {
    world.viewBounds = kView;
    world.rollBounds = kRoll;
}

std::vector<Vec3> positionsOf(const DieBody& die) {
    std::vector<Vec3> out;
    for (int i = 0; i < die.vertexCount; ++i) out.push_back(die.position(i));
    return out;
}

bool bitEqual(const std::vector<Vec3>& a, const std::vector<Vec3>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3)) == 0;
}

TEST(DiceWorld, PermanentDiceSettleAndStayWhileRollDiceSinkAndGo) {
    DiceWorld world;
    setUp(world);
    world.AddPermanentDice(0xFF70002Au, 1u);
    ASSERT_EQ(world.dice().size(), 6u);
    for (int s = 0; s < 100; ++s) world.Step();
    for (const auto& die : world.dice()) EXPECT_GT(die->center.z, -0.8f) << die->shape;  // on the table
    for (int s = 0; s < 1000; ++s) world.Step();
    for (const auto& die : world.dice()) EXPECT_TRUE(die->atRest) << die->shape;

    // A permanent die thrown comes to rest and stays.
    DieBody& d6 = *world.dice()[kShapeD6];
    world.SetHeld(d6, true);
    EXPECT_EQ(world.heldCount, 1);
    EXPECT_FALSE(d6.atRest);
    world.ThrowFromHand(d6, Vec3{0.3f, 0.1f, 0.0f}, kThrowRolling);
    EXPECT_EQ(world.heldCount, 0);

    // A die of a roll reports once, sinks about 675 steps later and is deleted.
    ThrowStart start;
    start.shape = kShapeD20;
    start.center = Vec3{-8.0f, -6.0f, -5.0f};
    start.velocity = Vec3{-0.2f, 0.3f, 0.0f};
    DieBody* rolled = world.AddThrown(start);
    ASSERT_NE(rolled, nullptr);
    EXPECT_TRUE(rolled->inRollArea);
    std::vector<int32_t> reports;
    world.onDieFinished = [&](DieBody& die, int32_t value) {
        if (&die == rolled) reports.push_back(value);
    };
    int steps = 0;
    while (world.dice().size() > 6 && steps < 20000) {
        world.Step();
        ++steps;
        if (reports.empty()) continue;
        EXPECT_TRUE(world.dice().size() == 6 || rolled->finished);
    }
    ASSERT_EQ(world.dice().size(), 6u);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_GE(reports[0], 1);
    EXPECT_LE(reports[0], 20);
    EXPECT_TRUE(d6.atRest);
    EXPECT_NEAR(d6.center.z, shapeInfo(kShapeD6).restHeight, 0.02f);

    world.SetHeld(d6, true);
    world.Remove(&d6);
    EXPECT_EQ(world.heldCount, 0);
    EXPECT_EQ(world.dice().size(), 5u);
}

// The world solves the springs of several dice together, ahead of their
// steps. A report that throws another die again in the middle of that must
// still give what stepping the dice one by one gives, bit for bit.
TEST(DiceWorld, AReportThatThrowsAnotherDieGivesTheSamePathsAsStepsOneByOne) {
    DiceWorld together, oneByOne;
    for (DiceWorld* world : {&together, &oneByOne}) {
        setUp(*world);
        world->AddPermanentDice(0xFF70002Au, 1u);
        auto throws = std::make_shared<int>(0);
        world->onDieFinished = [world, throws](DieBody& die, int32_t) {
            if (*throws >= 12) return;
            float n = static_cast<float>((*throws)++);
            // The next die in the list, or the first: later in the same
            // group, in the next one, or already stepped.
            DieBody& next = *world->dice()[static_cast<size_t>(die.shape + 1) % world->dice().size()];
            world->SetHeld(next, false);
            next.Launch(rotationYawPitchRoll(0.3f * n, 1.2f, 0.0f), Vec3{-5.0f + n, -3.0f, -4.0f},
                        Vec3{0.2f, 0.1f - 0.02f * n, 0.0f}, kThrowRolling);
        };
    }
    int reports = 0;
    together.onDieFinished = [inner = together.onDieFinished, &reports](DieBody& die, int32_t value) {
        ++reports;
        inner(die, value);
    };
    for (int s = 0; s < 3000; ++s) {
        together.Step();
        for (const auto& die : oneByOne.dice()) die->Step();
        for (size_t d = 0; d < together.dice().size(); ++d) {
            const DieBody& a = *together.dice()[d];
            const DieBody& b = *oneByOne.dice()[d];
            ASSERT_TRUE(bitEqual(positionsOf(a), positionsOf(b))) << "step " << s << " die " << d;
            ASSERT_EQ(std::memcmp(a.worldMatrix().m, b.worldMatrix().m, sizeof(Matrix4::m)), 0);
            ASSERT_EQ(a.atRest, b.atRest);
        }
    }
    EXPECT_GE(reports, 12);
}

// The orientation is fitted only when asked for: asking after every step
// (as the drawing does) or only at the end changes nothing in the paths, and
// the fit at the end is that of the last step.
TEST(DiceWorld, AskingForTheOrientationChangesNoPath) {
    DiceWorld watched, unwatched;
    for (DiceWorld* world : {&watched, &unwatched}) {
        setUp(*world);
        for (int j = 0; j < 7; ++j) {
            float fj = static_cast<float>(j);
            ThrowStart s;
            s.shape = j;
            s.orientation = rotationYawPitchRoll(0.9f * fj, 0.4f + 0.3f * fj, 0.0f);
            s.center = Vec3{-12.0f + 1.5f * fj, -6.0f, -5.0f};
            s.velocity = Vec3{0.3f, 0.2f - 0.05f * fj, 0.0f};
            s.mode = j % 2 == 0 ? kThrowRolling : kThrowSpin;
            ASSERT_TRUE(world->AddThrown(s));
        }
    }
    for (int step = 0; step < 400; ++step) {
        watched.Step();
        unwatched.Step();
        for (const auto& die : watched.dice()) (void)die->worldMatrix();
    }
    ASSERT_EQ(watched.dice().size(), unwatched.dice().size());
    for (size_t d = 0; d < watched.dice().size(); ++d) {
        const DieBody& a = *watched.dice()[d];
        const DieBody& b = *unwatched.dice()[d];
        EXPECT_TRUE(bitEqual(positionsOf(a), positionsOf(b))) << "die " << d;
        EXPECT_EQ(std::memcmp(a.worldMatrix().m, b.worldMatrix().m, sizeof(Matrix4::m)), 0) << "die " << d;
    }
}

TEST(DiceWorld, DicePassThroughEachOther) {
    auto pathOfFirst = [](bool withSecond) {
        DiceWorld world;
        setUp(world);
        ThrowStart a;
        a.shape = kShapeD12;
        a.center = Vec3{-6.0f, -7.0f, -4.0f};
        a.velocity = Vec3{0.4f, 0.0f, 0.0f};
        DieBody* first = world.AddThrown(a);
        if (withSecond) {
            ThrowStart b = a;
            b.shape = kShapeD6;
            b.center = Vec3{-2.0f, -7.0f, -4.0f};
            b.velocity = Vec3{-0.4f, 0.0f, 0.0f};
            world.AddThrown(b);
        }
        std::vector<Vec3> path;
        for (int s = 0; s < 200; ++s) {
            world.Step();
            for (Vec3 p : positionsOf(*first)) path.push_back(p);
        }
        return path;
    };
    EXPECT_TRUE(bitEqual(pathOfFirst(false), pathOfFirst(true)));
}

// The thrower throws from the hand and sends the record; the receiver starts
// a new die from the decoded record. Both take the same path to the bit.
TEST(DiceWorld, AReceivedThrowFollowsTheThrowersPathExactly) {
    for (int32_t shape = 0; shape < kShapeCount; ++shape) {
        DiceWorld thrower, receiver;
        setUp(thrower);
        setUp(receiver);
        auto die = std::make_unique<DieBody>(thrower, shape, 0xFF112233u, 1u);
        DieBody* held = thrower.Add(std::move(die));
        thrower.SetHeld(*held, true);
        held->SetOrientation(1.0f + static_cast<float>(shape), 0.5f, 0.0f);
        held->MoveTo(Vec3{-25.0f, -7.3f, -5.0f});  // beyond the roll area: held inside it
        for (int s = 0; s < 3; ++s) thrower.Step();
        held->inRollArea = true;
        std::vector<uint8_t> body;
        appendThrowRecord(body, thrower.ThrowFromHand(*held, Vec3{0.3f, -0.45f, 0.0f}, shape == 3 ? 1 : 0));
        EXPECT_FLOAT_EQ(held->center.x, kRoll.left + 1.0f);

        DecodedThrows decoded = decodeThrowRecords(body.data(), body.size());
        ASSERT_EQ(decoded.starts.size(), 1u) << decoded.error;
        DieBody* copy = receiver.AddThrown(decoded.starts[0]);
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->bodyColor, 0xFF112233u);
        int32_t thrownValue = -1, receivedValue = -2;
        thrower.onDieFinished = [&](DieBody&, int32_t v) { thrownValue = v; };
        receiver.onDieFinished = [&](DieBody&, int32_t v) { receivedValue = v; };
        ASSERT_TRUE(bitEqual(positionsOf(*held), positionsOf(*copy)));
        for (int s = 0; s <= kMaxStepsPerThrow && !held->atRest; ++s) {
            thrower.Step();
            receiver.Step();
            ASSERT_TRUE(bitEqual(positionsOf(*held), positionsOf(*copy)))
                << "shape " << shape << " step " << s;
        }
        EXPECT_TRUE(copy->atRest);
        EXPECT_EQ(thrownValue, receivedValue);
    }
}

TEST(DiceWorld, ADieThatWentNonFiniteLiesDownAgain) {
    DiceWorld world;
    setUp(world);
    DieBody* die = world.Add(std::make_unique<DieBody>(world, kShapeD8, 0u, 0u));
    die->MoveTo(Vec3{0.0f, 0.0f, -3.0f});
    die->setPosition(2, Vec3{std::nanf(""), 0.0f, 0.0f});
    die->setVelocity(4, Vec3{0.0f, std::numeric_limits<float>::infinity(), 0.0f});
    for (int s = 0; s <= kMaxStepsPerThrow && !die->atRest; ++s) world.Step();
    EXPECT_TRUE(die->atRest);
    EXPECT_TRUE(isFinite(die->center));
    EXPECT_GE(die->ReadValue(), 1);
}

}  // namespace
}  // namespace lh::dice
