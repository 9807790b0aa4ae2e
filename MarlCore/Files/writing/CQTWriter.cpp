// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/CQTWriter.h>

#include <MarlCore/Files/parsing/SoundDescription.h>
#include <MarlCore/Files/writing/ChunkBuilderImpl.h>
#include <MarlCore/Files/writing/MetadataImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <utility>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;
using platform::fourCharCode;

namespace {

constexpr std::uint32_t kMost32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kMostTextBytes = 16000;
constexpr std::size_t kAtomHeaderSize = 8;
constexpr std::size_t kSampleHeaderSize = 16;  // of 'mdat', with a size of 64 bits

constexpr std::uint32_t kTrackID = 1;
/// "und" in letters of 5 bits each. A language of this kind also says that a text is UTF-8; the older codes,
/// of which there is one for no language too, say that it is not.
constexpr std::uint16_t kNoLanguage = 0x55C4;
constexpr std::uint32_t kFixedOne = 0x10000;
constexpr std::uint16_t kFullVolume = 0x100;

/// Big-endian, as all of a movie.
ChunkBuilder body() {
    return ChunkBuilder(std::endian::big);
}

ChunkBuilder& add64(ChunkBuilder& atom, std::uint64_t value) {
    return atom.add32(static_cast<std::uint32_t>(value >> 32)).add32(static_cast<std::uint32_t>(value));
}

/// Atoms, unlike the chunks of other formats, count their own header and have no pad byte.
void addAtom(ChunkBuilder& list, std::string_view type, const ChunkBuilder& atom) {
    list.add32(static_cast<std::uint32_t>(atom.size() + kAtomHeaderSize)).addText(type);
    list.addText({reinterpret_cast<const char*>(atom.bytes().data()), atom.size()});
}

void requireWritable(const IFileParser::FormatInfo& format) {
    IFileData::requireUsableFormat(format);
    const unsigned bits = format.mBitsPerChannel;
    if (bits != 16 && bits != 24 && bits != 32)
        throw CParamException(kParameterError, "QuickTime files are written with 16, 24 or 32 bits (not %u)",
                              bits);
    if (format.mChannelsPerFrame > movie::SoundDescription::kMostChannels)
        throw CParamException(kParameterError, "QuickTime files have at most %d channels (not %u)",
                              movie::SoundDescription::kMostChannels, format.mChannelsPerFrame);
    const double rate = std::round(format.mSampleRate);
    if (!(rate >= 1 && rate <= kMost32))
        throw CParamException(kParameterError, "a QuickTime file cannot state a sample rate of %g Hz",
                              format.mSampleRate);
}

/// Units a second of all times in the file: frames, where the rate is a whole number.
std::uint32_t timeScaleOf(const IFileParser::FormatInfo& format) noexcept {
    return static_cast<std::uint32_t>(std::round(format.mSampleRate));
}

/// No turn, no scale: 1, 1 and 1 on the diagonal.
void addMatrix(ChunkBuilder& atom) {
    atom.add32(kFixedOne).addZeros(12).add32(kFixedOne).addZeros(12).add32(0x40000000);
}

// Fields that state a length are those of a movie without samples, until `stateFrames` fills them in, which
// finds them by these offsets into their atoms' bodies.
constexpr std::size_t kMovieDurationAt = 24, kTrackDurationAt = 28, kMediaDurationAt = 24, kTimesFramesAt = 8,
                      kSizesCountAt = 8, kRunsCountAt = 12;

ChunkBuilder movieHeader(const IFileParser::FormatInfo& format) {
    ChunkBuilder atom = body();
    atom.add32(0x01000000).addZeros(16).add32(timeScaleOf(format)).addZeros(8);
    atom.add32(kFixedOne).add16(kFullVolume).addZeros(10);
    addMatrix(atom);
    return atom.addZeros(24).add32(kTrackID + 1);
}

ChunkBuilder trackHeader() {
    constexpr std::uint32_t kEnabledInMovieAndPreview = 7;
    ChunkBuilder atom = body();
    atom.add32(0x01000000 | kEnabledInMovieAndPreview).addZeros(16).add32(kTrackID).addZeros(4 + 8);
    atom.addZeros(8 + 4).add16(kFullVolume).addZeros(2);
    addMatrix(atom);
    return atom.addZeros(8);
}

ChunkBuilder mediaHeader(const IFileParser::FormatInfo& format) {
    ChunkBuilder atom = body();
    atom.add32(0x01000000).addZeros(16).add32(timeScaleOf(format)).addZeros(8);
    return atom.add16(kNoLanguage).add16(0);
}

ChunkBuilder handler(std::string_view type, std::string_view subtype) {
    return body().add32(0).addText(type).addText(subtype).addZeros(13);
}

/// The data is that of this very file.
ChunkBuilder dataInformation() {
    constexpr std::uint32_t kSelfReference = 1;
    ChunkBuilder references = body().add32(0).add32(1), information = body();
    addAtom(references, "alis", body().add32(kSelfReference));
    addAtom(information, "dref", references);
    return information;
}

/// Size, codec, version and what is the same in all descriptions.
ChunkBuilder descriptionHead(std::string_view codec, std::uint16_t version, std::uint16_t channels,
                             std::uint16_t bits) {
    ChunkBuilder fields = body();
    return fields.addText(codec).addZeros(6).add16(1).add16(version).addZeros(6).add16(channels).add16(bits);
}

/// What the oldest readers know, as far as it goes: mono and stereo at rates that fit 16 bits.
ChunkBuilder classicDescription(const IFileParser::FormatInfo& format) {
    const std::uint32_t bytes = format.mBitsPerChannel / 8, channels = format.mChannelsPerFrame;
    const std::string_view codec = bytes == 2 ? "twos" : bytes == 3 ? "in24" : "fl32";
    const std::uint16_t version = bytes == 2 ? 0 : 1;
    ChunkBuilder fields = descriptionHead(codec, version, static_cast<std::uint16_t>(channels), 16);
    fields.addZeros(4).add32(timeScaleOf(format) << 16);
    constexpr std::uint32_t kBytesOfUnpacked = 2;  // by definition, for all that is wider than a byte
    if (version == 1) fields.add32(1).add32(bytes).add32(bytes * channels).add32(kBytesOfUnpacked);
    return fields;
}

ChunkBuilder linearDescription(const IFileParser::FormatInfo& format) {
    constexpr std::uint32_t kSize = 72, kPacked = 8, kBigEndian = 2, kSigned = 4, kFloat = 1;
    const std::uint32_t bits = format.mBitsPerChannel;
    constexpr std::uint16_t kMinusTwo = 0xFFFE;
    ChunkBuilder fields = descriptionHead("lpcm", 2, 3, 16);
    fields.add16(kMinusTwo).add16(0).add32(kFixedOne).add32(kSize);
    add64(fields, std::bit_cast<std::uint64_t>(format.mSampleRate));
    fields.add32(format.mChannelsPerFrame).add32(0x7F000000).add32(bits);
    fields.add32(kPacked | kBigEndian | (bits == 32 ? kFloat : kSigned));
    return fields.add32(bits / 8 * format.mChannelsPerFrame).add32(1);
}

ChunkBuilder descriptions(const IFileParser::FormatInfo& format) {
    const bool isWhole = std::round(format.mSampleRate) == format.mSampleRate;
    const bool isClassic = format.mChannelsPerFrame <= 2 && isWhole && format.mSampleRate <= 65535;
    const ChunkBuilder fields = isClassic ? classicDescription(format) : linearDescription(format);
    ChunkBuilder table = body().add32(0).add32(1);
    table.add32(static_cast<std::uint32_t>(fields.size() + 4));
    return table.addText({reinterpret_cast<const char*>(fields.bytes().data()), fields.size()});
}

/// One chunk of all frames, which lies at `firstSampleAt`.
ChunkBuilder sampleTables(const IFileParser::FormatInfo& format, std::uint64_t firstSampleAt) {
    const std::uint32_t bytesPerFrame = format.mBitsPerChannel / 8 * format.mChannelsPerFrame;
    ChunkBuilder tables = body(), offsets = body().add32(0).add32(1);
    addAtom(tables, "stsd", descriptions(format));
    addAtom(tables, "stts", body().add32(0).add32(1).add32(0).add32(1));
    // Readers mistrust a chunk of no samples, even where there are none yet.
    addAtom(tables, "stsc", body().add32(0).add32(1).add32(1).add32(1).add32(1));
    addAtom(tables, "stsz", body().add32(0).add32(bytesPerFrame).add32(0));
    addAtom(tables, "co64", add64(offsets, firstSampleAt));
    return tables;
}

ChunkBuilder track(const IFileParser::FormatInfo& format, std::uint64_t firstSampleAt) {
    ChunkBuilder information = body(), media = body(), atoms = body();
    addAtom(information, "smhd", body().add32(0).add32(0));
    addAtom(information, "hdlr", handler("dhlr", "alis"));
    addAtom(information, "dinf", dataInformation());
    addAtom(information, "stbl", sampleTables(format, firstSampleAt));
    addAtom(media, "mdhd", mediaHeader(format));
    addAtom(media, "hdlr", handler("mhlr", "soun"));
    addAtom(media, "minf", information);
    addAtom(atoms, "tkhd", trackHeader());
    addAtom(atoms, "mdia", media);
    return atoms;
}

ChunkBuilder userData(const IFileParser::FileInfo& info) {
    const std::pair<std::string_view, const CStringRef&> texts[] = {{"\251nam", info.name},
                                                                    {"\251ART", info.author},
                                                                    {"\251cpy", info.copyright},
                                                                    {"\251cmt", info.annotation}};
    ChunkBuilder atoms = body();
    for (const auto& [type, text] : texts) {
        const auto characters = textToWrite(text, kMostTextBytes);
        if (!characters) continue;
        const auto size = static_cast<std::uint16_t>(characters->size());
        addAtom(atoms, type, body().add16(size).add16(kNoLanguage).addText(*characters));
    }
    return atoms;
}

ChunkBuilder headWithSamplesAt(std::uint64_t firstSampleAt, const IFileParser& parser,
                               const IFileParser::FormatInfo& format) {
    ChunkBuilder movie = body(), file = body();
    addAtom(movie, "mvhd", movieHeader(format));
    addAtom(movie, "trak", track(format, firstSampleAt));
    const ChunkBuilder texts = userData(parser.getFileInfo());
    if (texts.size() > 0) addAtom(movie, "udta", texts);
    addAtom(file, "ftyp", body().addText("qt  ").add32(0).addText("qt  "));
    addAtom(file, "moov", movie);
    constexpr std::uint32_t kSizeIsLarge = 1;
    file.add32(kSizeIsLarge).addText("mdat");
    return add64(file, kSampleHeaderSize);
}

using Path = std::initializer_list<std::uint32_t>;

/// Where the body of the atom begins that `path` leads to, by the first of each type; `head` has them all.
std::size_t bodyOf(std::span<const std::byte> head, Path path) {
    std::size_t at = 0;
    for (const std::uint32_t type : path) {
        while (platform::loadBig32(head.data() + at + 4) != type) at += platform::loadBig32(head.data() + at);
        at += kAtomHeaderSize;
    }
    return at;
}

constexpr std::uint32_t kMovie = fourCharCode("moov"), kTrack = fourCharCode("trak"),
                        kMedia = fourCharCode("mdia"), kInformation = fourCharCode("minf"),
                        kTables = fourCharCode("stbl");

/// Where a table of the track begins.
std::size_t tableOf(std::span<const std::byte> head, std::uint32_t type) {
    return bodyOf(head, {kMovie, kTrack, kMedia, kInformation, kTables, type});
}

/// Makes the header of the movie state its length.
void stateFrames(std::span<std::byte> head, std::uint32_t frames) {
    const Path kMovieHeader{kMovie, fourCharCode("mvhd")}, kTrackHeader{kMovie, kTrack, fourCharCode("tkhd")},
        kMediaHeader{kMovie, kTrack, kMedia, fourCharCode("mdhd")};
    platform::storeBig64(head.data() + bodyOf(head, kMovieHeader) + kMovieDurationAt, frames);
    platform::storeBig64(head.data() + bodyOf(head, kTrackHeader) + kTrackDurationAt, frames);
    platform::storeBig64(head.data() + bodyOf(head, kMediaHeader) + kMediaDurationAt, frames);
    platform::storeBig32(head.data() + tableOf(head, fourCharCode("stts")) + kTimesFramesAt, frames);
    platform::storeBig32(head.data() + tableOf(head, fourCharCode("stsc")) + kRunsCountAt, frames);
    platform::storeBig32(head.data() + tableOf(head, fourCharCode("stsz")) + kSizesCountAt, frames);
}

}  // namespace

