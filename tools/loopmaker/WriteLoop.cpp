// SPDX-License-Identifier: MIT
#include "WriteLoop.h"

#include "Random.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace loopmaker {
namespace {

using halyard::CSTR;
using marl::tagging::Keyword;

marl::tagging::BasicTaggingChunk taggingOf(const LoopDescription& loop) {
    marl::tagging::BasicTaggingChunk tagging;
    tagging.version = marl::tagging::kTaggingVersion;
    tagging.numberOfBeats = loop.oneShot ? 1 : loop.numberOfBeats;
    tagging.rootNote = static_cast<std::int16_t>(loop.rootNote);
    tagging.scaleType = static_cast<std::int16_t>(loop.scaleType);
    tagging.timeSignature = {static_cast<std::int16_t>(loop.timeSignature.numerator),
                             static_cast<std::int16_t>(loop.timeSignature.denominator)};
    tagging.fileType = loop.oneShot ? marl::tagging::kFileTypeOneShot : marl::tagging::kFileTypeLoop;
    return tagging;
}

std::vector<marl::tagging::TransientStruct> transientsOf(const LoopDescription& loop) {
    std::vector<marl::tagging::TransientStruct> transients;
    for (const std::int64_t frame : loop.transients)
        transients.emplace_back().position = static_cast<std::uint32_t>(frame);
    return transients;
}

marl::IFileParserRef describe(const LoopDescription& loop) {
    const marl::IFileParserRef parser(
        new marl::CLoopDescription(loop.format.sampleRate, loop.format.channels, loop.format.bits));
    parser->setBasicTaggingChunk(taggingOf(loop));
    parser->setSourceFileNumberOfBeats(taggingOf(loop).numberOfBeats);
    parser->setInstrument({Keyword(loop.instrument), Keyword(loop.instrumentSubType)});
    parser->setGenre(Keyword(loop.genre));
    std::vector<marl::tagging::Descriptor> descriptors;
    for (const std::string& descriptor : loop.descriptors) descriptors.emplace_back(descriptor);
    parser->setDescriptors(descriptors);
    parser->setFileInfo({CSTR(loop.name), CSTR(loop.author), CSTR(loop.copyright), CSTR(loop.annotation)});
    parser->setTransients(transientsOf(loop));
    return parser;
}

/// `value` as `bytes` bytes in host order; 8 bits are offset by 128.
void storeSample(std::int32_t value, int bytes, std::byte* destination) {
    const auto raw = static_cast<std::uint32_t>(bytes == 1 ? value + 128 : value);
    for (int i = 0; i < bytes; ++i) {
        const int at = std::endian::native == std::endian::big ? bytes - 1 - i : i;
        destination[at] = static_cast<std::byte>(raw >> 8 * i);
    }
}

/// -1 to 1 steps, with a triangular density: makes the rounding error independent of the samples (Lipshitz,
/// Wannamaker and Vanderkooy, "Quantization and dither", 1992).
double triangular(Random& random) {
    const float first = random.uniform();  // two statements, so that every compiler draws in this order
    return first - random.uniform();
}

std::vector<std::byte> quantized(std::span<const float> samples, int bits) {
    const int bytes = bits / 8;
    const double scale = std::ldexp(1.0, bits - 1);
    Random random(static_cast<std::uint64_t>(bits));
    std::vector<std::byte> quantized(samples.size() * static_cast<std::size_t>(bytes));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double dither = bits < 24 ? triangular(random) : 0;
        const double value = std::clamp(static_cast<double>(samples[i]) * scale + dither, -scale, scale - 1);
        storeSample(static_cast<std::int32_t>(std::lrint(value)), bytes,
                    quantized.data() + i * static_cast<std::size_t>(bytes));
    }
    return quantized;
}

marl::IFileWriterRef newWriter(const std::filesystem::path& path, const LoopDescription& loop) {
    const marl::IFileParserRef parser = describe(loop);
    if (loop.format.container == Container::AIFF)
        return marl::IFileWriterRef(new marl::CAIFWriter(CSTR(path.string()), parser, true));
    return marl::IFileWriterRef(new marl::CWAVWriter(CSTR(path.string()), parser, true));
}

}  // namespace

void writeLoop(const RenderedLoop& loop, const std::filesystem::path& folder) {
    const std::filesystem::path target = folder / loop.description.folder;
    std::filesystem::create_directories(target);
    const std::vector<std::byte> samples = quantized(loop.samples, loop.description.format.bits);
    const marl::IFileWriterRef writer = newWriter(target / loop.description.fileName, loop.description);
    writer->writeSamples(samples.data(), 0, loop.samples.size());
    writer->finish();
}

}  // namespace loopmaker
