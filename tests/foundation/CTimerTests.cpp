// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CTimer.h>
#include <MarlCore/platform/AbsoluteTime.h>

#include <gtest/gtest.h>

namespace halyard {
namespace {

double now() {
    return platform::AbsoluteTimeGetCurrent();
}

/// Lets the clock move on, however coarse it is.
void passTime() {
    const double start = now();
    while (now() <= start) {
    }
}

TEST(Timer, ShowsZeroAtFirstAndAfterAReset) {
    CTimer timer;
    EXPECT_FALSE(timer.ticking());
    EXPECT_EQ(timer.seconds(), 0);
    timer.start();
    passTime();
    timer.stop();
    EXPECT_GT(timer.seconds(), 0);
    timer.reset();
    EXPECT_EQ(timer.seconds(), 0);
    EXPECT_FALSE(timer.ticking());
}

TEST(Timer, ShowsTheTimeBetweenStartAndStop) {
    CTimer timer;
    const double beforeStart = now();
    timer.start();
    const double afterStart = now();
    EXPECT_TRUE(timer.ticking());
    passTime();
    const double beforeStop = now();
    timer.stop();
    const double afterStop = now();
    EXPECT_FALSE(timer.ticking());
    EXPECT_GE(timer.seconds(), beforeStop - afterStart);
    EXPECT_LE(timer.seconds(), afterStop - beforeStart);
}

TEST(Timer, StandsStillWhileStoppedAndGoesOnFromThere) {
    CTimer timer;
    timer.start();
    passTime();
    timer.stop();
    const double shown = timer.seconds();
    passTime();
    EXPECT_EQ(timer.seconds(), shown);
    timer.stop();
    EXPECT_EQ(timer.seconds(), shown) << "stopped twice";
    timer.start();
    passTime();
    EXPECT_GT(timer.seconds(), shown);
}

TEST(Timer, IgnoresASecondStart) {
    CTimer timer;
    timer.start();
    passTime();
    const double shown = timer.seconds();
    timer.start();
    EXPECT_GE(timer.seconds(), shown);
}

TEST(Timer, RunsOnFromZeroWhenResetWhileRunning) {
    CTimer timer;
    timer.start();
    passTime();
    const double beforeReset = now();
    timer.reset();
    EXPECT_TRUE(timer.ticking());
    passTime();
    const double shown = timer.seconds();
    EXPECT_GT(shown, 0);
    EXPECT_LE(shown, now() - beforeReset);
}

TEST(Timer, ShowsOneTimeInThreeUnits) {
    CTimer timer;
    timer.start();
    passTime();
    timer.stop();
    EXPECT_DOUBLE_EQ(timer.milliseconds(), timer.seconds() * 1e3);
    EXPECT_DOUBLE_EQ(timer.microseconds(), timer.seconds() * 1e6);
}

}  // namespace
}  // namespace halyard