CQTWriter::CQTWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite)
    : CSampleFileWriter(path, layoutFor(parser), overwrite) {}

CSampleFileWriter::Layout CQTWriter::layoutFor(const IFileParserRef& parser) {
    halyard::throwIfNull(parser, "parser");
    IFileParser::FormatInfo format;
    parser->getFormatInfo(format);
    requireWritable(format);
    Layout layout;
    // The size of the head does not depend on what it says.
    const std::size_t size = headWithSamplesAt(0, *parser, format).size();
    layout.head = headWithSamplesAt(size, *parser, format).bytes();
    layout.frontSize = tableOf(layout.head, fourCharCode("co64"));
    layout.sampleSizeAt = size - sizeof(std::uint64_t);
    layout.sampleSizeWidth = sizeof(std::uint64_t);
    layout.channels = format.mChannelsPerFrame;
    layout.bytesPerSample = format.mBitsPerChannel / 8;
    layout.mostSampleBytes = std::int64_t{kMost32} * format.mChannelsPerFrame * (format.mBitsPerChannel / 8);
    layout.order = std::endian::big;
    layout.padsOddSizes = false;
    return layout;
}

void CQTWriter::stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const {
    const auto bytes = static_cast<std::uint64_t>(sampleBytes);
    const auto frames = static_cast<std::uint32_t>(bytes / bytesPerFrame());
    platform::storeBig64(head.data() + head.size() - sizeof(std::uint64_t), kSampleHeaderSize + bytes);
    stateFrames(head, frames);
}

}  // namespace marl
