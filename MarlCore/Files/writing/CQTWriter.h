// SPDX-License-Identifier: MIT
/// \file
/// The writer of QuickTime movies.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/Files/writing/CSampleFileWriter.h>

namespace marl {

/// Writes a QuickTime movie of one track of uncompressed sound: integers of 16 or 24 bits, or floats of 32
/// (which is what 32 bits mean here), all big-endian. The movie's header lies in front of the samples, which
/// are one chunk, and is rewritten with every block; their atom has a size of 64 bits. Name, author,
/// copyright and annotation go along; loop metadata has no place in the format and is lost.
class MARLCORE_EXPORT CQTWriter : public CSampleFileWriter {
public:
    /// Takes from `parser` the format and the texts that it has parsed or been given, now and never again.
    /// Texts of more than 16000 bytes are cut there, at a whole character. A file holds up to 2^32 - 1
    /// frames.
    ///
    /// Throws "QuickTime files are written with 16, 24 or 32 bits (not %u)", and for formats without channels
    /// or rate, with more than 32767 channels or a rate beyond 32 bits, before anything happens to the disk.
    CQTWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite);

protected:
    void stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const override;

private:
    static Layout layoutFor(const IFileParserRef& parser);
};

}  // namespace marl
