// SPDX-License-Identifier: MIT
/// \file
/// A player in miniature: mixes any number of voices in blocks of real time, out of the one pool of buffers,
/// while a thread reads ahead of them; and counts what was not there in time.
///
///     player [--voices N] [--minutes M] [--virtual | --pipe] FILE...
///     player --pipe beat.aif bass.wav | aplay -t raw -f FLOAT_LE -r 44100 -c 2
///
/// Every voice loops over one of the files, in stereo at 44.1 kHz. `--pipe` writes the mix to standard
/// output, which is the clock then. `--virtual` skips the time in which nobody has anything to do: see
/// `Clock`.
#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/streaming/CIORequestThread.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr double kRate = 44100;
constexpr int kChannels = 2;
constexpr int kFramesInBlock = 512;
constexpr int kSamplesInSlice = marl::CBufferPoolEntry::kBufferSize / sizeof(float);
constexpr int kMostSlicesAhead = 8;  // three quarters of a second
/// Of what the voices are played from; the rest is for slices that were played and not yet taken away.
constexpr double kUsableBuffers = 0.85 * marl::CDiskFileData::kPoolSize;

/// One file that is played round and round.
class Voice : public marl::IAudioSource {
public:
    explicit Voice(const std::string& path) {
        const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
        const marl::IFileRef file(marl::IFile::New(url, false));
        marl::IFileParser& parser = *file->getFileParserRef();
        parser.parse(marl::IFileParser::kBasicTaggingInfo);
        marl::IFileParser::FormatInfo format;
        parser.getFormatInfo(format);
        file->useDiskFileData(url, false);
        m_data = file->getFileDataRef();
        m_diskData = dynamic_cast<marl::CDiskFileData*>(m_data.get());
        if (!m_diskData) throw std::runtime_error(path + " cannot be streamed");
        m_data->setSampleConversion(format, static_cast<int>(parser.getLengthInFrames()),
                                    parser.getSampleOffset(), platform::makeHostFormat(kRate, kChannels, 32));
        int frames = 0;
        m_data->getSampleConversion(nullptr, &frames, nullptr, nullptr);
        if (frames == 0) throw std::runtime_error(path + " has no samples");
        m_samples = frames * kChannels;
    }

    marl::IFileDataRef getFileData() override { return m_data; }

    /// Where the voice begins: 0 to 1, over the length of its file.
    void startAt(double part) {
        m_played = m_requested = static_cast<int>(part * m_samples) / kChannels * kChannels;
    }

    /// Adds the samples that are due to the mix. False when some were not there in time. [playback]
    bool addTo(std::span<float> mix, float gain) {
        bool isComplete = true;
        forEachPiece(m_played, static_cast<int>(mix.size()), [&](int first, int count) {
            std::array<float, kFramesInBlock * kChannels> samples;
            const int there = m_diskData->copySamples(first, first + count - 1, samples.data());
            for (std::size_t i = 0; i < static_cast<std::size_t>(there); ++i) mix[i] += gain * samples[i];
            isComplete = isComplete && there == count;
            mix = mix.subspan(static_cast<std::size_t>(count));
        });
        m_played += kFramesInBlock * kChannels;
        return isComplete;
    }

    /// Calls `request(first, last)` for what was not yet asked for of the next `ahead` samples, a slice or
    /// the rest of one at a time, until that returns false. [playback]
    template <typename Request>
    void requestAhead(int ahead, Request request) {
        while (m_requested < m_played + ahead) {
            const int first = static_cast<int>(m_requested % m_samples);
            const int count = std::min(kSamplesInSlice - first % kSamplesInSlice, m_samples - first);
            if (!request(first, first + count - 1)) return;
            m_requested += count;
        }
    }

    /// Slices that wait for their turn count as used now: else the pool would take them away before those
    /// that were played after they were loaded. [playback]
    void keepAhead() {
        forEachPiece(m_played, static_cast<int>(m_requested - m_played),
                     [&](int first, int count) { m_data->isSampleRangeLoaded(first, first + count - 1); });
    }

private:
    /// `count` samples from `start` on, all rounds together, in pieces of the file: `use(first, count)`.
    template <typename Use>
    void forEachPiece(long long start, int count, Use use) {
        while (count > 0) {
            const int first = static_cast<int>(start % m_samples);
            const int piece = std::min(count, m_samples - first);
            use(first, piece);
            start += piece;
            count -= piece;
        }
    }

    marl::IFileDataRef m_data;
    marl::CDiskFileData* m_diskData = nullptr;  // the same
    int m_samples = 0;                          // interleaved, of the whole file
    long long m_played = 0;                     // samples, all rounds together
    long long m_requested = 0;                  // likewise
};

using VoiceRef = halyard::CSharedObjectRef<Voice>;

/// Seconds since the start. The virtual clock goes as the real one does, as long as the player or the reader
/// works; only when both would sleep until the next block does it leap there. So whatever is late on it would
/// have been late in real time, and ten minutes last as long as the work in them.
class Clock {
public:
    explicit Clock(bool isVirtual) : m_isVirtual(isVirtual) {}

    double now() const { return worked() + m_skipped; }
    /// The real time that has passed.
    double worked() const { return std::chrono::duration<double>(Real::now() - m_start).count(); }

    void sleepUntil(double time, const marl::CIORequestThread& reader) {
        constexpr std::chrono::microseconds kShortSleep(50);
        for (double left = time - now(); left > 0; left = time - now()) {
            if (!m_isVirtual)
                std::this_thread::sleep_for(std::chrono::duration<double>(left));
            else if (reader.areBufferQueuesEmpty())
                m_skipped += left;
            else
                std::this_thread::sleep_for(kShortSleep);
        }
    }

private:
    using Real = std::chrono::steady_clock;

