// SPDX-License-Identifier: MIT
#include "marl/Convert.h"

#include "marl/Output.h"
#include "marl/SampleStream.h"

#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>
#include <MarlCore/foundation/FileUtilities.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <ostream>

#include <unistd.h>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

enum class Target { kAIFF, kWAV, kRaw, kStandardOutput, kUnknown };

Target targetOf(const std::string& output) {
    if (output == "-") return Target::kStandardOutput;
    std::string extension = fs::path(output).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".aif" || extension == ".aiff") return Target::kAIFF;
    if (extension == ".wav") return Target::kWAV;
    if (extension == ".raw") return Target::kRaw;
    return Target::kUnknown;
}

/// A file that takes its name only when it is complete; dropped before that, it leaves no trace.
class NewFile {
public:
    explicit NewFile(const std::string& path)
        : m_path(fs::is_symlink(path) ? fs::weakly_canonical(path) : fs::path(path)) {
        const std::string folder = m_path.parent_path().empty() ? "." : m_path.parent_path().string();
        m_temporary =
            halyard::FileUtilities::generateTemporaryFileName(halyard::CSTR(folder), halyard::CSTR(".marl"))
                ->getStringRef();
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { std::remove(m_temporary.c_str()); }

    const std::string& temporaryPath() const noexcept { return m_temporary; }

    void commit() { fs::rename(m_temporary, m_path); }

private:
    fs::path m_path;
    std::string m_temporary;
};

/// Takes back what the parser derived from the length, so that the output states no more than the input did.
void keepWhatTheFileStated(IFileParser& parser) {
    const bool tagged = parser.getBasicTaggingChunk().version == tagging::kTaggingVersion ||
                        parser.getSourceFileNumberOfBeats() != 0;
    if (!tagged || parser.getSourceFileNumberOfBeats() != 0)
        parser.setNumberOfBeats(parser.getSourceFileNumberOfBeats());
    if (!parser.didSourceFileHaveTransients()) parser.setTransients({});
}

/// Makes the parser's picture of the loop that of the output, which a writer takes over.
void describeOutput(const LoopFile& loop, int bits, double sampleRate, int channels) {
    keepWhatTheFileStated(loop.parser());
    auto format = loop.format;
    format.mSampleRate = sampleRate;
    format.mChannelsPerFrame = static_cast<std::uint32_t>(channels);
    format.mBitsPerChannel = static_cast<std::uint32_t>(bits);
    format.mBytesPerFrame = static_cast<std::uint32_t>(bits / 8 * channels);
    format.mBytesPerPacket = format.mBytesPerFrame;
    loop.parser().setSampleRateConversion(sampleRate / loop.format.mSampleRate);
    loop.parser().setFormatInfo(format);
}

IFileWriterRef newWriter(Target target, const std::string& path, const IFileParserRef& parser) {
    if (target == Target::kAIFF) return IFileWriterRef(new CAIFWriter(halyard::CSTR(path), parser, false));
    return IFileWriterRef(new CWAVWriter(halyard::CSTR(path), parser, false));
}

void writeLoopFile(Target target, const std::string& output, const LoopFile& loop, int bits,
                   SampleStream& stream) {
    NewFile file(output);
    const IFileWriterRef writer = newWriter(target, file.temporaryPath(), loop.file->getFileParserRef());
    unsigned long position = 0;
    stream.forEachBlock([&](std::span<const std::byte> block) {
        const unsigned long count = block.size() / static_cast<unsigned long>(bits / 8);
        writer->writeSamples(block.data(), position, count);
        position += count;
    });
    writer->finish();
    file.commit();
}

void writeAll(std::FILE* file, std::span<const std::byte> bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw halyard::CException(halyard::kFileIOError, errno, "failed to write the samples");
}

void writeRawFile(const std::string& output, SampleStream& stream) {
    NewFile file(output);
    const auto close = [](std::FILE* opened) { std::fclose(opened); };
    std::unique_ptr<std::FILE, decltype(close)> raw(std::fopen(file.temporaryPath().c_str(), "wbx"), close);
    if (!raw) throw halyard::CException(halyard::kFileIOError, errno, "failed to create the file");
    stream.forEachBlock([&](std::span<const std::byte> block) { writeAll(raw.get(), block); });
    if (std::fclose(raw.release()) != 0)
        throw halyard::CException(halyard::kFileIOError, errno, "failed to write the samples");
    file.commit();
}

void writeToStream(std::ostream& out, SampleStream& stream) {
    stream.forEachBlock([&](std::span<const std::byte> block) {
        out.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size()));
        if (!out) throw halyard::CException(halyard::kFileIOError, errno, "failed to write the samples");
    });
}

int bitsOf(const std::string& format, std::uint32_t fileBits) {
    for (const SampleFormat& known : kSampleFormats) {
        if (format == known.name) return known.bits;
    }
    return fileBits == 24 ? 24 : 16;
}

/// Says on `err` what the output cannot hold of the input.
void reportLosses(Target target, const ConvertOptions& options, const LoopFile& loop, std::ostream& err) {
    const IFileParser& parser = loop.parser();
    const tagging::TimeSignature meter = parser.getTimeSignature();
    if (target == Target::kWAV && parser.didSourceFileHaveSearchTags())
        reportError(err, options.output, "note: WAV files carry no instrument, genre and descriptors");
    if (target == Target::kWAV && meter != tagging::TimeSignature{})
        reportError(err, options.output, "note: WAV loops are read back in 4/4, whatever their meter");
    const long long rest =
        loop.data().getFileLength() - parser.getSampleOffset() - parser.getSampleLengthInBytes();
    if (rest > 0 && parser.getSampleLengthInBytes() == std::numeric_limits<int>::max())
        reportError(err, options.input, "note: only the first 2 GiB of samples are converted");
}

void convert(Target target, const ConvertOptions& options, std::ostream& out, std::ostream& err) {
    const LoopFile loop = openLoopFile(options.input);
    const int bits = bitsOf(options.format, loop.format.mBitsPerChannel);
    const double sampleRate = options.sampleRate > 0 ? options.sampleRate : loop.format.mSampleRate;
    const int channels =
        options.channels > 0 ? options.channels : static_cast<int>(loop.format.mChannelsPerFrame);
    reportLosses(target, options, loop, err);
    SampleStream stream(loop, bits, sampleRate, channels);
    describeOutput(loop, bits, sampleRate, channels);
    if (target == Target::kStandardOutput) return writeToStream(out, stream);
    if (target == Target::kRaw) return writeRawFile(options.output, stream);
    writeLoopFile(target, options.output, loop, bits, stream);
}

}  // namespace

int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err) {
    const Target target = targetOf(options.output);
    if (target == Target::kUnknown) {
        reportError(err, options.output, "the output must end in .aif, .aiff, .wav or .raw, or be -");
        return kWrongUsage;
    }
    if (options.format == "f32" && (target == Target::kAIFF || target == Target::kWAV)) {
        reportError(err, options.output, "f32 can be written to .raw and - only");
        return kWrongUsage;
    }
    try {
        convert(target, options, out, err);
    } catch (const std::exception& exception) {
        reportError(err, options.input, messageOf(exception));
        return kFailed;
    }
    return flushed(out, err) ? kDone : kFailed;
}

}  // namespace marl::tool
