// The scene's roll life-cycle without a window: grabbing at the dice's
// homes, the hand's rings, throwing over the chat, the reading in stop
// order, a receiver that plays the same roll bit for bit, the percentile
// pair, putting dice down, and hostile roll messages.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>

#include "dice/DiceScene.h"
#include "dice/ThrowRecord.h"
#include "ui/DieType.h"
#include "ui/RulesetData.h"

namespace lh::dice {
namespace {

constexpr render::Rect kChat{10, 330, 450, 670};

struct Seen {
    std::vector<std::vector<uint8_t>> sent;
    std::vector<std::unique_ptr<DieResult>> results;
    std::vector<std::pair<int32_t, Vec3>> stops;  // shape and where each die came to rest
    int whole = 0;
};

DiceScene::Hooks hooksFor(Seen& seen) {
    DiceScene::Hooks h;
    h.sendRoll = [&seen](const std::vector<uint8_t>& body) { seen.sent.push_back(body); };
    h.rollFinished = [&seen](std::unique_ptr<DieResult> r) { seen.results.push_back(std::move(r)); };
    h.invalidate = [&seen](const render::Rect* r) { seen.whole += r == nullptr; };
    h.dieStopped = [&seen](const DieBody& d, int32_t) { seen.stops.push_back({d.shape, d.center}); };
    return h;
}

class DiceSceneTest : public ::testing::Test {
protected:
    void SetUp() override {
        ui::clearRuleset();
        const char* names[] = {"d4", "d6", "d8", "d10", "d12", "d20"};
        const int faces[] = {4, 6, 8, 10, 12, 20};
        for (int i = 0; i < 6; ++i) {
            auto t = std::make_unique<ui::DieType>();
            t->name = names[i];
            for (int v = 1; v <= faces[i]; ++v) t->values.push_back(std::to_string(v));
            t->homeX = uint32_t(560 + 60 * i);
            t->homeY = 700;
            ui::ruleset().dieTypes[names[i]] = std::move(t);
        }
        seedRandom(11);
    }
    void TearDown() override { ui::clearRuleset(); }

    // Runs the clock until nothing moves (bounded).
    static void settle(DiceScene& scene, double& now) {
        for (int round = 0; round < 20000; ++round) {
            bool moving = false;
            for (const auto& d : scene.world().dice()) moving = moving || !d->atRest || d->held;
            if (!moving && scene.world().dice().size() <= size_t(kPermanentDice)) return;
            now += 0.03;
            scene.Advance(now);
        }
        FAIL() << "the dice never came to rest";
    }

    glm::vec3 pixelOf(DiceScene& scene, int shape) { return scene.project(scene.world().dice()[size_t(shape)]->center); }