    const bool m_isVirtual;
    const Real::time_point m_start = Real::now();
    double m_skipped = 0;
};

struct Options {
    std::vector<std::string> files;
    int voices = 0;  // 0: one a file
    double minutes = 1;
    bool isVirtual = false;
    bool toPipe = false;
};

struct Result {
    long blocks = 0;
    long underruns = 0;   // blocks of single voices
    long lateBlocks = 0;  // that took longer than they last
    double seconds = 0, worked = 0;
};

class Player {
public:
    explicit Player(const Options& options) : m_options(options), m_reader(ringSize(options)) {
        std::minstd_rand random(1);
        std::uniform_real_distribution<double> anywhere(0, 1);
        for (int i = 0; i < options.voices; ++i) {
            const VoiceRef voice(
                new Voice(options.files[static_cast<std::size_t>(i) % options.files.size()]));
            voice->startAt(anywhere(random));
            m_voices.push_back(voice);
        }
        const double slicesAhead = std::min<double>(kUsableBuffers / options.voices - 1, kMostSlicesAhead);
        m_ahead = std::max(static_cast<int>(slicesAhead * kSamplesInSlice), kFramesInBlock * kChannels);
    }

    Result play() {
        loadBeginnings();
        m_reader.runWithPriority(0, 0);  // an ordinary thread: the one that plays comes first
        Clock clock(m_options.isVirtual);
        Result result;
        const auto blocks = static_cast<long>(m_options.minutes * 60 * kRate / kFramesInBlock);
        for (; result.blocks < blocks && m_isPlaying; ++result.blocks) {
            if (!m_options.toPipe) clock.sleepUntil(timeOf(result.blocks), m_reader);
            result.underruns += mixBlock();
            if (!m_options.toPipe && clock.now() > timeOf(result.blocks + 1)) ++result.lateBlocks;
            if (m_options.toPipe && std::fwrite(m_mix.data(), sizeof m_mix, 1, stdout) != 1) break;
        }
        result.seconds = timeOf(result.blocks);
        result.worked = clock.worked();
        if (m_reader.getFailure()) std::rethrow_exception(m_reader.getFailure());
        return result;
    }

private:
    static constexpr double timeOf(long block) { return static_cast<double>(block) * kFramesInBlock / kRate; }

    /// Room for all that the voices can ask for at once.
    static int ringSize(const Options& options) { return options.voices * (kMostSlicesAhead + 1); }

    void loadBeginnings() {
        for (const VoiceRef& voice : m_voices)
            voice->requestAhead(m_ahead, [&](int first, int last) {
                m_reader.postImmediateRequest(voice, first, last, false);
                return true;
            });
        m_reader.processImmediateRequests();
    }

    /// What an audio thread does in its callback. Returns how many voices were not ready.
    int mixBlock() {
        m_mix.fill(0);
        int underruns = 0;
        const float gain = 1 / static_cast<float>(m_voices.size());
        for (const VoiceRef& voice : m_voices) {
            if (!voice->addTo(m_mix, gain)) ++underruns;
            voice->requestAhead(m_ahead, [&](int first, int last) {
                if (!m_reader.canAcceptBuffer()) return false;
                m_reader.postRequest(voice, first, last);
                return true;
            });
            voice->keepAhead();
        }
        if (underruns != 0) m_isPlaying = m_reader.isThreadRunning();
        return underruns;
    }

    const Options& m_options;
    std::vector<VoiceRef> m_voices;
    marl::CIORequestThread m_reader;
    std::array<float, kFramesInBlock * kChannels> m_mix{};
    int m_ahead = 0;  // samples of each voice
    bool m_isPlaying = true;
};

constexpr double kMostMinutes = 1e5;  // their blocks are a number of 32 bits
constexpr int kWrongUsage = 2;
constexpr char kUsage[] = "usage: player [--voices N] [--minutes M] [--virtual | --pipe] FILE...";

/// Nothing for those that are wrong.
std::optional<Options> optionsFrom(std::span<char*> arguments) {
    Options options;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == "--virtual")
            options.isVirtual = true;
        else if (argument == "--pipe")
            options.toPipe = true;
        else if (argument == "--voices" && hasValue)
            options.voices = std::atoi(arguments[++i]);
        else if (argument == "--minutes" && hasValue)
            options.minutes = std::atof(arguments[++i]);
        else if (argument.starts_with("--"))
            return std::nullopt;
        else
            options.files.push_back(argument);
    }
    if (options.voices == 0) options.voices = static_cast<int>(options.files.size());
    const bool areUsable = options.voices > 0 && options.voices <= marl::CDiskFileData::kPoolSize &&
                           options.minutes > 0 && options.minutes <= kMostMinutes;
    return areUsable ? std::optional(options) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = optionsFrom({argv, static_cast<std::size_t>(argc)});
    if (!options) {
        std::fprintf(stderr, "%s\n", kUsage);
        return kWrongUsage;
    }
    try {
        const Result result = Player(*options).play();
        std::fprintf(stderr,
                     "%d voices, %ld blocks (%.1f s), %ld underruns, %ld late blocks, %.1f s of work\n",
                     options->voices, result.blocks, result.seconds, result.underruns, result.lateBlocks,
                     result.worked);
        return result.underruns == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "player: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
