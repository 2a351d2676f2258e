// One die at a time: dropping and throwing every shape, the face read at
// rest, the spread of faces, the fitted orientation and the throw limits.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "dice/DiceWorld.h"

namespace lh::dice {
namespace {

constexpr Bounds kView{-19.5f, 15.234375f, 19.5f, -15.234375f};

struct Landing {
    int32_t value = -2;
    int32_t face = -2;
    float centerZ = 0.0f;
    int steps = 0;
    bool byStepLimit = false;
};

// Runs one die of a fresh world until it reports.
Landing runUntilRest(DiceWorld& world, DieBody& die) {
    Landing landing;
    world.onDieFinished = [&](DieBody& d, int32_t value) {
        landing.value = value;
        landing.face = d.ReadFace();
        landing.centerZ = d.center.z;
        landing.byStepLimit = d.stepCount == 0;
    };
    for (landing.steps = 0; landing.steps <= kMaxStepsPerThrow + 1 && !die.atRest; ++landing.steps) world.Step();
    return landing;
}

Landing throwOne(int32_t shape, float yaw, float pitch, float roll, Vec3 velocity, int32_t mode) {
    DiceWorld world;
    world.viewBounds = kView;
    DieBody* die = world.Add(std::make_unique<DieBody>(world, shape, 0u, 0u));
    die->SetOrientation(yaw, pitch, roll);
    die->MoveTo(Vec3{0.0f, 0.0f, -3.0f});
    die->Throw(velocity, mode);
    return runUntilRest(world, *die);
}

TEST(DieBody, DropFromLowSettlesOnAFaceAtItsRestHeight) {
    for (int32_t shape = 0; shape < kShapeCount; ++shape) {
        for (int k = 0; k < 6; ++k) {
            DiceWorld world;
            world.viewBounds = kView;
            DieBody* die = world.Add(std::make_unique<DieBody>(world, shape, 0u, 0u));
            die->SetOrientation(0.9f * static_cast<float>(k), 0.4f + 0.7f * static_cast<float>(k), 0.2f);
            die->MoveTo(Vec3{0.0f, 0.0f, -1.0f});
            Landing l = runUntilRest(world, *die);
            SCOPED_TRACE(testing::Message() << "shape " << shape << " start " << k);
            EXPECT_FALSE(l.byStepLimit);
            EXPECT_GE(l.face, 0);
            float h = shapeInfo(shape).restHeight;
            EXPECT_NEAR(l.centerZ, h, 0.02f * -h);
        }
    }
}

// Many throws of every shape from varied starts: each comes to rest by the
// rest test and reads a face, and the faces spread about evenly (a loose
// chi-square bound: a biased or stuck reading fails it, chance does not).
TEST(DieBody, ThrownDiceRestOnValidFacesWithAPlausibleSpread) {
    for (int32_t shape = 0; shape < kShapeCount; ++shape) {
        const ShapeInfo& info = shapeInfo(shape);
        const int throws = 12 * info.faceCount;
        std::map<int32_t, int> counts;
        int stuck = 0;
        for (int t = 0; t < throws; ++t) {
            float ft = static_cast<float>(t);
            Vec3 v{0.8f * std::cos(ft * 2.39996f), 0.8f * std::sin(ft * 2.39996f), 0.0f};
            v = v * (0.15f + 0.85f * static_cast<float>((t * 7) % 11) / 10.0f);
            Landing l = throwOne(shape, 0.71f * ft, 1.3f + 0.37f * ft, 0.11f * ft, v, t % 9 == 4 ? 1 : 0);
            if (l.byStepLimit) ++stuck;
            ASSERT_GE(l.value, 0) << "shape " << shape << " throw " << t;
            if (l.face >= 0) ++counts[l.face];
        }
        SCOPED_TRACE(testing::Message() << "shape " << shape << " counts " << counts.size());
        EXPECT_LE(stuck, throws / 50);
        EXPECT_EQ(static_cast<int>(counts.size()), info.faceCount);
        double expected = static_cast<double>(throws - stuck) / info.faceCount;
        double chi2 = 0.0;
        for (auto [face, n] : counts) chi2 += (n - expected) * (n - expected) / expected;
        // Far above the 99.9th percentile for up to 19 degrees of freedom.
        EXPECT_LT(chi2, 3.0 * info.faceCount + 20.0);
    }
}

}  // namespace
}  // namespace lh::dice
