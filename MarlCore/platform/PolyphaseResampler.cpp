// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseResampler.h>

#include <MarlCore/platform/PolyphaseKernels.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform {
namespace {

// Gathers streams that meet the same pair of rows, runs the kernel when the registers are full, and puts the
// sums where they belong.
class Tile {
public:
    enum class Wanted { none, first, second, both };

    // The sum of a stream and the first row goes to `output[frame]`, that of the second to the next frame, if
    // wanted.
    struct Target {
        float* output;
        std::int64_t frame;
        Wanted wanted;
    };

    Tile(const PolyphaseKernels& kernels, std::size_t rowLength) noexcept
        : m_kernels(kernels), m_rowLength(rowLength) {}

    void setRows(const float* rows) noexcept { m_rows = rows; }

    void add(const float* stream, Target target) noexcept {
        m_streams[m_count] = stream;
        m_targets[m_count] = target;
        if (++m_count == PolyphaseKernels::kMaxStreamsOfTwo) flush();
    }

    void flush() noexcept {
        if (m_count == 0) return;
        float sums[PolyphaseKernels::kMaxStreamsOfTwo][2];
        m_kernels.dotTwo(m_rows, m_rowLength, m_streams, m_count, sums);
        for (std::size_t i = 0; i < m_count; ++i) {
            const auto [output, frame, wanted] = m_targets[i];
            if (wanted == Wanted::both) {
                std::memcpy(output + frame, sums[i], sizeof sums[i]);
            } else if (wanted == Wanted::first) {
                output[frame] = sums[i][0];
            } else {
                output[frame + 1] = sums[i][1];
            }
        }
        m_count = 0;
    }

private:
    const PolyphaseKernels& m_kernels;
    std::size_t m_rowLength;
    const float* m_rows = nullptr;
    std::size_t m_count = 0;
    const float* m_streams[PolyphaseKernels::kMaxStreamsOfTwo];
    Target m_targets[PolyphaseKernels::kMaxStreamsOfTwo];
};

// What is wanted of a pair whose first frame is `frame`, when frames 0 to count - 1 are.
Tile::Wanted wantedOf(std::int64_t frame, std::int64_t count, bool hasSecond) noexcept {
    const bool first = frame >= 0 && frame < count;
    const bool second = hasSecond && frame >= -1 && frame + 1 < count;
    if (first) return second ? Tile::Wanted::both : Tile::Wanted::first;
    return second ? Tile::Wanted::second : Tile::Wanted::none;
}

}  // namespace

/// What `process` was asked for.
struct PolyphaseResampler::Job {
    std::int64_t firstOutput;
    std::int64_t count;
    std::span<const float* const> inputs;
    std::int64_t firstInput;
    std::span<float* const> outputs;
};

PolyphaseResampler::PolyphaseResampler(std::shared_ptr<const PolyphaseFilter> filter, SimdLevel level)
    : m_filter(std::move(filter)), m_kernels(polyphaseKernels(level)) {}

PolyphaseResampler::InputRange PolyphaseResampler::inputRange(std::int64_t firstOutput,
                                                              std::int64_t count) const noexcept {
    const std::int64_t last = m_filter->firstInput(firstOutput + count - 1);
    return {m_filter->firstInput(firstOutput), last + static_cast<std::int64_t>(m_filter->rowLength()) - 1};
}

std::int64_t PolyphaseResampler::maxInputFrames(std::int64_t count) const noexcept {
    const RateRatio ratio = m_filter->ratio();
    const std::int64_t advance = (count + 1) * ratio.inputFrames / ratio.outputFrames + 2;
    return advance + static_cast<std::int64_t>(m_filter->rowLength());
}

void PolyphaseResampler::process(std::int64_t firstOutput, std::int64_t count,
                                 std::span<const float* const> inputs, std::int64_t firstInput,
                                 std::span<float* const> outputs) const noexcept {
    const Job job{firstOutput, count, inputs, firstInput, outputs};
    m_filter->isPeriodic() ? processPeriodic(job) : processInterpolated(job);
}

// Output frames that share their rows, a period apart, are done together, and so are the channels.
void PolyphaseResampler::processPeriodic(const Job& job) const noexcept {
    const std::int64_t period = m_filter->outputsPerPeriod();
    const std::int64_t firstPeriod = job.firstOutput / period;
    const std::int64_t lastPeriod = (job.firstOutput + job.count - 1) / period;
    const std::int64_t firstFrame = firstPeriod * period - job.firstOutput;
    const std::int64_t firstPosition = firstPeriod * m_filter->inputsPerPeriod() - job.firstInput;
    Tile tile(m_kernels, m_filter->rowLength());
    for (std::int64_t pair = 0; pair < m_filter->pairsPerPeriod(); ++pair) {
        tile.setRows(m_filter->pairRows(pair));
        std::int64_t frame = firstFrame + 2 * pair;
        std::int64_t position = firstPosition + m_filter->pairStart(pair);
        const bool hasSecond = 2 * pair + 1 < period;
        for (std::int64_t i = firstPeriod; i <= lastPeriod; ++i) {
            const Tile::Wanted wanted = wantedOf(frame, job.count, hasSecond);
            for (std::size_t c = 0; c < job.inputs.size() && wanted != Tile::Wanted::none; ++c) {
                tile.add(job.inputs[c] + position, {job.outputs[c], frame, wanted});
            }
            frame += period;
            position += m_filter->inputsPerPeriod();
        }
        tile.flush();
    }
}

// No two frames share their rows: only the channels of a frame do.
void PolyphaseResampler::processInterpolated(const Job& job) const noexcept {
    constexpr std::size_t kMaxStreams = PolyphaseKernels::kMaxStreamsOfThree;
    const float* streams[kMaxStreams];
    float sums[kMaxStreams][3];
    for (std::int64_t frame = 0; frame < job.count; ++frame) {
        const PolyphaseFilter::Blend blend = m_filter->blend(job.firstOutput + frame);
        for (std::size_t begin = 0; begin < job.inputs.size(); begin += kMaxStreams) {
            const std::size_t count = std::min(kMaxStreams, job.inputs.size() - begin);
            for (std::size_t i = 0; i < count; ++i) {
                streams[i] = job.inputs[begin + i] + (blend.firstInput - job.firstInput);
            }
            m_kernels.dotThree(blend.rows, m_filter->rowLength(), streams, count, sums);
            for (std::size_t i = 0; i < count; ++i) {
                job.outputs[begin + i][frame] = blend.weights[0] * sums[i][0] +
                                                blend.weights[1] * sums[i][1] + blend.weights[2] * sums[i][2];
            }
        }
    }
}

}  // namespace platform
