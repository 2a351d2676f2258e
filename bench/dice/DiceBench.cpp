// CPU time of the dice simulation: a roll of ten mixed dice from the throw
// until every die has come to rest, and one step of the largest die.
#include <benchmark/benchmark.h>

#include "dice/DiceWorld.h"

namespace {

using namespace lh::dice;

void setUpWorld(DiceWorld& world) {
    world.viewBounds = {-19.5f, 15.234375f, 19.5f, -15.234375f};
    world.rollBounds = {-18.0f, -1.0f, 4.0f, -14.0f};
}

void throwTenMixed(DiceWorld& world) {
    for (int j = 0; j < 10; ++j) {
        float fj = static_cast<float>(j);
        ThrowStart s;
        s.shape = j % kShapeCount;
        s.orientation = rotationYawPitchRoll(0.7f * fj, 1.1f + 0.4f * fj, 0.0f);
        s.center = Vec3{-10.0f + 0.6f * fj, -7.0f + 0.3f * fj, -5.0f};
        s.velocity = Vec3{0.5f - 0.08f * fj, 0.35f, 0.0f};
        world.AddThrown(s);
    }
}

bool allAtRest(const DiceWorld& world) {
    for (const auto& die : world.dice())
        if (!die->atRest) return false;
    return true;
}

void BM_TenMixedDiceThrowToRest(benchmark::State& state) {
    int64_t steps = 0;
    for (auto _ : state) {
        DiceWorld world;
        setUpWorld(world);
        throwTenMixed(world);
        while (!allAtRest(world)) {
            world.Step();
            ++steps;
        }
        benchmark::DoNotOptimize(world.dice().back()->center);
    }
    state.counters["steps"] =
        benchmark::Counter(static_cast<double>(steps), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_TenMixedDiceThrowToRest)->Unit(benchmark::kMillisecond);

// Steps of a d12 in free fall: all 190 pairs are worked every step.
void BM_StepOfAD12InFlight(benchmark::State& state) {
    constexpr int kSteps = 200;
    DiceWorld world;
    setUpWorld(world);
    DieBody* die = world.Add(std::make_unique<DieBody>(world, kShapeD12, 0u, 0u));
    for (auto _ : state) {
        die->Launch(Matrix4{}, Vec3{0.0f, 0.0f, -1000.0f}, Vec3{0.3f, 0.2f, 0.0f}, kThrowRolling);
        for (int s = 0; s < kSteps; ++s) die->Step();
        benchmark::DoNotOptimize(die->center);
    }
    state.SetItemsProcessed(state.iterations() * kSteps);
}
BENCHMARK(BM_StepOfAD12InFlight);

}  // namespace

BENCHMARK_MAIN();