    // Picks the die of `shape` up, carries it over `path`, and lets go at the end.
    void carry(DiceScene& scene, double& now, int shape, std::vector<std::pair<int, int>> path, MousePhase end,
               int extra = 0) {
        glm::vec3 p = pixelOf(scene, shape);
        ASSERT_EQ(scene.Mouse(int32_t(p.x), int32_t(p.y), MousePhase::PressOrMove, false), 1) << shape;
        for (int i = 0; i < extra; ++i) scene.AddDie(-1);
        for (auto [x, y] : path) {
            now += 0.016;
            scene.Mouse(x, y, MousePhase::PressOrMove, false);
            scene.Advance(now);
        }
        scene.Mouse(path.back().first, path.back().second, end, false);
    }
};

TEST_F(DiceSceneTest, StartUpDiceLieAtHomeAndAClickOnEachGrabsIt) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    double now = 1.0;
    settle(scene, now);
    ASSERT_EQ(scene.world().dice().size(), 6u);
    for (int shape = 0; shape < 6; ++shape) {
        const DieBody& die = *scene.world().dice()[size_t(shape)];
        EXPECT_TRUE(die.atRest);
        EXPECT_NEAR(die.center.z, die.info().restHeight, 0.03f) << shape;
        // The drawn die is where a click takes it, also far from the middle.
        glm::vec3 p = pixelOf(scene, shape);
        EXPECT_EQ(scene.PickAt(int32_t(p.x), int32_t(p.y)), &die) << shape << " at " << p.x << "," << p.y;
        ASSERT_EQ(scene.Mouse(int32_t(p.x) + 5, int32_t(p.y) - 5, MousePhase::PressOrMove, false), 1) << shape;
        EXPECT_TRUE(die.held);
        scene.Mouse(int32_t(p.x), int32_t(p.y), MousePhase::Release, false);
        EXPECT_FALSE(die.held);
        settle(scene, now);
        scene.Arrange(false);  // back home, from wherever it fell
        settle(scene, now);
    }
    EXPECT_TRUE(seen.sent.empty());  // put down, never thrown
    EXPECT_EQ(scene.Mouse(5, 5, MousePhase::PressOrMove, false), 0);
}

// The scene steps by 0.006 s of the clock, however the frames fall; the
// view's rectangle follows the back buffer, the roll area stays where the
// chat was first.
TEST_F(DiceSceneTest, StepsFollowTheClockAndTheBoundsTheCamera) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    scene.Advance(10.0);
    const uint64_t before = scene.stepsRun;
    for (int frame = 1; frame <= 37; ++frame) scene.Advance(10.0 + 0.6 * frame / 37);
    EXPECT_GE(scene.stepsRun - before, 99u);
    EXPECT_LE(scene.stepsRun - before, 100u);

    const Bounds view = scene.world().viewBounds, roll = scene.world().rollBounds;
    EXPECT_EQ(view.left, -19.5f);
    EXPECT_EQ(view.top, 15.234375f);
    EXPECT_EQ(view.right, scene.nearPicture(1024, 768).x);
    EXPECT_EQ(view.bottom, scene.nearPicture(1024, 768).y);
    EXPECT_EQ(roll.left, scene.nearPicture(kChat.left, kChat.top).x);
    EXPECT_EQ(roll.bottom, scene.nearPicture(kChat.right, kChat.bottom).y);
    scene.SetCamera(1280, 900);
    EXPECT_EQ(scene.world().viewBounds.right, scene.nearPicture(1280, 900).x);
    EXPECT_EQ(scene.world().rollBounds.right, roll.right);
    EXPECT_EQ(scene.camera().viewport.width, 1280);
}

// After a long stall (the process stopped, the machine asleep) the dice
// catch up in one go: the roll in flight rests, bit for bit where it rests
// without the stall, and the steps after that, which would move nothing,
// are counted off rather than run.
TEST_F(DiceSceneTest, ALongStallCatchesUpAtOnceAndRunsNoStepsOnceAllIsStill) {
    Seen steady, stalled;
    DiceScene a(false, 1024, 768, kChat, hooksFor(steady));
    DiceScene b(false, 1024, 768, kChat, hooksFor(stalled));
    double nowA = 1.0, nowB = 1.0;
    settle(a, nowA);
    settle(b, nowB);
    ThrowStart start;
    start.shape = kShapeD12;
    start.colorFlags = kWhiteNumerals;
    start.center = {-10.0f, 40.0f, -5.0f};
    start.velocity = {0.3f, -0.2f, 0.0f};
    std::vector<uint8_t> body;
    appendThrowRecord(body, start);
    ASSERT_EQ(a.ThrowRecorded(body.data(), body.size()), "");
    ASSERT_EQ(b.ThrowRecorded(body.data(), body.size()), "");
    for (int frame = 0; frame < 5; ++frame) b.Advance(nowB += 0.03);
    ASSERT_FALSE(b.world().Still());

    // Ten minutes in one frame.
    const uint64_t before = b.stepsRun;
    b.Advance(nowB += 600.0);
    EXPECT_GE(b.stepsRun - before, 99999u);
    EXPECT_GT(b.stepsCountedOff, 90000u);  // the roll took seconds, not minutes
    EXPECT_TRUE(b.world().Still());
    ASSERT_EQ(stalled.results.size(), 1u);  // rested and read in that frame

    settle(a, nowA);
    ASSERT_EQ(steady.results.size(), 1u);
    EXPECT_EQ(steady.results[0]->values, stalled.results[0]->values);
    ASSERT_EQ(steady.stops.size(), stalled.stops.size());
    for (size_t i = 0; i < steady.stops.size(); ++i) {
        EXPECT_EQ(steady.stops[i].first, stalled.stops[i].first);
        EXPECT_EQ(std::memcmp(&steady.stops[i].second, &stalled.stops[i].second, sizeof(Vec3)), 0) << i;
    }
}

