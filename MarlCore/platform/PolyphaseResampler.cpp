// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseResampler.h>

#include <MarlCore/platform/PolyphaseKernels.h>

#include <algorithm>
#include <utility>

namespace platform {
namespace {

// Gathers streams that meet the same pair of rows, runs the kernel when the registers are full, and puts the
// sums where they belong.
class Tile {
public:
    Tile(const PolyphaseKernels& kernels, std::size_t rowLength, std::int64_t count) noexcept
        : m_kernels(kernels), m_rowLength(rowLength), m_frames(count) {}

    void setRows(const float* rows) noexcept { m_rows = rows; }

    // The sums of `stream` with the two rows are frames `frame` and `frame + 1` of `output`, if it has these.
    void add(const float* stream, float* output, std::int64_t frame) noexcept {
        m_streams[m_count] = stream;
        m_targets[m_count] = {output, frame};
        if (++m_count == PolyphaseKernels::kMaxStreamsOfTwo) flush();
    }

    void flush() noexcept {
        if (m_count == 0) return;
        float sums[PolyphaseKernels::kMaxStreamsOfTwo][2];
        m_kernels.dotTwo(m_rows, m_rowLength, m_streams, m_count, sums);
        for (std::size_t i = 0; i < m_count; ++i) {
            const auto [output, frame] = m_targets[i];
            if (frame >= 0) output[frame] = sums[i][0];
            if (frame + 1 < m_frames) output[frame + 1] = sums[i][1];
        }
        m_count = 0;
    }

private:
    struct Target {
        float* output;
        std::int64_t frame;
    };

    const PolyphaseKernels& m_kernels;
    std::size_t m_rowLength;
    std::int64_t m_frames;  // of output
    const float* m_rows = nullptr;
    std::size_t m_count = 0;
    const float* m_streams[PolyphaseKernels::kMaxStreamsOfTwo];
    Target m_targets[PolyphaseKernels::kMaxStreamsOfTwo];
};

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

// Pairs that share their rows are done together, whatever period and channel they are of.
void PolyphaseResampler::processPeriodic(const Job& job) const noexcept {
    const std::int64_t firstPair = job.firstOutput / 2;
    const std::int64_t endPair = (job.firstOutput + job.count + 1) / 2;
    const std::int64_t period = m_filter->pairsPerPeriod();
    Tile tile(m_kernels, m_filter->rowLength(), job.count);
    for (std::int64_t start = firstPair; start < std::min(endPair, firstPair + period); ++start) {
        tile.setRows(m_filter->pairRows(start));
        std::int64_t position = m_filter->firstInput(2 * start) - job.firstInput;
        for (std::int64_t pair = start; pair < endPair; pair += period) {
            for (std::size_t c = 0; c < job.inputs.size(); ++c) {
                tile.add(job.inputs[c] + position, job.outputs[c], 2 * pair - job.firstOutput);
            }
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
