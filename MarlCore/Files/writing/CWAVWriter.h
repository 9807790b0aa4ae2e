// SPDX-License-Identifier: MIT
/// \file
/// The writer of WAV files.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/Files/writing/CSampleFileWriter.h>

namespace marl {

/// Writes an uncompressed WAV file of 8, 16 or 24 bits, with the loop chunks 'acid' and 'strc' and the texts
/// in LIST/INFO. See docs/loop-metadata.md for every byte. Instrument, genre, descriptors and scale type are
/// lost: the format has no place for them; every reader takes the loop to be in 4/4, so the beats are written
/// as quarter notes.
class MARLCORE_EXPORT CWAVWriter : public CSampleFileWriter {
public:
    /// Takes from `parser` what `CAIFWriter` does. A rate that is no whole number of Hz is rounded. Texts of
    /// more than 16000 bytes are cut there, at a whole character.
    ///
    /// Throws "WAV files are written with 8, 16 or 24 bits (not %u)", and for formats without channels or
    /// rate, with frames of more than 65535 bytes or a rate beyond 32 bits, before anything happens to the
    /// disk.
    CWAVWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite);

protected:
    void stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const override;

private:
    static Layout layoutFor(const IFileParserRef& parser);

    double m_quarterNotes = 0;  // of a loop whose tempo 'acid' states; 0 otherwise
    double m_framesPerMinute = 0;
};

}  // namespace marl
