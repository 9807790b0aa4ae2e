// SPDX-License-Identifier: MIT
/// \file
/// An audio source whose samples are known, and how waveforms of it must look.
#pragma once

#include <MarlCore/MediaManager/PeaksAudioSource.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/platform/UserDefaults.h>

#include <gtest/gtest.h>

#include <vector>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

namespace support {

/// Interleaved samples in memory, handed out in blocks of `mostAtOnce`, and what goes wrong with them.
struct SampledData : marl::IFileData {
    SampledData(int bits, unsigned channels, std::uint32_t frames, unsigned seed);

    std::string read4Char() override { return ""; }
    std::uint32_t readUInt32() override { return 0; }
    long long readBytes(long long, char*) override { return 0; }
    long long advance(long long) override { return 0; }
    long long seek(long long, bool) override { return 0; }
    void rewindToStart() override {}
    long long currentMark() override { return 0; }
    long long getFileLength() override { return 0; }
    bool atEOF() override { return true; }
    void setSampleConversion(marl::AudioStreamBasicDescription, int, long long,
                             marl::AudioStreamBasicDescription) override {}
    bool getSampleConversion(marl::AudioStreamBasicDescription*, int* frames, long long*,
                             marl::AudioStreamBasicDescription* output) override;
    bool isSampleRangeLoaded(int, int) override { return true; }
    const void* readSamples(int first, int last, int* outLast, bool load) override;

    std::uint32_t frames() const {
        return static_cast<std::uint32_t>(values.size()) / format.mChannelsPerFrame;
    }
    float value(std::uint64_t frame, unsigned channel) const {
        return values[static_cast<std::size_t>(frame) * format.mChannelsPerFrame + channel];
    }
    void set(std::uint64_t frame, unsigned channel, float value);

    marl::AudioStreamBasicDescription format;
    std::vector<float> values;  // what the samples stand for
    int mostAtOnce = 1 << 20;   // samples
    bool isDescribed = true;
    bool onlyLoads = false;  // as if nothing were in memory
    int failingSample = -1;  // reading it throws

private:
    void encode(std::size_t sample);

    std::vector<std::byte> m_bytes;
};

/// A source of such samples.
struct SampledSource : marl::PeaksAudioSource {
    SampledSource(int bits, unsigned channels, std::uint32_t frames, unsigned seed = 1);

    unsigned numberOfChannels() override { return channels; }
    std::uint32_t lengthInFrames() override { return length; }
    bool offline() override { return isOffline; }
    marl::IAudioSourceRef sourceRef() override { return audio; }

    halyard::CSharedObjectRef<SampledData> data;
    marl::IAudioSourceRef audio;
    unsigned channels;
    std::uint32_t length;
    bool isOffline = false;
};

using Peaks = std::vector<marl::Peak>;

/// By a plain scan: each frame goes to the entry that its distance from `from` makes of `columns`. A column
/// without a frame is (-1, 1).
Peaks scannedPeaks(const SampledData& data, unsigned lanes, std::uint32_t from, std::uint32_t to,
                   int columns);

template <typename BufferRef>
Peaks listOf(const BufferRef& buffer) {
    return {buffer->peaks().begin(), buffer->peaks().end()};
}

/// Tests of managers. The settings of this process are nobody's own, and the interval is `kInterval`.
class PeaksTest : public testing::Test {
protected:
    static constexpr std::uint32_t kInterval = 16;

    PeaksTest() { setInterval(kInterval); }
    static void setInterval(int frames) {
        platform::UserDefaults::standardUserDefaults().registerDefaults({{"Peaks Table Interval", frames}});
    }

private:
    TemporaryFolder m_home;
    EnvironmentVariable m_variable{"XDG_CONFIG_HOME", m_home.path().c_str()};
};

}  // namespace support
