// SPDX-License-Identifier: MIT
/// \file
/// A recorder in miniature, with meters: one thread has the samples and never waits, one writes the file, and
/// the main thread shows levels on a timer.
///
///     arecord -t raw -f FLOAT_LE -r 44100 -c 2 | recorder take.aif
///     recorder --tone 440 --seconds 2 take.aif
///
/// Takes interleaved stereo floats at 44.1 kHz in the host's byte order from standard input, which is the
/// clock: a block that finds no room on its way to the disk is dropped and counted. (`marl record` can also
/// wait.) Ctrl-C ends the take in good order. A file of that name which is there already is replaced.
#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CIOWriteThread.h>
#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/RunLoop.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numbers>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr double kRate = 44100;  // Hz
constexpr int kChannels = 2;
constexpr int kBits = 24;
constexpr int kFramesInBlock = 512;
constexpr int kBlocksInRing = 64;  // three quarters of a second, for a disk that stalls

using Block = std::array<float, kFramesInBlock * kChannels>;

std::atomic<bool> g_isStopped{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void stop(int) {
    g_isStopped = true;
}

/// The peak of each channel since somebody looked, handed from the audio thread to the main thread.
class Meter {
public:
    /// [playback]
    void add(std::span<const float> samples) noexcept {
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            float peak = 0;
            for (std::size_t i = channel; i < samples.size(); i += kChannels)
                peak = std::max(peak, std::abs(samples[i]));
            float known = m_peaks[channel];
            while (known < peak && !m_peaks[channel].compare_exchange_weak(known, peak)) {
            }
        }
    }

    float take(std::size_t channel) noexcept { return m_peaks[channel].exchange(0); }

private:
    static_assert(std::atomic<float>::is_always_lock_free, "an audio thread uses it");
    std::array<std::atomic<float>, kChannels> m_peaks{};
};

/// Where blocks come from; returns how many samples it gave, 0 at the end.
class Source {
public:
    virtual ~Source() = default;
    virtual std::size_t next(Block& block) = 0;
};

class StandardInput : public Source {
public:
    std::size_t next(Block& block) override {
        const auto bytes = std::as_writable_bytes(std::span(block));
        std::size_t filled = 0;
        while (filled < bytes.size() && waitForBytes()) {
            const ssize_t count = ::read(STDIN_FILENO, bytes.data() + filled, bytes.size() - filled);
            if (count <= 0) break;
            filled += static_cast<std::size_t>(count);
        }
        return filled / (sizeof(float) * kChannels) * kChannels;
    }

private:
    static bool waitForBytes() {
        constexpr int kPatience = 100;  // milliseconds, until a wish to stop is seen
        pollfd input{STDIN_FILENO, POLLIN, 0};
        while (!g_isStopped)
            if (::poll(&input, 1, kPatience) > 0) return true;
        return false;
    }
};

/// A sine at half of full scale, in real time.
class Tone : public Source {
public:
    Tone(double frequency, double seconds)
        : m_step(2 * std::numbers::pi * frequency / kRate), m_frames(std::lround(seconds * kRate)) {}

    std::size_t next(Block& block) override {
        const long count = g_isStopped ? 0 : std::min<long>(kFramesInBlock, m_frames - m_frame);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i, ++m_frame)
            block[2 * i] = block[2 * i + 1] =
                static_cast<float>(0.5 * std::sin(m_step * static_cast<double>(m_frame)));
        std::this_thread::sleep_until(m_start +
                                      std::chrono::duration<double>(static_cast<double>(m_frame) / kRate));
        return static_cast<std::size_t>(count) * kChannels;
    }

private:
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    const double m_step;  // radians a frame
    const long m_frames;
    long m_frame = 0;
};

/// What an audio callback does with a block: it never waits, and does not know where the samples go.
class Recording {
public:
    Recording(marl::CIOWriteThread& writer, Meter& meter) : m_writer(writer), m_meter(meter) {
        writer.getWriteCallback(m_post);
    }

    /// [playback]
    void take(std::span<float> samples) {
        // What is beyond full scale would wrap around in the file's integers.
        constexpr float kHighest = 1 - 1.0f / (1 << (kBits - 1));
        for (float& sample : samples) sample = std::clamp(sample, -1.0f, kHighest);
        m_meter.add(samples);
        if (m_writer.canAcceptBuffer())
            m_post.function(m_post.context, samples.data(), static_cast<int>(samples.size_bytes()));
        else
            ++m_dropped;
    }

