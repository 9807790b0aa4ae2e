// SPDX-License-Identifier: MIT
/// \file
/// The parser of AIFF files.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

namespace marl {

/// Reads uncompressed AIFF files of 8 to 24 bits and their loop chunks 'basc', 'cate' and 'trns'.
/// See docs/loop-metadata.md for every chunk. [one thread at a time]
class MARLCORE_EXPORT CAIFFileParser : public IFileParser {
public:
    explicit CAIFFileParser(const IFileDataRef& fileData) : IFileParser(fileData) {}

    long long findHeaderAndReturnOffset() override;
    void findFormatInfo() override;
    void findSampleOffset() override;
    void findTransients() override;
    void lookForTransients() override;
    void findFileInfo() override;
    void findSearchInfo() override;
    void findBasicTaggingInfo() override;
    bool hasMidiChunk() override { return m_hasMidiChunk; }
    bool verifyFile() override { return verifySampleData(); }

    /// The 80-bit extended number of a 'COMM' chunk, rounded to a whole number; its sign and the upper byte
    /// of its exponent are ignored. `extended` points to 10 bytes.
    static unsigned long extendedToULong(const char* extended) noexcept;

    void findMidiChunk();

    /// The text of the first chunk `tag`, or null. Bytes that are no UTF-8 are taken as Mac Roman.
    CStringRef textChunkToString(const std::string& tag);

    /// True when the slice points belong to the file as it is: their date is the file's, or none is recorded.
    bool validateModificationDate(const tagging::TransientsChunk* chunk) const;

private:
    bool readTransients();

    bool m_hasMidiChunk = false;
};

}  // namespace marl
