// SPDX-License-Identifier: MIT
// The table built on the timer, in a time of the test's own.
#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/RunLoop.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "MediaManager/SampledSource.h"

namespace marl {
namespace {

using platform::NotificationCenter;
using platform::RunLoop;
using support::listOf;
using support::SampledSource;

class PeaksTimer : public support::PeaksTest {
protected:
    PeaksTimer() {
        center().addObserver(
            this,
            [this](const platform::Notification& notification) {
                ++m_updates;
                m_updated = notification.object;
                if (m_onUpdate) m_onUpdate();
            },
            MarlDidUpdateAudioWaveform, nullptr);
    }
    ~PeaksTimer() override { center().removeObserver(this); }

    static NotificationCenter& center() { return NotificationCenter::defaultCenter(); }
    static void post(std::string_view name) { center().postNotification(name, nullptr); }

    /// Lets a period pass, and returns how many updates were posted.
    int tick() {
        m_now = std::max(m_now, platform::AbsoluteTimeGetCurrent()) + 0.1;
        const int before = m_updates;
        RunLoop::current().fireDueTimers(m_now);
        return m_updates - before;
    }

    void finish(PeaksManager& manager) {
        for (int ticks = 0; !manager.isPeaksTableBuilt() && ticks < 100'000; ++ticks) tick();
        ASSERT_TRUE(manager.isPeaksTableBuilt());
    }

    double m_now = 0;
    int m_updates = 0;
    const void* m_updated = nullptr;
    std::function<void()> m_onUpdate;
};

TEST_F(PeaksTimer, BuildsTheSameTableAsAtOnceAndPausesWithTheTransport) {
    for (const int bits : {16, 32}) {
        for (const unsigned channels : {1u, 2u}) {
            constexpr std::uint32_t kLength = 20'000 * kInterval;
            SampledSource source(bits, channels, kLength, channels);
            source.data->mostAtOnce = 1000;
            PeaksManager onTimer(source), atOnce(source);
            onTimer.startPeriodicPeakBuilding();
            EXPECT_EQ(tick(), 1);
            EXPECT_EQ(m_updated, static_cast<const PeaksAudioSource*>(&source));
            for (int songs = 0; songs < 3; ++songs) {
                post(xMarlWillStartTransport);
                EXPECT_EQ(tick(), 0) << "it plays";
                post(xMarlDidResumeTransport);
                EXPECT_EQ(tick(), 0) << "it plays on";
                post(songs % 2 == 0 ? xMarlDidStopTransport : xMarlDidPauseTransport);
                if (!onTimer.isPeaksTableBuilt()) {
                    EXPECT_EQ(tick(), 1);
                }
            }
            finish(onTimer);
            EXPECT_EQ(tick(), 0) << "nothing is left to do";
            atOnce.createPeakTable();
            for (const int columns : {1, 777, 19'999}) {
                if (channels == 1)
                    EXPECT_EQ(listOf(onTimer.getPeaksFromFrame(0, kLength - 1, columns, false)),
                              listOf(atOnce.getPeaksFromFrame(0, kLength - 1, columns, false)));
                else
                    EXPECT_EQ(listOf(onTimer.getStereoPeaksFromFrame(0, kLength - 1, columns, false)),
                              listOf(atOnce.getStereoPeaksFromFrame(0, kLength - 1, columns, false)));
            }
        }
    }
}

TEST_F(PeaksTimer, LeavesOutTheRestOfAnInterval) {
    SampledSource source(16, 1, 10 * kInterval + 5);
    source.data->set(10 * kInterval, 0, 0.999f);
    PeaksManager manager(source);
    manager.startPeriodicPeakBuilding();
    finish(manager);
    const auto peaks = manager.getPeaksFromFrame(0, source.length - 1, 1, false);
    EXPECT_EQ(listOf(peaks), support::scannedPeaks(*source.data, 1, 0, 10 * kInterval - 1, 1));
}

TEST_F(PeaksTimer, ShowsWhatIsBuilt) {
    SampledSource source(16, 1, 1000 * kInterval);
    PeaksManager manager(source);
    manager.startPeriodicPeakBuilding();
    const auto drawnColumns = [&] {
        const auto image = manager.waveformImageForSize({100, 20}, 0, source.length - 1, false);
        const auto pixels = image.representations().at(0)->pixels();
        int columns = 0;
        for (std::size_t column = 0; column < 100; ++column)
            for (std::size_t row = 0; row < 20; ++row)
                if (pixels[row * 100 + column] != 0) {
                    ++columns;
                    break;
                }
        return columns;
    };
    EXPECT_EQ(drawnColumns(), 0);
    tick();  // 50 entries: the last one is in column 5; and pixels for as many columns as there are frames
    EXPECT_EQ(drawnColumns(), 100);
    const auto peaks = listOf(manager.getPeaksFromFrame(0, source.length - 1, 100, false));
    EXPECT_EQ(std::ranges::count(peaks, (Peak{0, 0})), 94);
}

TEST_F(PeaksTimer, DoesNothingOnceStoppedOrOffline) {
    SampledSource source(16, 2, 1000 * kInterval);
    PeaksManager manager(source);
    manager.peakBuildingTimer();
    EXPECT_EQ(m_updates, 0) << "not begun";
    manager.startPeriodicPeakBuilding();
    source.isOffline = true;
    EXPECT_EQ(tick(), 0);
    source.isOffline = false;
    EXPECT_EQ(tick(), 1);
    manager.stopPeriodicPeakBuilding();
    manager.peakBuildingTimer();  // delivered late
    EXPECT_EQ(m_updates, 1);
    manager.resumePeriodicPeakBuilding();
    manager.resumePeriodicPeakBuilding();
    EXPECT_EQ(tick(), 1) << "one timer";
    post(platform::ApplicationWillTerminateNotification);
    post(xMarlDidStopTransport);
    EXPECT_EQ(tick(), 0);
    EXPECT_EQ(RunLoop::current().nextFireDate(), std::nullopt);
}

TEST_F(PeaksTimer, BuildsTablesOfNoEntries) {
    for (const std::uint32_t length : {0u, 1u, kInterval - 1}) {
        SampledSource source(16, 1, length);
        PeaksManager manager(source);
        manager.startPeriodicPeakBuilding();
        EXPECT_EQ(tick(), 1);
        EXPECT_TRUE(manager.isPeaksTableBuilt());
    }
}

TEST_F(PeaksTimer, BeginsAnewForAnotherLength) {
    SampledSource source(16, 1, 1000 * kInterval);
    const SampledSource shorter(16, 1, 100 * kInterval, 9);
    PeaksManager manager(source);
    manager.startPeriodicPeakBuilding();
    m_onUpdate = [&] {  // as a view does that draws itself
        source.audio = shorter.audio;
        source.length = shorter.length;
        manager.getPeaksFromFrame(0, source.length - 1, 3, false);
    };
    tick();
    EXPECT_EQ(manager.secondsSpentInTicks(), 0) << "the tick was one of the old build";
    finish(manager);
    const std::uint32_t last = shorter.length - 1;
    EXPECT_EQ(listOf(manager.getPeaksFromFrame(0, last, 1, false)),
              support::scannedPeaks(*shorter.data, 1, 0, last, 1));
    m_onUpdate = nullptr;
    source.length = 50 * kInterval;
    manager.createPeakTable();
    manager.getPeaksFromFrame(0, source.length - 1, 3, false);
    EXPECT_FALSE(manager.isPeaksTableBuilt()) << "begun again, and never at once";
}

TEST_F(PeaksTimer, OutlivesNeitherItsManagerNorAnObserverThatEndsIt) {
    SampledSource source(16, 1, 1000 * kInterval);
    auto manager = std::make_unique<PeaksManager>(source);
    manager->startPeriodicPeakBuilding();
    m_onUpdate = [&] { manager.reset(); };
    EXPECT_EQ(tick(), 1);
    EXPECT_EQ(RunLoop::current().nextFireDate(), std::nullopt);
    post(xMarlDidStopTransport);
    EXPECT_EQ(tick(), 0);
}

TEST_F(PeaksTimer, SizesTicksToThreeQuartersOfAPeriod) {
    const double period = 1.0 / 15;
    const struct {
        float perCall;
        double seconds;
        float next;
    } kRows[] = {{50, period * 0.75, 50},
                 {50, period * 0.375, 100},
                 {50, period * 1.5, 25},
                 {50, period * 37.5, 5},
                 {5, 1000, 5}};
    for (const auto& row : kRows)
        EXPECT_FLOAT_EQ(PeaksManager::entriesOfNextTick(row.perCall, row.seconds), row.next) << row.seconds;
    EXPECT_GT(PeaksManager::entriesOfNextTick(50, 0), 1e6f);
}

}  // namespace
}  // namespace marl