TEST_F(DiceSceneTest, TheHandHoldsRingsOfDiceUpToThirty) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    double now = 1.0;
    settle(scene, now);
    glm::vec3 p = pixelOf(scene, kShapeD6);
    ASSERT_EQ(scene.Mouse(int32_t(p.x), int32_t(p.y), MousePhase::PressOrMove, false), 1);
    for (int i = 0; i < 6; ++i) scene.AddDie(-1);
    scene.Mouse(300, 300, MousePhase::PressOrMove, false);
    now += 0.02;
    scene.Advance(now);
    // Seven dice: six at radius 2 around the hand, one alone at radius 4.
    std::vector<float> radii;
    Vec3 hand = scene.pointUnder(300, 300, -5.0f);
    for (const auto& d : scene.world().dice()) {
        if (!d->held) continue;
        EXPECT_EQ(d->shape, kShapeD6);
        radii.push_back(std::hypot(d->center.x - hand.x, d->center.y - hand.y));
    }
    ASSERT_EQ(radii.size(), 7u);
    std::sort(radii.begin(), radii.end());
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(radii[size_t(i)], 2.0f, 0.01f);
    EXPECT_NEAR(radii[6], 4.0f, 0.01f);
    for (int i = 0; i < 40; ++i) scene.AddDie(-1);
    EXPECT_EQ(scene.world().heldCount, kMaxHeldDice);
    scene.Mouse(900, 100, MousePhase::Release, false);
    EXPECT_EQ(scene.world().heldCount, 0);
    EXPECT_TRUE(seen.sent.empty());
}

TEST_F(DiceSceneTest, AThrowOverTheChatIsReadInStopOrderAndPlaysAlikeElsewhere) {
    Seen thrower, other;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(thrower));
    DiceScene receiver(true, 1024, 768, kChat, hooksFor(other));
    double now = 1.0, otherNow = 1.0;
    settle(scene, now);
    settle(receiver, otherNow);
    carry(scene, now, kShapeD20, {{500, 600}, {400, 560}, {300, 520}, {200, 500}}, MousePhase::ReleaseThrow, 3);
    ASSERT_EQ(thrower.sent.size(), 1u);
    ASSERT_EQ(thrower.sent[0].size(), 4 * kThrowRecordSize);
    // The mouse went left and up the screen: so do the dice.
    for (const ThrowStart& s : decodeThrowRecords(thrower.sent[0].data(), thrower.sent[0].size()).starts) {
        EXPECT_LT(s.velocity.x, 0.0f);
        EXPECT_GT(s.velocity.y, 0.0f);
    }
    EXPECT_EQ(receiver.ReceiveRoll(thrower.sent[0].data(), thrower.sent[0].size()), "");
    settle(scene, now);
    settle(receiver, otherNow);

    ASSERT_EQ(thrower.results.size(), 1u);
    const DieResult& r = *thrower.results[0];
    EXPECT_FALSE(r.hidden);
    EXPECT_EQ(r.throwRecords, thrower.sent[0]);
    ASSERT_EQ(r.values.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(r.dice[i]);
        EXPECT_EQ(r.dice[i]->name, "d20");
        EXPECT_TRUE(r.values[i] >= 1 && r.values[i] <= 20);
    }
    EXPECT_TRUE(other.results.empty());  // somebody else's roll reads nothing

    // The same four stops, bit for bit, in the same order.
    std::vector<Vec3> mine, theirs;
    for (auto& [shape, at] : thrower.stops)
        if (shape == kShapeD20) mine.push_back(at);
    for (auto& [shape, at] : other.stops)
        if (shape == kShapeD20) theirs.push_back(at);
    ASSERT_GE(theirs.size(), 4u);
    auto bits = [](const std::vector<Vec3>& v) {
        std::vector<std::array<uint32_t, 3>> out;
        for (const Vec3& p : v) {
            std::array<uint32_t, 3> b;
            std::memcpy(b.data(), &p, sizeof b);
            out.push_back(b);
        }
        std::sort(out.begin(), out.end());
        return out;
    };
    auto a = bits(mine), b = bits(theirs);
    for (const auto& stop : a) EXPECT_NE(std::find(b.begin(), b.end(), stop), b.end());
    // The dice of the roll have sunk and gone; the permanent six stay.
    EXPECT_EQ(scene.world().dice().size(), 6u);
    EXPECT_EQ(receiver.world().dice().size(), 6u);
}

