// SPDX-License-Identifier: MIT
/// \file
/// What the tests of the writers share: writers by container, and files read back.
#pragma once

#include "support/DocumentedFile.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/IFileWriter.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace support {

using LoopDescriptionRef = halyard::CSharedObjectRef<marl::CLoopDescription>;

enum class Container { kAIFF, kWAV, kQuickTime };

/// A sample format that a container is written in.
struct WrittenFormat {
    Container container = Container::kAIFF;
    int channels = 2;
    int bits = 16;

    int bytesPerSample() const { return bits / 8; }
    int bytesPerFrame() const { return bits / 8 * channels; }
    const char* fileName() const;
};
std::ostream& operator<<(std::ostream& stream, const WrittenFormat& format);

/// Every container, with 1, 2 and 6 channels of every width that it is written in.
const std::vector<WrittenFormat>& writtenFormats();

/// 44100 Hz, no metadata.
LoopDescriptionRef describe(const WrittenFormat& format);

marl::IFileWriterRef newWriter(Container container, const std::string& path,
                               const marl::IFileParserRef& parser, bool overwrite = false);

/// Bytes of random samples, the same for the same seed.
std::string randomSamples(const WrittenFormat& format, int samples, unsigned seed);

/// Samples of a format as they stand for silence.
std::string silence(const WrittenFormat& format, int samples);

/// The file through its parser, which has parsed everything.
marl::IFileParserRef parsed(const std::string& path, Container container);

/// All samples, as the memory strategy (of movies, the one of theirs) delivers them in the width of the file;
/// those of 8 bits become their
/// 16-bit values, because nothing delivers 8 bits.
std::string deliveredSamples(const std::string& path, const WrittenFormat& format);

/// Samples as handed to a writer, in the form of `deliveredSamples`.
std::string asDelivered(const WrittenFormat& format, const std::string& samples);

/// Checks that every length in the file is the true one, and that there is nothing behind the samples.
void expectTrueHeader(const std::string& path, const WrittenFormat& format, int frames);

}  // namespace support
