// SPDX-License-Identifier: MIT
#include "marl/Stream.h"

#include "marl/Output.h"
#include "marl/SampleOutput.h"
#include "marl/SampleStream.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace marl::tool {
namespace {

/// Times are shown in whole milliseconds: an end that was rounded up to one is still the end.
constexpr double kShownPrecision = 0.0005;  // seconds

struct FrameRange {
    int first;
    int end;  // exclusive
};

[[noreturn]] void refuse(const char* option, double seconds, double length) {
    throw halyard::CParamException(halyard::kParameterError, "%s %g is beyond the end: it lasts %.3f s",
                                   option, seconds, length);
}

/// The frames of the file that are asked for, at the output's rate.
FrameRange rangeOf(const StreamOptions& options, int frames, double sampleRate) {
    const double length = frames / sampleRate;
    const double first = std::round(options.from * sampleRate);
    if (options.from > 0 && first >= frames) refuse("--from", options.from, length);
    if (!options.to) return {static_cast<int>(first), frames};
    if (*options.to > length + kShownPrecision) refuse("--to", *options.to, length);
    const double end = std::min<double>(std::round(*options.to * sampleRate), frames);
    return {static_cast<int>(first), static_cast<int>(end)};
}

void stream(const StreamOptions& options, std::ostream& out, std::ostream& err) {
    const LoopFile loop = openLoopFile(options.input);
    const Delivery delivery = deliveryFor(loop, options.format, options.sampleRate, options.channels);
    loop.file->useDiskFileData(urlOfPath(options.input), false);
    SampleStream samples(loop, delivery);
    const auto [first, end] = rangeOf(options, samples.frames(), delivery.sampleRate);
    reportCutOff(options.input, loop, err);
    const auto output = newSampleOutput(OutputType::kStandardOutput, "-", loop.file->getFileParserRef(), out);
    samples.forEachBlockReadAhead(first, end,
                                  [&](std::span<const std::byte> block) { output->write(block); });
    output->finish();
}

}  // namespace

int runStream(const StreamOptions& options, std::ostream& out, std::ostream& err) {
    try {
        stream(options, out, err);
        return kDone;
    } catch (const OutputError& error) {
        reportError(err, "standard output", error.what());
    } catch (const std::exception& exception) {
        reportError(err, options.input, messageOf(exception, "cannot be read"));
    }
    return kFailed;
}

}  // namespace marl::tool
