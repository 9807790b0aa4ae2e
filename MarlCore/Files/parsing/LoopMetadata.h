// SPDX-License-Identifier: MIT
/// \file
/// The musical metadata of a loop, as the loop chunks store it. See docs/loop-metadata.md for the bytes.
///
/// The records have the sizes and offsets of the chunks, with integers in the host's order; the functions
/// here are the way into and out of a file's bytes.
#pragma once

#include <MarlCore/platform/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace marl::tagging {

/// Beats in a bar and the note that counts as one: 3 and 4 for three-four time.
struct TimeSignature {
    std::int16_t numerator = 4;
    std::int16_t denominator = 4;

    friend bool operator==(const TimeSignature&, const TimeSignature&) = default;
};
static_assert(sizeof(TimeSignature) == 4);

inline constexpr std::int16_t kFileTypeLoop = 1;
inline constexpr std::int16_t kFileTypeOneShot = 2;  ///< plays once; has no tempo
inline constexpr std::uint32_t kTaggingVersion = 1;  ///< the only version of each loop chunk that is read

/// The body of a 'basc' chunk.
struct BasicTaggingChunk {
    std::uint32_t version = 0;
    std::int32_t numberOfBeats = 0;  ///< in units of the time signature's denominator
    std::int16_t rootNote = 0;       ///< MIDI note number; in a file -1 means none
    std::int16_t scaleType = 3;      ///< kept as found, without a meaning here
    TimeSignature timeSignature;
    std::int16_t fileType = kFileTypeLoop;
    std::array<std::byte, 66> reserved{};

    friend bool operator==(const BasicTaggingChunk&, const BasicTaggingChunk&) = default;
};
static_assert(sizeof(BasicTaggingChunk) == 84 && offsetof(BasicTaggingChunk, numberOfBeats) == 4 &&
              offsetof(BasicTaggingChunk, rootNote) == 8 && offsetof(BasicTaggingChunk, scaleType) == 10 &&
              offsetof(BasicTaggingChunk, timeSignature) == 12 &&
              offsetof(BasicTaggingChunk, fileType) == 16 && offsetof(BasicTaggingChunk, reserved) == 18);

/// One search keyword in UTF-8, padded with zero bytes; one of exactly 50 bytes has no zero byte.
struct MARLCORE_EXPORT Keyword {
    static constexpr std::size_t kSize = 50;
    std::array<char, kSize> text{};

    Keyword() = default;
    /// Takes the first 50 bytes of `keyword`, up to a zero byte.
    explicit Keyword(std::string_view keyword) noexcept;

    std::string_view view() const noexcept;
    friend bool operator==(const Keyword&, const Keyword&) = default;
};
static_assert(sizeof(Keyword) == 50);

using Genre = Keyword;
using Descriptor = Keyword;

/// What plays: "Drum Kit", and of which sort: "Breakbeat". Either may be empty.
struct Instrument {
    Keyword type;
    Keyword subType;

    friend bool operator==(const Instrument&, const Instrument&) = default;
};
static_assert(sizeof(Instrument) == 100);

/// One slice point of a loop.
struct TransientStruct {
    std::int16_t value = 0;  ///< kept as found
    std::array<std::byte, 2> unused{};
    std::uint32_t position = 0;  ///< frames from the first sample
    std::array<std::byte, 16> unusedToo{};

    friend bool operator==(const TransientStruct&, const TransientStruct&) = default;
};
static_assert(sizeof(TransientStruct) == 24 && offsetof(TransientStruct, position) == 4);

/// The head of a 'trns' chunk; the records follow.
struct TransientsChunk {
    static constexpr std::size_t kHeadSize = 76;
    static constexpr std::size_t kRecordSize = 24;

    std::uint16_t version = 0;
    std::int16_t detectionPercentage = 0;
    std::int16_t forcedDivisions = 0;
    std::int64_t modificationDate = 0;  ///< as `IFileData::getFileModificationDate`; 0: not recorded
    std::int32_t count = 0;
};

/// The body of a 'basc' chunk, and back. `body` holds at least 84 bytes.
MARLCORE_EXPORT BasicTaggingChunk decodeBasicTagging(const std::byte* body) noexcept;
MARLCORE_EXPORT void encodeBasicTagging(const BasicTaggingChunk& chunk, std::byte* body) noexcept;

/// The head of a 'trns' chunk, and back. `body` holds at least 76 bytes.
MARLCORE_EXPORT TransientsChunk decodeTransientsHead(const std::byte* body) noexcept;
MARLCORE_EXPORT void encodeTransientsHead(const TransientsChunk& head, std::byte* body) noexcept;

/// One record of a 'trns' chunk, and back: 24 bytes.
MARLCORE_EXPORT TransientStruct decodeTransient(const std::byte* record) noexcept;
MARLCORE_EXPORT void encodeTransient(const TransientStruct& transient, std::byte* record) noexcept;

}  // namespace marl::tagging
