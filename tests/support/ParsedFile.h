// SPDX-License-Identifier: MIT
/// \file
/// What a loop file says, whole: for comparing files that are damaged with files that are not.
#pragma once

#include "support/Bytes.h"

#include <MarlCore/Files/IFile.h>

#include <optional>
#include <string>
#include <vector>

namespace support {

/// Everything that a parser reports of a file, and its samples as floats.
struct Picture {
    double sampleRate = 0;
    unsigned channels = 0, bitsPerChannel = 0;
    unsigned sampleOffset = 0;
    int sampleLengthInBytes = 0;
    long long frames = 0;
    marl::tagging::BasicTaggingChunk tagging;
    int sourceBeats = 0;
    marl::tagging::Instrument instrument;
    marl::tagging::Genre genre;
    std::vector<marl::tagging::Descriptor> descriptors;
    std::vector<std::optional<std::string>> texts;  ///< name, author, copyright, annotation
    std::vector<long long> transients;              ///< frames
    std::vector<float> samples;                     ///< interleaved

    friend bool operator==(const Picture&, const Picture&) = default;
};

/// The picture of a file, or the message of the `CParamException` that refused it.
struct ParsedFile {
    std::optional<Picture> picture;
    std::string refusal;
};

/// Opens the file at `path` through the factory and reads all of it. What is refused must not verify, and
/// what is not must be consistent, else the test fails: the samples lie inside of the file, the slice points
/// inside of the loop and in order, and every sample from -1 to 1. Exceptions of another kind pass through.
ParsedFile parseFile(const std::string& path);

/// Whether the words are a format parser's own, for a file that is not of the format or not supported.
bool isRefusalOfAParser(const std::string& message);

/// A file of fuzz/corpus, by its path below that folder ("wav_fuzzer/stereo.wav").
Bytes seedFile(const std::string& name);

/// The extension with its dot: ".aif".
std::string extensionOf(const std::string& name);

}  // namespace support
