// SPDX-License-Identifier: MIT
#include "support/MovieFiles.h"

namespace support {
namespace {

Bytes descriptionHead(std::string_view codec, int version) {
    return Bytes().text(codec).zeros(6).big16(1).big16(version).zeros(6);
}

Bytes withSize(const Bytes& description) {
    return Bytes().big32(static_cast<std::int64_t>(description.size()) + 4).append(description);
}

void addAtom(Bytes& list, std::string_view type, const Bytes& body) {
    if (!body.empty()) list.append(atom(type, body));
}

}  // namespace

Bytes atom(std::string_view type, const Bytes& body) {
    return Bytes().big32(static_cast<std::int64_t>(body.size()) + 8).text(type).append(body);
}

Bytes movieTable(std::int64_t rows, const std::vector<std::int64_t>& fields, int version) {
    Bytes table = Bytes().byte(version).zeros(3).big32(rows);
    for (const std::int64_t field : fields) table.big32(field);
    return table;
}

Bytes movieTable(std::int64_t rows, std::initializer_list<std::int64_t> fields, int version) {
    return movieTable(rows, std::vector<std::int64_t>(fields), version);
}

Bytes soundDescription(std::string_view codec, int channels, int bits, int rate,
                       const std::optional<Bytes>& extension) {
    Bytes body = descriptionHead(codec, extension ? 1 : 0).big16(channels).big16(bits);
    body.zeros(4).big16(rate).big16(0);
    if (extension) body.zeros(16).append(*extension);
    return withSize(body);
}

Bytes linearDescription(int channels, int bits, int flags, int bytesPerPacket, std::string_view codec) {
    constexpr std::uint64_t kRate1000 = 0x408F400000000000;  // 1000.0
    Bytes body = descriptionHead(codec, 2).big16(3).big16(16).big16(-2).big16(0).big32(65536).big32(72);
    body.big64(kRate1000).big32(channels).big32(0x7F000000).big32(bits).big32(flags);
    return withSize(body.big32(bytesPerPacket).big32(1));
}

MovieTrackContents plainTrack(std::int64_t offset, std::int64_t frames, int bytesPerFrame) {
    MovieTrackContents track;
    track.sizes = Bytes().big32(0).big32(bytesPerFrame).big32(frames);
    track.runs = movieTable(1, {1, frames, 1});
    track.offsets = movieTable(1, {offset});
    return track;
}

Bytes movieTrack(const MovieTrackContents& track) {
    const Bytes header = Bytes().big32(track.enabled ? 1 : 0).zeros(8).big32(1).zeros(68);
    Bytes tables, information, media, body = atom("tkhd", header);
    addAtom(tables, "stsd", track.descriptions);
    addAtom(tables, "stsc", track.runs);
    addAtom(tables, "stsz", track.sizes);
    addAtom(tables, "stco", track.offsets);
    if (!track.references.empty()) information.append(atom("dinf", atom("dref", track.references)));
    information.append(atom("stbl", tables));
    media.append(atom("mdhd", Bytes().zeros(12).big32(track.mediaTimeScale).zeros(8)));
    media.append(atom("hdlr", Bytes().zeros(4).text("mhlr").text(track.handler).zeros(13)));
    media.append(atom("minf", information));
    if (!track.edits.empty()) body.append(atom("edts", atom("elst", track.edits)));
    return atom("trak", body.append(atom("mdia", media)));
}

Bytes movieHeader(const Bytes& tracks) {
    const Bytes header = Bytes().zeros(12).big32(100).zeros(84);
    return atom("moov", atom("mvhd", header).append(tracks));
}

std::string deliveredSound(marl::IFile& file, unsigned bits) {
    marl::IFileParser& parser = *file.getFileParserRef();
    marl::IFileData& data = *file.getFileDataRef();
    parser.parse(marl::IFileParser::kParseAll);
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    const auto frames = static_cast<int>(parser.getLengthInFrames());
    data.setSampleConversion(format, frames, parser.getSampleOffset(),
                             platform::makeHostFormat(format.mSampleRate, format.mChannelsPerFrame, bits));
    const int samples = frames * static_cast<int>(format.mChannelsPerFrame);
    std::string sound;
    for (int first = 0, last = 0; first < samples; first = last + 1) {
        const auto* const block = static_cast<const char*>(data.readSamples(first, samples, &last, true));
        sound.append(block, static_cast<std::size_t>(last - first + 1) * bits / 8);
    }
    return sound;
}

}  // namespace support
