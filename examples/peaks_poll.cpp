// SPDX-License-Identifier: MIT
// Draws a waveform while its table is still being built, from a poll loop of the program's own:
//
//     peaks_poll loop.aif
//
// The run loop's file descriptor is one among those that the program waits for, here beside standard input.
// Type p and Return to play (the build pauses), s to stop (it goes on) and q to quit.
#include <MarlCore/Common/MarlPreferences.h>
#include <MarlCore/Files/IFile.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/RunLoop.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace {

/// The samples of a file, streamed at its own rate, for the waveform to be drawn of: what a host with audio
/// sources of its own writes. `marl::AudioSource` is one that is there already, in the format of a project.
class File : public marl::PeaksAudioSource {
public:
    explicit File(const char* path) {
        const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
        const marl::IFileRef file(marl::IFile::New(url, false));
        marl::IFileParser& parser = *file->getFileParserRef();
        parser.parse(marl::IFileParser::kFormatInfo + marl::IFileParser::kSampleOffset);
        marl::IFileParser::FormatInfo format;
        parser.getFormatInfo(format);
        file->useDiskFileData(url, false);
        m_channels = format.mChannelsPerFrame;
        m_frames = static_cast<std::uint32_t>(parser.getLengthInFrames());
        const auto output = platform::makeHostFormat(format.mSampleRate, m_channels, 16);
        file->getFileDataRef()->setSampleConversion(format, static_cast<int>(m_frames),
                                                    parser.getSampleOffset(), output);
        m_audio = new Audio(file->getFileDataRef());
    }

    unsigned numberOfChannels() override { return m_channels; }
    std::uint32_t lengthInFrames() override { return m_frames; }
    bool offline() override { return false; }
    marl::IAudioSourceRef sourceRef() override { return m_audio; }

private:
    struct Audio : marl::IAudioSource {
        explicit Audio(marl::IFileDataRef samples) : data(std::move(samples)) {}
        marl::IFileDataRef getFileData() override { return data; }
        marl::IFileDataRef data;
    };

    unsigned m_channels = 0;
    std::uint32_t m_frames = 0;
    marl::IAudioSourceRef m_audio;
};

/// What is built so far, in one line of the terminal: how loud each seventieth part is.
void draw(marl::PeaksManager& peaks) {
    constexpr int kColumns = 70;
    constexpr char kLevels[] = " .:-=+*#%@";
    const std::uint32_t length = std::max(peaks.lengthInFrames(), 1u);
    const auto columns = peaks.getPeaksFromFrame(0, length - 1, kColumns, true);
    const auto stereo = columns ? nullptr : peaks.getStereoPeaksFromFrame(0, length - 1, kColumns, true);
    std::string line;
    for (std::size_t i = 0; i < kColumns; ++i) {
        const float loudness = columns  ? columns->peaks()[i].maximum
                               : stereo ? stereo->peaks()[2 * i].maximum
                                        : 0;
        line += kLevels[static_cast<int>(std::clamp(loudness, 0.0f, 1.0f) * 9)];
    }
    std::printf("\r[%s]%s", line.c_str(), peaks.isPeaksTableBuilt() ? "\n" : "");
    std::fflush(stdout);
}

/// Posts what a key stands for. False for the end.
bool obey(char key) {
    auto& center = platform::NotificationCenter::defaultCenter();
    if (key == 'p') center.postNotification(marl::xMarlWillStartTransport, nullptr);
    if (key == 's') center.postNotification(marl::xMarlDidStopTransport, nullptr);
    return key != 'q';
}

void run(const char* path) {
    marl::MarlPreferences::initializeDefaults();
    File file(path);
    marl::PeaksManager peaks(file);
    auto& center = platform::NotificationCenter::defaultCenter();
    center.addObserver(
        &file, [&](const platform::Notification&) { draw(peaks); }, marl::MarlDidUpdateAudioWaveform,
        static_cast<const marl::PeaksAudioSource*>(&file));
    peaks.startPeriodicPeakBuilding();

    auto& loop = platform::RunLoop::current();
    pollfd waitingFor[] = {{loop.fileDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    bool isWanted = true;
    while (isWanted && !peaks.isPeaksTableBuilt()) {
        if (::poll(waitingFor, 2, -1) < 0) break;
        if (waitingFor[0].revents != 0) loop.fireDueTimers(platform::AbsoluteTimeGetCurrent());
        char key;
        if (waitingFor[1].revents != 0) {
            if (::read(STDIN_FILENO, &key, 1) == 1)
                isWanted = obey(key);
            else
                waitingFor[1].fd = -1;  // no more keys
        }
    }
    center.removeObserver(&file);
    draw(peaks);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: peaks_poll FILE\n");
        return 2;
    }
    try {
        run(argv[1]);
        return 0;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "peaks_poll: %s: %s\n", argv[1], exception.what());
        return 1;
    }
}
