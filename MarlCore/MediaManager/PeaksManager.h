// SPDX-License-Identifier: MIT
/// \file
/// Waveform overviews of an audio source.
#pragma once

#include <MarlCore/MediaManager/CPeaksBuffer.h>
#include <MarlCore/MediaManager/PeaksAudioSource.h>
#include <MarlCore/platform/Color.h>
#include <MarlCore/platform/Image.h>
#include <MarlCore/platform/NotificationCenter.h>
#include <MarlCore/platform/Timer.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace marl {

/// Turns the samples of one audio source into a table of peaks for the whole file, into one peak a column for
/// any range and width, and into pictures of them.
///
/// The table has one entry for each "Peaks Table Interval" (a preference) frames, as many as fit whole into
/// the source. It is built at once when peaks are first asked for, or a few entries at a time on a timer of
/// this thread's `platform::RunLoop` after `startPeriodicPeakBuilding`. Peaks at a finer scale than that are
/// read from the samples. On the timer, entry k has the frames from k times the interval on; at once, the
/// entries share all frames evenly, and so none is left over. Both are the same where the length is a whole
/// number of intervals.
///
/// Frames are counted from 0; ranges have both their ends. Images and peaks of a source whose samples cannot
/// be read are flat; samples that are NaN count for nothing. Throws `halyard::CException` when there is no
/// memory for peaks. [main thread]
class MARLCORE_EXPORT PeaksManager {
public:
    /// `audioSource` owns the manager, and so outlives it. The colour is `MarlWaveformColor`.
    explicit PeaksManager(PeaksAudioSource& audioSource);
    PeaksManager(const PeaksManager&) = delete;
    PeaksManager& operator=(const PeaksManager&) = delete;
    ~PeaksManager();

    unsigned channels() { return m_audioSource.numberOfChannels(); }
    std::uint32_t lengthInFrames() { return m_audioSource.lengthInFrames(); }

    // ---- Images ----

    /// Null where there would be no pixels, or more than memory holds.
    static platform::BitmapImageRepRef createEmptyBitmapWithWidth(unsigned width, unsigned height);

    /// The whole source, `size.width` columns wide. The last image answers again while the cache is valid and
    /// its size is this one without fractions, or one pixel wider: a view that is resized by a pixel is not
    /// drawn anew. So while the table is built on the timer, `invalidateCache` goes before each drawing that
    /// is to show more of it. The image is clear where the source has other than one or two channels, is
    /// shorter than an entry of the table, or has one channel that is delivered as more. Only the
    /// table waits for the disk: columns that are finer than it are flat unless their samples are in memory.
    platform::Image waveformImageForSize(platform::Size size);
    /// The same of a range, neither from the cache nor for it. `isPlaying`: only samples that are in memory
    /// are looked at, so that nobody waits for the disk; always so while the table is not complete.
    platform::Image waveformImageForSize(platform::Size size, std::uint32_t from, std::uint32_t to,
                                         bool isPlaying);

    const platform::Color& waveformColor() const noexcept { return m_waveformColor; }
    /// Counts for pictures that are drawn from now on; the cached one stays.
    void setWaveformColor(const platform::Color& color) noexcept;
    /// For the host, 0 to 1; the drawing does not use it.
    float waveformOpacity() const noexcept { return m_waveformOpacity; }
    void setWaveformOpacity(float opacity) noexcept { m_waveformOpacity = opacity; }

    void invalidateCache() noexcept { m_validCache = false; }
    void invalidatePeaksTable() noexcept { m_peaksTableBuilt = false; }
    void cacheImage(const platform::Image& image) { m_cachedImage = image; }
    void cacheSize(platform::Size size) noexcept { m_cachedImageSize = size; }

    // ---- Peaks ----

    /// Builds the table at once and waits for the disk, unless it is being built, or was once built, on the
    /// timer: then that fills it.
    void createPeakTable();
    bool isPeaksTableBuilt() const noexcept { return m_peaksTableBuilt; }
    /// Whether the table comes from the timer, once and for all.
    bool isBuiltOnTimer() const noexcept { return m_timerData.m_buildingPeaksOnTimer; }
    /// Frames an entry of a table, by the preference. Where that makes no sense (it is missing, zero or
    /// negative) 256 count: it is a divisor.
    static std::uint32_t peaksTableInterval();

