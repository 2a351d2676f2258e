// Timers by id: due order, one-shot removal, repeat re-basing.
#include <gtest/gtest.h>

#include "platform/TimerTable.h"

using lh::platform::TimerTable;

TEST(TimerTable, FiresInDueOrderAndRearms) {
    TimerTable t;
    EXPECT_FALSE(t.msUntilNext(0).has_value());
    t.set(1, 30, true, 0);
    t.set(5, 100, false, 0);
    EXPECT_EQ(t.msUntilNext(0), 30u);
    EXPECT_FALSE(t.takeDue(29).has_value());
    EXPECT_EQ(t.takeDue(30), 1);
    EXPECT_EQ(t.msUntilNext(30), 30u);
    EXPECT_EQ(t.takeDue(100), 1);  // due at 60
    EXPECT_EQ(t.takeDue(100), 5);
    EXPECT_FALSE(t.isRunning(5));   // one-shot is gone
    EXPECT_TRUE(t.isRunning(1));
    // Fell behind: one firing, then re-based on "now" instead of a burst.
    EXPECT_EQ(t.takeDue(1000), 1);
    EXPECT_FALSE(t.takeDue(1000).has_value());
    EXPECT_EQ(t.msUntilNext(1000), 30u);
}

TEST(TimerTable, SetReplacesAndKillRemoves) {
    TimerTable t;
    t.set(5, 60000, false, 0);
    t.set(5, 60000, false, 50000);  // restarted by input
    EXPECT_FALSE(t.takeDue(60000).has_value());
    EXPECT_EQ(t.takeDue(110000), 5);
    t.set(2, 1000, false, 0);
    t.kill(2);
    EXPECT_FALSE(t.isRunning(2));
    EXPECT_FALSE(t.takeDue(5000).has_value());
}
