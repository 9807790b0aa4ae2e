// SPDX-License-Identifier: MIT
#include "marl/Convert.h"

#include "marl/Output.h"
#include "marl/SampleOutput.h"
#include "marl/SampleStream.h"

#include <MarlCore/Files/writing/CSampleFileWriter.h>

#include <algorithm>
#include <cmath>
#include <ostream>

namespace marl::tool {
namespace {

struct Target : Delivery {
    OutputType type;
};

/// Refuses what a loop file cannot hold before the samples are converted, which could take a minute.
void requireRoom(const Target& target, const LoopFile& loop) {
    if (holdsFloats(target.type)) return;
    const long long frames = IFileData::convertedFrameCount(loop.parser().getLengthInFrames(),
                                                            loop.format.mSampleRate, target.sampleRate);
    const long long bytesPerFrame = static_cast<long long>(target.bits / 8) * target.channels;
    if (frames > CSampleFileWriter::kMostSampleBytes / bytesPerFrame)
        throw OutputError("AIFF and WAV files hold up to 2 GiB of samples (these would be " +
                          std::to_string(frames * bytesPerFrame) + " bytes)");
}

/// Takes back what the parser derived from the length, so that the output states no more than the input did.
void keepWhatTheFileStated(IFileParser& parser) {
    const bool tagged = parser.getBasicTaggingChunk().version == tagging::kTaggingVersion ||
                        parser.getSourceFileNumberOfBeats() != 0;
    if (!tagged || parser.getSourceFileNumberOfBeats() != 0)
        parser.setNumberOfBeats(parser.getSourceFileNumberOfBeats());
    if (!parser.didSourceFileHaveTransients()) parser.setTransients({});
}

/// Makes the parser's picture of the loop that of the output, which a writer takes over.
void describeOutput(const Target& target, const LoopFile& loop) {
    keepWhatTheFileStated(loop.parser());
    auto format = loop.format;
    format.mSampleRate = target.sampleRate;
    format.mChannelsPerFrame = static_cast<std::uint32_t>(target.channels);
    format.mBitsPerChannel = static_cast<std::uint32_t>(target.bits);
    format.mBytesPerFrame = static_cast<std::uint32_t>(target.bits / 8 * target.channels);
    format.mBytesPerPacket = format.mBytesPerFrame;
    loop.parser().setSampleRateConversion(target.sampleRate / loop.format.mSampleRate);
    loop.parser().setFormatInfo(format);
}

bool hasLoopMetadata(const IFileParser& parser) {
    return parser.getSourceFileNumberOfBeats() != 0 || parser.didSourceFileHaveSearchTags() ||
           parser.didSourceFileHaveTransients();
}

/// Says on `err` what the output cannot hold of the input.
void reportLosses(const Target& target, const ConvertOptions& options, const LoopFile& loop,
                  std::ostream& err) {
    const IFileParser& parser = loop.parser();
    const bool toWAV = target.type == OutputType::kWAV;
    if (toWAV && parser.didSourceFileHaveSearchTags())
        reportError(err, options.output, "note: WAV files carry no instrument, genre and descriptors");
    if (toWAV && parser.getTimeSignature() != tagging::TimeSignature{})
        reportError(err, options.output, "note: WAV loops are read back in 4/4, whatever their meter");
    if (target.type == OutputType::kQuickTime && hasLoopMetadata(parser))
        reportError(err, options.output, "note: QuickTime files carry no beats, slices and search tags");
    if (toWAV && std::round(target.sampleRate) != target.sampleRate)
        reportError(err, options.output, "note: WAV files state whole sample rates: this one is rounded");
    reportCutOff(options.input, loop, err);
}

void convert(OutputType type, const ConvertOptions& options, std::ostream& out, std::ostream& err) {
    const LoopFile loop = openLoopFile(options.input);
    Target target{deliveryFor(loop, options.format, options.sampleRate, options.channels), type};
    if (!holdsFloats(type)) target.bits = std::min(target.bits, 24);
    requireRoom(target, loop);
    if (options.streamed) loop.file->useDiskFileData(urlOfPath(options.input), false);
    SampleStream stream(loop, target);
    reportLosses(target, options, loop, err);
    describeOutput(target, loop);
    const auto output = newSampleOutput(type, options.output, loop.file->getFileParserRef(), out);
    stream.forEachBlock([&](std::span<const std::byte> block) { output->write(block); });
    output->finish();
}

}  // namespace

int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err) {
    const OutputType type = outputTypeOf(options.output);
    if (type == OutputType::kUnknown) {
        reportError(err, options.output, "the output must end in .aif, .aiff, .wav, .mov or .raw, or be -");
        return kWrongUsage;
    }
    if (options.format == "f32" && !holdsFloats(type)) {
        reportError(err, options.output, "f32 can be written to .mov, .raw and - only");
        return kWrongUsage;
    }
    try {
        convert(type, options, out, err);
        return kDone;
    } catch (const OutputError& error) {
        const bool isStream = type == OutputType::kStandardOutput;
        reportError(err, isStream ? "standard output" : options.output, error.what());
    } catch (const std::exception& exception) {
        reportError(err, options.input, messageOf(exception, "cannot be read"));
    }
    return kFailed;
}

}  // namespace marl::tool