    /// Peaks of the frames `from` to `to` in `size` columns (0: none): from the samples up to one interval a
    /// column, from the table beyond, where a column without entries is (0, 0). Null while there is no table,
    /// and where the source has not the channels: one, or two for stereo. A source that has changed its
    /// length since gets a new table, and so does a changed interval.
    CPeaksBufferRef getPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size, bool isPlaying);
    CStereoPeaksBufferRef getStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                  bool isPlaying);

    // The same straight from the samples, each frame of the range in one column; a column without a frame is
    // (-1, 1). The samples are read in the width that they have, whichever of the two is asked. Stereo: the
    // first two channels, or the only one twice. Zero peaks where something cannot be read, full scale (1,
    // -1) where the data has no format.

    CPeaksBufferRef shortMonoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size, bool isPlaying);
    CStereoPeaksBufferRef shortStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                    bool isPlaying);
    CPeaksBufferRef floatMonoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size, bool isPlaying);
    CStereoPeaksBufferRef floatStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                    bool isPlaying);

    // ---- Drawing ----

    /// Draws one vertical line a column, in the waveform colour over what is there. Row 0, the first one in
    /// memory, shows the lowest values. What does not fit into the bitmap is not drawn.
    void drawMonoWaveform(const CPeaksBufferRef& peaks, platform::Size size,
                          platform::BitmapImageRep& bitmap) const;
    /// The same with the left channel in the first half of the rows, the right one in the second.
    void drawStereoWaveform(const CStereoPeaksBufferRef& peaks, platform::Size size,
                            platform::BitmapImageRep& bitmap) const;

    // ---- Building on the timer ----

    /// Begins the table anew, unless it is complete or a timer runs. From now on the build pauses while the
    /// transport plays, and the manager never builds at once any more.
    void startPeriodicPeakBuilding();
    void resumePeriodicPeakBuilding();
    void stopPeriodicPeakBuilding();
    /// One tick: builds as many entries as take three quarters of the timer's period, going by the tick
    /// before, and posts `MarlDidUpdateAudioWaveform` with the audio source (as `const PeaksAudioSource*`).
    /// Does nothing after `stopPeriodicPeakBuilding` or while the source is offline. A host that has no run
    /// loop may call it itself.
    void peakBuildingTimer();
    /// How many entries the next tick is to build after one that was meant to build `perCall` and took
    /// `seconds`: at least 5.
    static float entriesOfNextTick(float perCall, double seconds) noexcept;
    /// What all ticks so far have taken, in seconds.
    double secondsSpentInTicks() const noexcept { return m_timerData.m_totalTimeRequired; }

    void transportStarting(const platform::Notification&) { stopPeriodicPeakBuilding(); }
    void transportStopped(const platform::Notification&) { resumePeriodicPeakBuilding(); }
    /// The build stays paused until the transport stops, so playing on changes nothing.
    void transportStarted(const platform::Notification&) {}
    void applicationWillTerminate(const platform::Notification&);

private:
    struct PeaksCPP {
        CPeaksBufferRef mono;
        CStereoPeaksBufferRef stereo;
    };

    struct PeakTimerData {
        bool m_buildingPeaksOnTimer = false;  // never false again
        bool m_timerToldToInvalidate = false;
        std::uint32_t m_builtPeakLength = 0;  // the first frame that the table does not cover yet
        std::uint32_t m_peakTimerEntriesComplete = 0;
        std::uint32_t m_peakTimerTableLength = 0;    // entries
        std::uint32_t m_peakTimerEntryInterval = 1;  // frames an entry
        std::uint32_t m_channels = 0;
        float m_tableEntriesPerTimerCall = 0;
        platform::TimerRef m_timer;
        double m_totalTimeRequired = 0;  // seconds
    };

    IFileDataRef fileData();
    unsigned drawableChannels();
    platform::Image drawnImage(platform::Size size, std::uint32_t from, std::uint32_t to, bool isPlaying);
    void drawRange(platform::Size size, std::uint32_t from, std::uint32_t to, bool isPlaying,
                   platform::BitmapImageRep& bitmap);

    template <typename Buffer>
    halyard::CSharedObjectRef<Buffer>& table();
    template <typename Buffer>
    halyard::CSharedObjectRef<Buffer> peaksOfRange(std::uint32_t from, std::uint32_t to, int size,
                                                   bool isPlaying);
    template <typename Buffer>
    halyard::CSharedObjectRef<Buffer> peaksFromFile(std::uint32_t from, std::uint32_t to, int size,
                                                    bool isPlaying);
    template <typename Buffer>
    halyard::CSharedObjectRef<Buffer> peaksFromTable(const Buffer& table, std::uint32_t from,
                                                     std::uint32_t to, std::uint32_t size) const;
    void updateTable();

    void createTimerTable();
    void observeTransport();
    void buildTableEntries(std::uint32_t count);
    bool isTimerRunning() const noexcept;
    unsigned drawableColumns(platform::Size size, const platform::BitmapImageRep& bitmap,
                             std::uint32_t entries) const noexcept;

    PeaksAudioSource& m_audioSource;
    PeaksCPP m_cpp;
    bool m_peaksTableBuilt = false;
    bool m_validCache = false;
    std::optional<platform::Image> m_cachedImage;
    platform::Size m_cachedImageSize;
    platform::Color m_waveformColor;
    std::uint32_t m_waveformColorAsLong;  // a pixel
    float m_waveformOpacity;
    PeakTimerData m_timerData;
    std::uint32_t m_savedLengthInFrames = 0;  // of the source when the table was made
    std::uint32_t m_savedInterval = 0;        // frames an entry of the table
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
};

/// Sets `count` pixels to `color` (bytes in memory: red, green, blue, alpha), one in each row: the first one
/// and those that lie `pixelsPerRow` further each.
MARLCORE_EXPORT void DrawVerticalLine(std::uint32_t* firstPixel, unsigned count, unsigned pixelsPerRow,
                                      std::uint32_t color) noexcept;

}  // namespace marl
