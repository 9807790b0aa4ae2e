// SPDX-License-Identifier: MIT
/// \file
/// The writer of AIFF files.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/Files/writing/CSampleFileWriter.h>

namespace marl {

/// Writes an uncompressed AIFF file of 16 or 24 bits, with the loop chunks 'basc', 'cate' and 'trns' and the
/// text chunks. See docs/loop-metadata.md for every byte.
///
/// ```cpp
/// IFileParserRef description(new CLoopDescription(44100, 2, 24));
/// IFileWriterRef writer(new CAIFWriter(halyard::CSTR("take.aif"), description, true));
/// writer->writeSamples(block, 0, samplesInBlock);
/// ```
class MARLCORE_EXPORT CAIFWriter : public CSampleFileWriter {
public:
    /// Takes from `parser`, now and never again: the format, and of the metadata that it has parsed or been
    /// given the basic tagging (when there are beats), the search tags, the texts, and for a loop the slice
    /// points at the delivered rate. `path` is the file's path in the file system. Texts of more than 65536
    /// bytes are cut there, at a whole character.
    ///
    /// Throws "AIFF files are written with 16 or 24 bits (not %u)", and for formats without channels or rate
    /// or with more than 32767 channels, before anything happens to the disk.
    CAIFWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite);

protected:
    void stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const override;

private:
    static Layout layoutFor(const IFileParserRef& parser);
};

}  // namespace marl