    long dropped() const noexcept { return m_dropped; }

private:
    marl::CIOWriteThread& m_writer;
    Meter& m_meter;
    marl::CIOWriteCallback m_post;
    long m_dropped = 0;  // blocks
};

void show(Meter& meter) {
    std::string line;
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        constexpr int kWidth = 24;  // characters, 2 dB each
        const double decibels = 20 * std::log10(std::max(meter.take(channel), 1e-6f));
        const int length = std::clamp(static_cast<int>(std::lround(kWidth + decibels / 2)), 0, kWidth);
        line += '[' + std::string(static_cast<std::size_t>(length), '=') +
                std::string(static_cast<std::size_t>(kWidth - length), ' ') + "] ";
    }
    std::fprintf(stderr, "\r%s", line.c_str());
}

/// Writes what is left, and throws what ended the thread before.
void finish(marl::CIOWriteThread& writer) {
    writer.sleepUntilThreadExits(true, 0);
    if (writer.getFailure()) std::rethrow_exception(writer.getFailure());
    writer.runOnce();
    writer.finishFile();
}

/// Returns the line that says what was recorded.
std::string record(Source& source, const std::string& path) {
    const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
    const marl::IFileParserRef take(new marl::CLoopDescription(kRate, kChannels, kBits));
    marl::CIOWriteThread writer(url, take, platform::makeHostFormat(kRate, kChannels, 32), kBlocksInRing,
                                sizeof(Block), false, false);
    writer.runWithPriority(0.5, -1);
    Meter meter;
    Recording recording(writer, meter);
    std::atomic<bool> isDone{false};
    std::jthread audio([&] {
        Block block;
        while (const std::size_t count = writer.isThreadRunning() ? source.next(block) : 0)
            recording.take(std::span(block).first(count));
        isDone = true;
    });
    constexpr double kMeterPeriod = 0.05, kForEver = 1e9;  // seconds
    platform::Timer::scheduledTimerWithTimeInterval(kMeterPeriod, true, [&](platform::Timer& timer) {
        if (::isatty(STDERR_FILENO)) show(meter);
        if (isDone) timer.invalidate();
    });
    platform::RunLoop::current().runUntil(platform::AbsoluteTimeGetCurrent() + kForEver);
    audio.join();
    finish(writer);
    return path + ": " + std::to_string(writer.getSamplesWritten() / kChannels) + " frames written, " +
           std::to_string(recording.dropped()) + " blocks dropped";
}

constexpr int kWrongUsage = 2;
constexpr char kUsage[] = "usage: recorder [--tone HZ [--seconds S]] OUT.aif";

struct Options {
    std::optional<double> tone;  // Hz; nothing: standard input
    double seconds = 2;
    std::string path;

    bool areRight() const {
        constexpr double kMostSeconds = 1e5;  // fewer frames than 32 bits count
        const bool isTone = !tone || (*tone > 0 && *tone < kRate / 2);
        return isTone && seconds > 0 && seconds <= kMostSeconds && !path.empty();
    }
};

/// Nothing for those that are wrong.
std::optional<Options> optionsFrom(std::span<char*> arguments) {
    Options options;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == "--tone" && hasValue)
            options.tone = std::atof(arguments[++i]);
        else if (argument == "--seconds" && hasValue)
            options.seconds = std::atof(arguments[++i]);
        else if (argument.starts_with("--") || !options.path.empty())
            return std::nullopt;
        else
            options.path = argument;
    }
    return options.areRight() ? std::optional(options) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGINT, stop);
    std::signal(SIGTERM, stop);
    const auto options = optionsFrom({argv, static_cast<std::size_t>(argc)});
    if (!options) {
        std::fprintf(stderr, "%s\n", kUsage);
        return kWrongUsage;
    }
    try {
        StandardInput input;
        Tone tone(options->tone.value_or(0), options->seconds);
        Source& source = options->tone ? static_cast<Source&>(tone) : input;
        std::fprintf(stderr, "%s\n", record(source, options->path).c_str());
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "recorder: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
