// SPDX-License-Identifier: MIT
#include "Waveform.h"

#include <MarlCore/Files/IFile.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace browser {
namespace {

struct StreamedFile : marl::IAudioSource {
    explicit StreamedFile(marl::IFileDataRef samples) : data(std::move(samples)) {}
    marl::IFileDataRef getFileData() override { return data; }
    marl::IFileDataRef data;
};

constexpr double kLongestLoop = 30;  // seconds, which take some milliseconds to read

float level(float value) {
    return std::clamp(value, 0.0f, 1.0f);
}

float loudest(const marl::Peak& peak) {
    return level(std::fmax(peak.maximum, -peak.minimum));
}

Levels ofOneChannel(std::span<const marl::Peak> peaks) {
    Levels levels;
    for (const marl::Peak& peak : peaks) {
        levels.up.push_back(level(peak.maximum));
        levels.down.push_back(level(-peak.minimum));
    }
    return levels;
}

Levels ofTwoChannels(std::span<const marl::Peak> peaks) {
    Levels levels;
    for (std::size_t i = 0; i + 1 < peaks.size(); i += 2) {
        levels.up.push_back(loudest(peaks[i]));
        levels.down.push_back(loudest(peaks[i + 1]));
    }
    return levels;
}

}  // namespace

Waveform::Waveform(const std::string& path) {
    const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
    const marl::IFileRef file(marl::IFile::New(url, false));
    marl::IFileParser& parser = *file->getFileParserRef();
    parser.parse(marl::IFileParser::kFormatInfo);
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    file->useDiskFileData(url, false);
    m_channels = format.mChannelsPerFrame;
    m_frames = static_cast<std::uint32_t>(parser.getLengthInFrames());
    const auto output = platform::makeHostFormat(format.mSampleRate, m_channels, 16);
    file->getFileDataRef()->setSampleConversion(format, static_cast<int>(m_frames), parser.getSampleOffset(),
                                                output);
    m_source = new StreamedFile(file->getFileDataRef());
    if (parser.getLengthInSeconds() > kLongestLoop) m_peaks.startPeriodicPeakBuilding();
}

Levels Waveform::levels(std::size_t columns) {
    Levels levels;
    if (m_frames > 0 && columns > 0) {
        const int size = static_cast<int>(columns);
        if (const auto mono = m_peaks.getPeaksFromFrame(0, m_frames - 1, size, false))
            levels = ofOneChannel(mono->peaks());
        else if (const auto stereo = m_peaks.getStereoPeaksFromFrame(0, m_frames - 1, size, false))
            levels = ofTwoChannels(stereo->peaks());
    }
    levels.up.resize(columns);
    levels.down.resize(columns);
    return levels;
}

}  // namespace browser
