// SPDX-License-Identifier: MIT
#include "marl/Record.h"

#include "marl/FloatInput.h"
#include "marl/LoopFile.h"
#include "marl/Output.h"
#include "marl/SampleOutput.h"
#include "marl/TerminalText.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CIOWriteThread.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <system_error>
#include <thread>

namespace marl::tool {
namespace {

/// Between the source and the file there are at most half a second in the ring and a block in the making:
/// that is what a killed program, or a disk that stalls, costs.
constexpr double kBlocksInSecond = 32;
constexpr int kBlocksInRing = 16;
constexpr double kMostBytesInBlock = 1 << 20;  // a frame at least, whatever rate and channels are stated

constexpr int kPauseOfIdleThread = 1;  // ms
constexpr auto kPauseForRoom = std::chrono::milliseconds(1);

std::size_t framesInBlock(const RecordOptions& options) {
    const double bytesInFrame = static_cast<double>(sizeof(float)) * options.channels;
    const double most = kMostBytesInBlock / bytesInFrame;
    return static_cast<std::size_t>(std::max(std::min(options.sampleRate / kBlocksInSecond, most), 1.0));
}

/// Limits the samples to what integers of `bits` bits hold: the write thread would let them wrap around.
/// Returns how many were beyond full scale.
std::size_t clip(std::span<float> samples, int bits) {
    const float highest = 1 - std::ldexp(1.0f, 1 - bits);
    std::size_t clipped = 0;
    for (float& sample : samples) {
        if (!(std::abs(sample) <= 1)) ++clipped;
        sample = std::isnan(sample) ? 0 : std::clamp(sample, -1.0f, highest);
    }
    return clipped;
}

/// One recording, through the write thread.
class Take {
public:
    explicit Take(const RecordOptions& options)
        : m_options(options),
          m_bits(options.format == "s16" ? 16 : 24),
          m_samplesInBlock(framesInBlock(options) * static_cast<std::size_t>(options.channels)),
          m_thread(urlOfPath(options.output),
                   IFileParserRef(new CLoopDescription(options.sampleRate, options.channels, m_bits)),
                   platform::makeHostFormat(options.sampleRate, static_cast<unsigned>(options.channels), 32),
                   kBlocksInRing, static_cast<int>(m_samplesInBlock * sizeof(float)), false,
                   options.isDeferred) {
        m_thread.runWithPriority(0.5, kPauseOfIdleThread);
    }

    /// Takes over the samples, of which only the last may be fewer than a block's. False when an error has
    /// ended the thread.
    bool add(std::span<float> samples) {
        ++m_blocks;
        m_samplesClipped += clip(samples, m_bits);
        if (!m_options.isRealTime) waitForRoom();
        if (m_thread.canAcceptBuffer())
            m_thread.postBuffer(samples.data(), static_cast<int>(samples.size_bytes()));
        return m_thread.isThreadRunning();
    }

    /// Writes what is left, and throws what ended the thread.
    void finish() {
        m_thread.sleepUntilThreadExits(true, 0);
        try {
            if (const std::exception_ptr failure = m_thread.getFailure()) std::rethrow_exception(failure);
            m_thread.runOnce();
        } catch (...) {
            finishAfterFailure();
            throw;
        }
        m_thread.finishWriting();
        m_thread.finishFile();
    }

    unsigned long framesWritten() const noexcept {
        return m_thread.getSamplesWritten() / static_cast<unsigned long>(m_options.channels);
    }
    /// Those that had no place in the ring, and those behind an error.
    unsigned long blocksDropped() const noexcept {
        return m_blocks - (m_thread.getSamplesWritten() + m_samplesInBlock - 1) / m_samplesInBlock;
    }
    std::size_t samplesClipped() const noexcept { return m_samplesClipped; }

private:
    /// Of a take in memory, all that was kept. The first failure is the one that counts.
    void finishAfterFailure() noexcept {
        try {
            m_thread.finishWriting();
        } catch (const std::exception&) {
        }
    }

    void waitForRoom() {
        while (!m_thread.canAcceptBuffer() && m_thread.isThreadRunning())
            std::this_thread::sleep_for(kPauseForRoom);
    }

    const RecordOptions& m_options;
    const int m_bits;
    const std::size_t m_samplesInBlock;
    CIOWriteThread m_thread;
    unsigned long m_blocks = 0;
    std::size_t m_samplesClipped = 0;
};

/// False, with a line on `err`, when the output refuses.
bool isFinished(Take& take, const RecordOptions& options, std::ostream& err) {
    try {
        take.finish();
        return true;
    } catch (const std::exception& exception) {
        reportError(err, options.output, messageOf(exception, "cannot be written"));
        return false;
    }
}

/// Says on `err` what came in and is not in the file. False when the input could not be read.
bool reportInput(const FloatInput& input, std::ostream& err) {
    if (input.bytesLeftOut() != 0)
        reportError(err, "standard input",
                    "note: ends within a frame: " + std::to_string(input.bytesLeftOut()) + " bytes left out");
    if (input.error() == 0) return true;
    reportError(err, "standard input", "cannot be read: " + std::generic_category().message(input.error()));
    return false;
}

void printResult(const Take& take, const RecordOptions& options, std::ostream& out) {
    const double seconds = static_cast<double>(take.framesWritten()) / options.sampleRate;
    out << terminalText(options.output) << ": " << take.framesWritten() << " frames written (" << std::fixed
        << std::setprecision(3) << seconds << " s), " << take.blocksDropped() << " blocks dropped\n";
}

/// A source that gives nothing has failed, mostly: an old take of that name stays.
int refuseNothing(const FloatInput& input, const RecordOptions& options, std::ostream& err) {
    if (reportInput(input, err)) reportError(err, options.output, "not written: no samples came");
    return kFailed;
}

int record(const RecordOptions& options, int descriptor, std::ostream& out, std::ostream& err) {
    const StopSignals signals;
    FloatInput input(descriptor, options.channels, framesInBlock(options), signals);
    std::span<float> block = input.next();
    if (block.empty()) return refuseNothing(input, options, err);
    Take take(options);
    while (!block.empty() && take.add(block)) block = input.next();
    const bool isWritten = isFinished(take, options, err);
    if (take.samplesClipped() != 0)
        reportError(err, options.output,
                    "note: " + std::to_string(take.samplesClipped()) + " samples beyond full scale, clipped");
    const bool isRead = reportInput(input, err);
    printResult(take, options, out);
    return flushed(out, err) && isWritten && isRead ? kDone : kFailed;
}

}  // namespace

int runRecord(const RecordOptions& options, int input, std::ostream& out, std::ostream& err) {
    if (outputTypeOf(options.output) != OutputType::kAIFF) {
        reportError(err, options.output, "the output must end in .aif or .aiff");
        return kWrongUsage;
    }
    try {
        return record(options, input, out, err);
    } catch (const std::exception& exception) {
        reportError(err, options.output, messageOf(exception, "cannot be written"));
        return kFailed;
    }
}

}  // namespace marl::tool
