// Signals, timers and the tick on a manual clock: handles end their
// subscriptions whichever side goes first, timers fire in due order, and the
// tick runs only while someone has work for it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "platform/Signal.h"

namespace lh::platform {
namespace {

struct ManualClock : ::testing::Test {
    void SetUp() override { useManualClock(1000); }
    void TearDown() override { useRealClock(); }
    // Moves the clock in steps of `step` and fires what comes due.
    void advance(uint64_t ms, uint64_t step = 1) {
        for (uint64_t t = 0; t < ms; t += step) {
            advanceClock(step);
            runDueTimers();
        }
    }
};

TEST(Signal, HandlesEndSubscriptionsFromEitherSideAndFromInsideACall) {
    std::vector<std::string> heard;
    auto signal = std::make_unique<Signal<void(int)>>();
    Subscription b, c;
    Subscription a = signal->subscribe([&](int v) {
        heard.push_back("a" + std::to_string(v));
        b.reset();  // a later one, and itself, end while the signal runs
        a.reset();
        c = signal->subscribe([&](int w) { heard.push_back("c" + std::to_string(w)); });
    });
    b = signal->subscribe([&](int v) { heard.push_back("b" + std::to_string(v)); });
    signal->emit(1);
    EXPECT_EQ(heard, (std::vector<std::string>{"a1"}));  // b ended before its turn; c starts next time
    EXPECT_FALSE(a);
    EXPECT_FALSE(b);
    heard.clear();
    Subscription moved = std::move(c);  // the subscription goes with the handle
    EXPECT_FALSE(c);
    signal->emit(2);
    EXPECT_EQ(heard, (std::vector<std::string>{"c2"}));

    // The signal goes first: handles hold nothing and end quietly.
    EXPECT_TRUE(moved);
    signal.reset();
    EXPECT_FALSE(moved);
    moved.reset();

    // Answers are combined by the caller; an empty signal says so.
    Signal<int()> draw;
    EXPECT_TRUE(draw.empty());
    Subscription one = draw.subscribe([] { return 0; });
    Subscription two = draw.subscribe([] { return 1; });
    int drew = 0;
    draw.forEach([&](const std::function<int()>& f) { drew |= f(); });
    EXPECT_EQ(drew, 1);
    one.reset();
    two.reset();
    EXPECT_TRUE(draw.empty());
}

TEST_F(ManualClock, TimersFireInDueOrderAndStopWithTheirOwners) {
    std::vector<std::string> fired;
    Timer repeating([&] { fired.push_back("r"); });
    auto once = std::make_unique<Timer>([&] { fired.push_back("once"); });
    Timer killer([&] {
        fired.push_back("k");
        once.reset();  // another timer dies in this one's call
    });
    repeating.start(100, TimerMode::Repeating);
    once->start(250);
    killer.start(150);
    EXPECT_EQ(msUntilNextTimer(), 100u);
    EXPECT_EQ(waitTimeoutMs(), -1);  // a manual clock: no sleep brings it nearer
    advance(300);
    EXPECT_EQ(fired, (std::vector<std::string>{"r", "k", "r", "r"}));
    fired.clear();

    // Far behind, a repeating timer fires once and starts again from then.
    advanceClock(1000);
    runDueTimers();
    EXPECT_EQ(fired, std::vector<std::string>{"r"});
    EXPECT_EQ(msUntilNextTimer(), 100u);
    repeating.stop();
    killer.stop();
    EXPECT_FALSE(msUntilNextTimer());
    {
        Timer gone([&] { fired.push_back("gone"); });
        gone.start(10);
    }
    advance(50, 10);
    EXPECT_EQ(fired, std::vector<std::string>{"r"});
    EXPECT_EQ(waitTimeoutMs(), -1);
}

TEST_F(ManualClock, TheTickRunsOnlyWhileSomeoneHasWork) {
    int steps = 0;
    TickSubscription fade([&] { return ++steps < 3; });  // three steps of work
    EXPECT_FALSE(msUntilNextTimer());  // asleep: nothing to wake for
    fade.wake();
    ASSERT_TRUE(msUntilNextTimer());
    EXPECT_LE(*msUntilNextTimer(), uint64_t(kTickMs));
    EXPECT_EQ((nowMs() + *msUntilNextTimer()) % kTickMs, 0u);  // on the grid
    advance(10 * kTickMs, kTickMs);
    EXPECT_EQ(steps, 3);
    EXPECT_FALSE(fade.awake());
    EXPECT_FALSE(msUntilNextTimer());

    // A subscriber that dies awake, and one that ends another in its call.
    auto doomed = std::make_unique<TickSubscription>([] { return true; });
    TickSubscription ender([&] {
        doomed.reset();
        return false;
    });
    ender.wake();
    doomed->wake();
    advance(kTickMs);
    EXPECT_EQ(doomed, nullptr);
    EXPECT_FALSE(msUntilNextTimer());
    EXPECT_EQ(tickCount(), uint32_t(nowMs() / kTickMs));
}

}  // namespace
}  // namespace lh::platform
