// The stopwatches: slots that run out and come back, elapsed time from the installed clock.
#include <gtest/gtest.h>

#include "support/clock.h"
#include "support/timers.h"

namespace lumadisc {
namespace {

class FakeClock : public Clock {
public:
    int64_t nowNanoseconds() override { return now; }
    int64_t now = 1'000'000'000;
};

// The stopwatches the caches time their entries with.
class TimersTest : public ::testing::Test {
protected:
    void SetUp() override {
        installClock(&clock_);
        timerInit();
    }
    void TearDown() override {
        timerShutdown();
        installClock(nullptr);
    }
    FakeClock clock_;
};

TEST_F(TimersTest, SlotsRunOutAndComeBack) {
    for (int i = 0; i < kTimerSlots; ++i) EXPECT_EQ(timerCreate(), i);
    EXPECT_EQ(timerCreate(), -1);

    int three = 3;
    timerDestroy(&three);
    EXPECT_EQ(three, -1);
    int again = 3;
    timerDestroy(&again);  // already free: nothing changes
    EXPECT_EQ(again, 3);
    EXPECT_EQ(timerCreate(), 3);
    EXPECT_EQ(timerCreate(), -1);

    timerShutdown();  // frees everything
    EXPECT_EQ(timerCreate(), 0);
}

TEST_F(TimersTest, ElapsedSecondsFollowTheClock) {
    const int a = timerCreate();
    const int b = timerCreate();
    timerRestart(a);
    EXPECT_DOUBLE_EQ(timerElapsed(a), 0.0);
    clock_.now += 1'500'000'000;
    timerRestart(b);
    clock_.now += 250'000;
    EXPECT_DOUBLE_EQ(timerElapsed(a), 1.50025);
    EXPECT_DOUBLE_EQ(timerElapsed(b), 0.00025);
    clock_.now += 600LL * 1'000'000'000;  // the caches' ten-minute idle limit
    EXPECT_GT(timerElapsed(b), 600.0);

    timerRestart(-1);  // out-of-range indices are ignored
    EXPECT_EQ(timerElapsed(kTimerSlots), 0.0);
}

TEST(SystemClock, IsTheDefault) {
    installClock(nullptr);
    EXPECT_EQ(&currentClock(), &systemClock());
}

}  // namespace
}  // namespace lumadisc