// Ctrl held at the release spins a single die on the spot; a hand of more
// than one rolls all the same.
TEST_F(DiceSceneTest, CtrlSpinsASingleDieOnly) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    double now = 1.0;
    settle(scene, now);
    for (int extra : {0, 1}) {
        glm::vec3 p = pixelOf(scene, kShapeD12);
        ASSERT_EQ(scene.Mouse(int32_t(p.x), int32_t(p.y), MousePhase::PressOrMove, false), 1);
        for (int i = 0; i < extra; ++i) scene.AddDie(-1);
        now += 0.1;
        scene.Mouse(200, 500, MousePhase::PressOrMove, false);
        scene.Advance(now);
        scene.Mouse(200, 500, MousePhase::ReleaseThrow, true);
        ASSERT_EQ(seen.sent.size(), size_t(extra + 1));
        DecodedThrows thrown = decodeThrowRecords(seen.sent.back().data(), seen.sent.back().size());
        ASSERT_EQ(thrown.starts.size(), size_t(extra + 1));
        for (const ThrowStart& s : thrown.starts) EXPECT_EQ(s.mode, extra == 0 ? kThrowSpin : kThrowRolling);
        settle(scene, now);
        scene.Arrange(false);
        settle(scene, now);
    }
}

TEST_F(DiceSceneTest, HostRollsAreSecretAndPercentileAddsUp) {
    Seen seen;
    DiceScene scene(true, 1024, 768, kChat, hooksFor(seen));
    double now = 1.0;
    settle(scene, now);
    EXPECT_EQ(scene.colorFlags & kGamemasterDice, kGamemasterDice);
    glm::vec3 p = pixelOf(scene, kShapeD10);
    scene.RollCount(100, int32_t(p.x), int32_t(p.y), 200, 500);
    ASSERT_TRUE(scene.dragging());
    EXPECT_EQ(scene.world().heldCount, 2);
    scene.AddDie(-1);  // the percentile pair takes no more
    EXPECT_EQ(scene.world().heldCount, 2);
    now += 0.2;
    scene.Advance(now);
    scene.Mouse(200, 500, MousePhase::ReleaseThrow, false);
    settle(scene, now);
    ASSERT_EQ(seen.results.size(), 1u);
    const DieResult& r = *seen.results[0];
    EXPECT_TRUE(r.hidden);
    ASSERT_EQ(r.values.size(), 2u);
    for (size_t i = 0; i < 2; ++i) EXPECT_EQ(r.dice[i]->name, "d10");
    EXPECT_TRUE(r.Total() >= 1 && r.Total() <= 100) << r.Total();

    // Roll 5 from the die menu holds five.
    p = pixelOf(scene, kShapeD6);
    scene.RollCount(5, int32_t(p.x), int32_t(p.y), 600, 300);
    EXPECT_EQ(scene.world().heldCount, 5);
    scene.Mouse(600, 300, MousePhase::Release, false);
}

