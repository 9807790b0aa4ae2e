// SPDX-License-Identifier: MIT
/// \file
/// The parser of WAV files.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

namespace marl {

/// Reads uncompressed WAV files of 8 to 24 bits, their loop chunks 'acid' and 'strc' and the texts of
/// LIST/INFO. See docs/loop-metadata.md for every chunk. Carries no instrument, genre and descriptors: the
/// format has no chunk for them. [one thread at a time]
class MARLCORE_EXPORT CWAVFileParser : public IFileParser {
public:
    explicit CWAVFileParser(const IFileDataRef& fileData) : IFileParser(fileData) {}

    long long findHeaderAndReturnOffset() override;
    void findFormatInfo() override;
    void findSampleOffset() override;
    void findTransients() override;
    void lookForTransients() override;
    void findFileInfo() override;
    void findSearchInfo() override {}
    void findBasicTaggingInfo() override;
    bool verifyFile() override { return verifySampleData(); }

private:
    CBufferRef readInfoList();
    bool readTransients();
};

}  // namespace marl
