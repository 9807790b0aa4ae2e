// SPDX-License-Identifier: MIT
/// \file
/// The parser of QuickTime movies.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

#include <memory>

namespace marl {

namespace movie {
struct Movie;
struct Sound;
}  // namespace movie

/// Reads the sound of QuickTime movies: the first enabled sound track, when it is uncompressed, with its
/// edits; and the movie's name, author, copyright and comment. The format has no loop metadata, so beats and
/// type come from the length, and slice points lie on a grid.
///
/// The sample length is that of the sound as it is heard, in the form that `CQTDiskFileData` delivers from,
/// silence of empty edits included. The sample offset is that of the first frame that the file holds; the
/// others need not follow it. [one thread at a time]
class MARLCORE_EXPORT CQTFileParser : public IFileParser {
public:
    explicit CQTFileParser(const IFileDataRef& fileData);
    ~CQTFileParser() override;

    /// The offset of the first atom in the movie's header.
    long long findHeaderAndReturnOffset() override;
    void findFormatInfo() override;
    void findSampleOffset() override;
    void findTransients() override;
    void lookForTransients() override { sourceFileHasTransients(false); }
    void findFileInfo() override;
    void findSearchInfo() override {}
    void findBasicTaggingInfo() override;
    bool verifyFile() override { return verifySampleData(); }

private:
    std::shared_ptr<const movie::Movie> m_movie;
    std::shared_ptr<const movie::Sound> m_sound;
};

}  // namespace marl
