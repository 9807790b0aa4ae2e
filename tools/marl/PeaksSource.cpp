// SPDX-License-Identifier: MIT
#include "marl/PeaksSource.h"

#include <MarlCore/Files/streaming/CDiskFileData.h>

#include <filesystem>

namespace marl::tool {
namespace {

/// Hands on everything to the data of a file, and shows how far the samples are read.
class WatchedFileData : public IFileData {
public:
    WatchedFileData(const IFileDataRef& data, ProgressBar& progress)
        : IFileData(false), m_data(data), m_progress(progress) {}

    std::string read4Char() override { return m_data->read4Char(); }
    std::uint32_t readUInt32() override { return m_data->readUInt32(); }
    long long readBytes(long long count, char* buffer) override { return m_data->readBytes(count, buffer); }
    long long advance(long long count) override { return m_data->advance(count); }
    long long seek(long long offset, bool relative) override { return m_data->seek(offset, relative); }
    void rewindToStart() override { m_data->rewindToStart(); }
    long long currentMark() override { return m_data->currentMark(); }
    long long getFileLength() override { return m_data->getFileLength(); }
    bool atEOF() override { return m_data->atEOF(); }

    void setSampleConversion(AudioStreamBasicDescription fileFormat, int frames, long long dataOffset,
                             AudioStreamBasicDescription outputFormat) override {
        m_data->setSampleConversion(fileFormat, frames, dataOffset, outputFormat);
    }
    bool getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames, long long* dataOffset,
                             AudioStreamBasicDescription* outputFormat) override {
        return m_data->getSampleConversion(fileFormat, frames, dataOffset, outputFormat);
    }
    bool isSampleRangeLoaded(int first, int last) override {
        return m_data->isSampleRangeLoaded(first, last);
    }

    const void* readSamples(int first, int last, int* outLast, bool load) override {
        showProgressAt(first);
        return m_data->readSamples(first, last, outLast, load);
    }

private:
    /// In whole seconds of sound.
    void showProgressAt(int sample) {
        AudioStreamBasicDescription format;
        int frames = 0;
        if (!getSampleConversion(nullptr, &frames, nullptr, &format)) return;
        const auto seconds = [&](double frame) { return static_cast<int>(frame / format.mSampleRate); };
        m_progress.show(seconds(static_cast<double>(sample) / format.mChannelsPerFrame), seconds(frames));
    }

    IFileDataRef m_data;
    ProgressBar& m_progress;
};

class LoopAudio : public IAudioSource {
public:
    explicit LoopAudio(const IFileDataRef& data) : m_data(data) {}
    IFileDataRef getFileData() override { return m_data; }

private:
    IFileDataRef m_data;
};

/// Of the pool, where this process has none yet: a file that is read once, from its first sample to the last,
/// goes through a few buffers, which then stay in the processor's cache.
constexpr int kBuffers = 8;

/// Two minutes of a CD. Less comes even from a slow disk before anybody could read a bar.
constexpr long long kBytesOfLongFile = 20'000'000;

}  // namespace

PeaksSource::PeaksSource(const std::string& path, bool isProgressShown, std::ostream& err)
    : m_progress(isProgressShown, std::filesystem::path(path).filename().string(), err) {
    const LoopFile loop = openLoopFile(path);
    CDiskFileData::AllocateBufferPool(kBuffers);
    loop.file->useDiskFileData(urlOfPath(path), false);
    m_channels = loop.format.mChannelsPerFrame;
    m_sampleRate = loop.format.mSampleRate;
    const auto output =
        platform::makeHostFormat(m_sampleRate, m_channels, loop.format.mBitsPerChannel == 32 ? 32 : 16);
    loop.data().setSampleConversion(loop.format, static_cast<int>(loop.parser().getLengthInFrames()),
                                    loop.parser().getSampleOffset(), output);
    int frames = 0;
    loop.data().getSampleConversion(nullptr, &frames, nullptr, nullptr);
    m_frames = static_cast<std::uint32_t>(frames);
    IFileDataRef data = loop.file->getFileDataRef();
    if (isProgressShown && loop.parser().getSampleLengthInBytes() >= kBytesOfLongFile)
        data = new WatchedFileData(data, m_progress);
    m_source = new LoopAudio(data);
}

}  // namespace marl::tool
