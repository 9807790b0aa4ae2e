// SPDX-License-Identifier: MIT
/// \file
/// AIFF and WAV files with loop metadata, made in memory.
#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// 'COMM' of an AIFF file. Without `frames` the count of whole frames in the samples.
struct CommonChunk {
    int channels = 2;
    std::optional<std::int64_t> frames = {};
    int bitsPerChannel = 16;
    double sampleRate = 44100;
};

/// 'basc': beats in units of the denominator; a root note of -1 means none.
struct BasicTagging {
    std::int64_t version = 1;
    int beats = 8;
    int rootNote = 48;
    int scaleType = 3;
    int numerator = 4;
    int denominator = 4;
    int fileType = 1;  ///< 1 loop, 2 one-shot
};

/// 'cate': names of at most 49 characters.
struct Categories {
    std::int64_t version = 1;
    std::string instrument = {};
    std::string instrumentSubType = {};
    std::string genre = {};
    std::vector<std::string> descriptors = {};
    std::optional<int> claimedCount = {};  ///< in place of the number of descriptors
};

struct TransientRecord {
    int value = 0;
    std::int64_t position = 0;  ///< frames
};

/// 'trns'.
struct TransientChunk {
    int version = 1;
    int detectionPercentage = 50;
    int forcedDivisions = 16;
    std::uint64_t modificationDate = 0;  ///< as the file's data reports it; 0: not recorded
    std::vector<TransientRecord> records = {};
    std::optional<std::int64_t> claimedCount = {};  ///< in place of the number of records
};

/// What goes into an AIFF file, in this order; what is empty is left out.
struct AIFFContents {
    std::string formType = "AIFF";
    std::optional<CommonChunk> common = CommonChunk{};
    std::optional<BasicTagging> basicTagging = {};
    std::optional<Categories> categories = {};
    std::optional<TransientChunk> transients = {};
    std::optional<std::string> name = {};
    std::optional<std::string> author = {};
    std::optional<std::string> copyright = {};
    std::optional<std::string> annotation = {};
    std::optional<Bytes> midi = {};
    Bytes chunksBeforeSamples = {};          ///< whole chunks
    std::optional<Bytes> samples = Bytes{};  ///< body of 'SSND' behind its two fields
    Bytes chunksAfterSamples = {};           ///< whole chunks
};

/// The whole file; the size of 'FORM' is the true one.
Bytes aiffFile(const AIFFContents& contents);

/// 'fmt ' of a WAV file.
struct WAVFormat {
    int formatTag = 1;
    int channels = 2;
    std::int64_t sampleRate = 44100;
    int bitsPerChannel = 16;
};

/// 'acid'. Flags: 1 one-shot, 2 the root note is valid.
struct AcidChunk {
    std::int64_t flags = 2;
    int rootNote = 60;
    std::int64_t beats = 8;
    int numerator = 4;
    int denominator = 4;
    float tempo = 120;
};

/// 'strc': one record for each position, in frames.
struct StretchChunk {
    std::int64_t detectionPercentage = 50;
    std::int64_t divisionCode = 4;
    std::vector<std::int64_t> positions = {};
};

/// What goes into a WAV file, in this order; what is empty is left out.
struct WAVContents {
    std::string formType = "WAVE";
    std::optional<WAVFormat> format = WAVFormat{};
    std::optional<AcidChunk> acid = {};
    std::optional<StretchChunk> stretch = {};
    std::vector<std::pair<std::string, std::string>> info = {};  ///< LIST/INFO: "ICOP" and its text
    Bytes chunksBeforeSamples = {};                              ///< whole chunks
    std::optional<Bytes> samples = Bytes{};
    Bytes chunksAfterSamples = {};  ///< whole chunks
};

/// The whole file; the size of 'RIFF' is the true one.
Bytes wavFile(const WAVContents& contents);

/// The bodies of single chunks, for files that are damaged by hand.
Bytes commonBody(const CommonChunk& common, std::size_t sampleBytes);
Bytes basicTaggingBody(const BasicTagging& tagging);
Bytes categoriesBody(const Categories& categories);
Bytes transientBody(const TransientChunk& transients);
Bytes wavFormatBody(const WAVFormat& format);
Bytes acidBody(const AcidChunk& acid);
Bytes stretchBody(const StretchChunk& stretch);

}  // namespace support
