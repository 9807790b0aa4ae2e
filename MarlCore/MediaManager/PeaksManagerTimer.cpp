// SPDX-License-Identifier: MIT
// The table built on a timer, while the user works and the transport stands still.
#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/MediaManager/PeaksReaderImpl.h>
#include <MarlCore/foundation/CTimer.h>

#include <algorithm>
#include <utility>

namespace marl {
namespace {

using platform::Notification;
using platform::NotificationCenter;

constexpr double kPeriod = 1.0 / 15;       // seconds
constexpr double kShareOfPeriod = 0.75;    // that a tick is to take
constexpr float kEntriesOfFirstTick = 50;  // however slow the disk
constexpr float kFewestEntries = 5;
constexpr double kShortestTick = 1e-6;  // seconds; a clock may stand still

}  // namespace

void PeaksManager::startPeriodicPeakBuilding() {
    if (m_peaksTableBuilt || isTimerRunning()) return;
    createTimerTable();
    observeTransport();
    resumePeriodicPeakBuilding();
}

void PeaksManager::createTimerTable() {
    const std::uint32_t interval = peaksTableInterval();
    const std::uint32_t entries = lengthInFrames() / interval;
    const unsigned channelCount = channels();
    PeaksCPP tables;
    if (channelCount == 1)
        tables.mono = new CPeaksBuffer(entries);
    else
        tables.stereo = new CStereoPeaksBuffer(entries);
    m_cpp = tables;  // both: nothing stays of a file that had other channels
    m_savedLengthInFrames = lengthInFrames();
    m_savedInterval = interval;
    m_timerData = {};
    m_timerData.m_buildingPeaksOnTimer = true;
    m_timerData.m_peakTimerTableLength = entries;
    m_timerData.m_peakTimerEntryInterval = interval;
    m_timerData.m_channels = channelCount;
    m_timerData.m_tableEntriesPerTimerCall = kEntriesOfFirstTick;
}

void PeaksManager::observeTransport() {
    using Handler = void (PeaksManager::*)(const Notification&);
    const std::pair<std::string_view, Handler> handlers[] = {
        {xMarlWillStartTransport, &PeaksManager::transportStarting},
        {xMarlDidStopTransport, &PeaksManager::transportStopped},
        {xMarlDidPauseTransport, &PeaksManager::transportStopped},
        {xMarlDidResumeTransport, &PeaksManager::transportStarted},
        {platform::ApplicationWillTerminateNotification, &PeaksManager::applicationWillTerminate},
    };
    NotificationCenter& center = NotificationCenter::defaultCenter();
    center.removeObserver(this);  // of a build that was not finished
    for (const auto& [name, handler] : handlers)
        center.addObserver(
            this, [this, call = handler](const Notification& notification) { (this->*call)(notification); },
            name, nullptr);
}

bool PeaksManager::isTimerRunning() const noexcept {
    return m_timerData.m_timer && m_timerData.m_timer->isValid();
}

void PeaksManager::resumePeriodicPeakBuilding() {
    if (isTimerRunning()) return;
    m_timerData.m_timer = platform::Timer::scheduledTimerWithTimeInterval(
        kPeriod, true, [this](platform::Timer&) { peakBuildingTimer(); });
    m_timerData.m_timerToldToInvalidate = false;
}

void PeaksManager::stopPeriodicPeakBuilding() {
    if (m_timerData.m_timer) m_timerData.m_timer->invalidate();
    m_timerData.m_timerToldToInvalidate = true;
    m_timerData.m_timer = nullptr;
}

void PeaksManager::applicationWillTerminate(const Notification&) {
    stopPeriodicPeakBuilding();
    NotificationCenter::defaultCenter().removeObserver(this);
}

void PeaksManager::peakBuildingTimer() {
    PeakTimerData& data = m_timerData;
    if (!data.m_buildingPeaksOnTimer || data.m_timerToldToInvalidate || m_audioSource.offline()) return;
    halyard::CTimer stopwatch;
    stopwatch.start();
    const std::uint32_t left = data.m_peakTimerTableLength - data.m_peakTimerEntriesComplete;
    const double wanted = std::min<double>(data.m_tableEntriesPerTimerCall, left);
    buildTableEntries(static_cast<std::uint32_t>(wanted));

    // An observer may begin the table anew, and may end the source and this manager with it.
    const std::uint32_t end = data.m_peakTimerEntriesComplete;
    const std::weak_ptr<const bool> life = m_life;
    NotificationCenter::defaultCenter().postNotification(MarlDidUpdateAudioWaveform, &m_audioSource);
    if (life.expired() || data.m_peakTimerEntriesComplete != end) return;

    stopwatch.stop();
    data.m_totalTimeRequired += stopwatch.seconds();
    if (end == data.m_peakTimerTableLength) {
        NotificationCenter::defaultCenter().removeObserver(this);
        m_peaksTableBuilt = true;
        stopPeriodicPeakBuilding();
    } else {
        data.m_tableEntriesPerTimerCall =
            entriesOfNextTick(data.m_tableEntriesPerTimerCall, stopwatch.seconds());
    }
}

/// The next `count` entries, which wait for the disk.
void PeaksManager::buildTableEntries(std::uint32_t count) {
    PeakTimerData& data = m_timerData;
    const bool isMono = data.m_channels == 1;
    const std::size_t lanes = isMono ? 1 : 2;
    const auto table = isMono ? m_cpp.mono->peaks() : m_cpp.stereo->peaks();
    const auto range =
        peaks::FrameRange::ofEntries(data.m_builtPeakLength, data.m_peakTimerEntryInterval, count);
    const IFileDataRef samples = fileData();
    peaks::readPeaks(*samples, range, true, static_cast<unsigned>(lanes),
                     table.subspan(data.m_peakTimerEntriesComplete * lanes, count * lanes));
    data.m_builtPeakLength = static_cast<std::uint32_t>(range.end);
    data.m_peakTimerEntriesComplete += count;
}

float PeaksManager::entriesOfNextTick(float perCall, double seconds) noexcept {
    const double share = kPeriod / std::max(seconds, kShortestTick) * kShareOfPeriod;
    return std::max(static_cast<float>(perCall * share), kFewestEntries);
}

}  // namespace marl