// A roll thrown from given records is this user's own: sent as played
// (a centre beyond the roll area clamped as receivers clamp it) and read.
TEST_F(DiceSceneTest, ARollFromRecordsIsThrownSentAndRead) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    double now = 1.0;
    settle(scene, now);
    ThrowStart start;
    start.shape = kShapeD8;
    start.colorFlags = kWhiteNumerals;
    start.center = {-10.0f, 40.0f, -5.0f};
    start.velocity = {0.2f, -0.1f, 0.0f};
    std::vector<uint8_t> body;
    appendThrowRecord(body, start);
    EXPECT_NE(scene.ThrowRecorded(body.data(), 0), "");
    ThrowStart bad = start;
    bad.shape = 9;
    std::vector<uint8_t> hostile;
    appendThrowRecord(hostile, bad);
    EXPECT_NE(scene.ThrowRecorded(hostile.data(), hostile.size()), "");
    EXPECT_TRUE(seen.sent.empty());

    ASSERT_EQ(scene.ThrowRecorded(body.data(), body.size()), "");
    ASSERT_EQ(seen.sent.size(), 1u);
    DecodedThrows sent = decodeThrowRecords(seen.sent[0].data(), seen.sent[0].size());
    ASSERT_EQ(sent.starts.size(), 1u);
    EXPECT_EQ(sent.starts[0].center.y, scene.world().rollBounds.top - 1.0f);
    settle(scene, now);
    ASSERT_EQ(seen.results.size(), 1u);
    EXPECT_EQ(seen.results[0]->dice[0]->name, "d8");
    EXPECT_EQ(seen.results[0]->throwRecords, seen.sent[0]);
}

TEST_F(DiceSceneTest, HostileRollMessagesAreRefused) {
    Seen seen;
    DiceScene scene(false, 1024, 768, kChat, hooksFor(seen));
    ThrowStart good;
    good.shape = kShapeD6;
    good.center = {-10.0f, -5.0f, -5.0f};
    good.velocity = {0.1f, 0.1f, 0.0f};
    std::vector<uint8_t> body;

    ThrowStart bad = good;
    bad.shape = 9;
    appendThrowRecord(body, bad);
    EXPECT_NE(scene.ReceiveRoll(body.data(), body.size()), "");
    body.clear();
    bad = good;
    bad.velocity.x = std::numeric_limits<float>::quiet_NaN();
    appendThrowRecord(body, bad);
    EXPECT_NE(scene.ReceiveRoll(body.data(), body.size()), "");
    EXPECT_EQ(scene.world().dice().size(), 6u);

    body.clear();
    bad = good;
    bad.colorFlags = kGamemasterDice;
    appendThrowRecord(body, bad);
    EXPECT_NE(scene.ReceiveRoll(body.data(), body.size(), true), "");  // a player posing as the Gamemaster
    EXPECT_EQ(scene.world().dice().size(), 6u);

    // A centre off the table is brought into the roll area.
    body.clear();
    bad = good;
    bad.center = {500.0f, -500.0f, -5.0f};
    appendThrowRecord(body, bad);
    EXPECT_EQ(scene.ReceiveRoll(body.data(), body.size()), "");
    const DieBody& far = *scene.world().dice().back();
    EXPECT_LE(far.center.x, scene.world().rollBounds.right);
    EXPECT_GE(far.center.y, scene.world().rollBounds.bottom);

    // Short bodies and wrong markers make nothing; a flood stops at the cap.
    EXPECT_EQ(scene.ReceiveRoll(body.data(), 50), "");
    body.clear();
    for (int i = 0; i < 75; ++i) appendThrowRecord(body, good);
    EXPECT_EQ(scene.ReceiveRoll(body.data(), body.size()), "");
    EXPECT_NE(scene.ReceiveRoll(body.data(), body.size()), "");
    EXPECT_LE(scene.world().dice().size(), 6u + kMaxReceivedDice);
}

}  // namespace
}  // namespace lh::dice
