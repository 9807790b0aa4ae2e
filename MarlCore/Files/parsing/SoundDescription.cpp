// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/SoundDescription.h>

#include <MarlCore/foundation/CException.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace marl::movie {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

constexpr Code kLinear = fourCharCode("lpcm");
constexpr Code kOffsetBinary = fourCharCode("raw ");
constexpr Code kUnnamed = fourCharCode("NONE");

/// What a codec says of its samples, where the description leaves it open.
struct Codec {
    Code code;
    int bytesPerSample;  // 0: as the description states
    bool isFloat;
    bool isBigEndian;
};

constexpr Codec kCodecs[] = {
    {kOffsetBinary, 0, false, true},
    {kUnnamed, 0, false, true},
    {fourCharCode("twos"), 0, false, true},
    {fourCharCode("sowt"), 0, false, false},
    {fourCharCode("in24"), 3, false, true},
    {fourCharCode("in32"), 4, false, true},
    {fourCharCode("fl32"), 4, true, true},
    {fourCharCode("fl64"), 8, true, true},
    {kLinear, 0, false, false},
};

// Offsets in a sound description, from its size on.
constexpr std::size_t kFormatAt = 4, kDataReferenceAt = 14, kVersionAt = 16, kChannelsAt = 24, kBitsAt = 26,
                      kRateAt = 32, kSize0 = 36, kSize1 = 52;
// Of version 2.
constexpr std::size_t kStructSizeAt = 36, kRate2At = 40, kChannels2At = 48, kBits2At = 56, kFlags2At = 60,
                      kPacketBytes2At = 64, kSize2 = 72;

// Flags of 'lpcm'.
constexpr std::uint32_t kFloatFlag = 1, kBigEndianFlag = 2, kSignedFlag = 4, kAlignedHighFlag = 16,
                        kSeparateFlag = 32;

const Codec& codecOf(Code code) {
    const auto* const codec = std::ranges::find(kCodecs, code, &Codec::code);
    if (codec == std::end(kCodecs))
        throw CParamException(kParameterError,
                              "unsupported sound codec '%s': only uncompressed sound is read",
                              textOf(code).c_str());
    return *codec;
}

/// 'enda' with the value 1, on its own or in 'wave', turns the byte order round.
bool saysLittleEndian(IFileData& file, const Atom& entry, long long headSize) {
    auto order = findAtom(file, entry, fourCharCode("enda"), headSize);
    if (!order)
        order = findAtom(file, findAtom(file, entry, fourCharCode("wave"), headSize), fourCharCode("enda"));
    return order && Fields(file, *order, 2).u16(0) == 1;
}

/// What the codec says, and `bits` where that leaves it open.
void readForm(const Codec& codec, std::uint32_t bits, SoundDescription& sound) {
    const bool isWhole = bits % 8 == 0 && bits <= 64;
    sound.isFloat = codec.isFloat;
    sound.bytesPerSample = codec.bytesPerSample != 0 ? codec.bytesPerSample
                           : isWhole                 ? static_cast<int>(bits / 8)
                                                     : 0;
    const bool isOffsetBinary = codec.code == kOffsetBinary || codec.code == kUnnamed;
    sound.isSigned = !isOffsetBinary || sound.bytesPerSample != 1;
}

void readClassic(IFileData& file, const Atom& entry, const Fields& fields, const Track& track,
                 SoundDescription& sound) {
    const Codec& codec = codecOf(fields.u32(kFormatAt));
    readForm(codec, fields.u16(kBitsAt), sound);
    const std::size_t headSize = fields.u16(kVersionAt) == 1 ? kSize1 : kSize0;
    const bool isReversed =
        codec.bytesPerSample != 0 && saysLittleEndian(file, entry, static_cast<long long>(headSize));
    sound.isBigEndian = codec.isBigEndian && !isReversed;
    sound.channels = fields.u16(kChannelsAt);
    sound.sampleRate = fields.u32(kRateAt) / 65536.0;
    // Rates that 16 bits cannot hold are left out.
    if (sound.sampleRate < 1) sound.sampleRate = track.mediaTimeScale;
}

void readLinearFlags(const Fields& fields, SoundDescription& sound) {
    const std::uint32_t flags = fields.u32(kFlags2At), bits = fields.u32(kBits2At);
    const std::uint32_t bytes = fields.u32(kPacketBytes2At) / static_cast<std::uint32_t>(sound.channels);
    if (flags & kSeparateFlag && sound.channels > 1)
        throw CParamException(kParameterError, "sound whose channels are not interleaved is not supported");
    if (bytes * 8ULL != bits && !(flags & kAlignedHighFlag && bits != 0 && bits <= bytes * 8ULL))
        throw CParamException(kParameterError, "samples of %u bits in %u bytes are not supported", bits,
                              bytes);
    sound.isFloat = flags & kFloatFlag;
    sound.isBigEndian = flags & kBigEndianFlag;
    sound.isSigned = flags & kSignedFlag;
    sound.bytesPerSample = static_cast<int>(std::min(bytes, 255U));
    if (!sound.isSigned && !sound.isFloat && bytes > 1)
        throw CParamException(kParameterError, "unsigned samples of %u bits are not supported", bits);
}

void readVersion2(IFileData& file, const Atom& entry, const Fields& fields, SoundDescription& sound) {
    const std::uint32_t channels = fields.u32(kChannels2At);
    sound.sampleRate = std::bit_cast<double>(fields.u64(kRate2At));
    sound.channels = static_cast<int>(std::min<std::uint32_t>(channels, SoundDescription::kMostChannels + 1));
    const Codec& codec = codecOf(fields.u32(kFormatAt));
    if (channels == 0 || channels > SoundDescription::kMostChannels) return;  // refused by the caller
    if (codec.code == kLinear) return readLinearFlags(fields, sound);
    readForm(codec, fields.u32(kBits2At), sound);
    sound.isBigEndian = codec.isBigEndian && !saysLittleEndian(file, entry, fields.u32(kStructSizeAt));
}

void requireSupported(const SoundDescription& sound) {
    if (sound.channels < 1 || sound.channels > SoundDescription::kMostChannels)
        throw CParamException(kParameterError, "the sound description has no usable number of channels");
    if (!(sound.sampleRate > 0) || !std::isfinite(sound.sampleRate))
        throw CParamException(kParameterError, "the sound description has no sample rate");
    const int bytes = sound.bytesPerSample;
    if (sound.isFloat ? bytes != 4 && bytes != 8 : bytes < 1 || bytes > 4)
        throw CParamException(kParameterError, "%s samples of %d bytes are not supported",
                              sound.isFloat ? "floating-point" : "integer", bytes);
}

}  // namespace

SoundDescription readSoundDescription(IFileData& file, const Track& track) {
    const auto table = findAtom(file, track.sampleTables, fourCharCode("stsd"));
    std::optional<Atom> entry;
    if (table) entry = AtomReader(file, *table, 8).next();
    if (entry) entry->start = entry->header;  // offsets in descriptions are told from there on
    if (!entry || entry->size() < static_cast<long long>(kSize0))
        throw CParamException(kParameterError, "couldn't find the sound description ('stsd')");
    const Fields fields(file, *entry, kSize2);
    SoundDescription sound;
    sound.dataReference = fields.u16(kDataReferenceAt);
    const int version = fields.u16(kVersionAt);
    if (version > 2)
        throw CParamException(kParameterError, "unknown version %d of the sound description", version);
    if (version == 2)
        readVersion2(file, *entry, fields, sound);
    else
        readClassic(file, *entry, fields, track, sound);
    requireSupported(sound);
    return sound;
}

}  // namespace marl::movie
