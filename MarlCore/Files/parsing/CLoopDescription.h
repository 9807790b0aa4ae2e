// SPDX-License-Identifier: MIT
/// \file
/// The format and metadata of a file that does not exist yet.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

namespace marl {

/// A parser over no file: what it reports is what its setters were given. It tells a writer what to write, so
/// that a host can record or make a loop without a source file.
///
/// ```cpp
/// const halyard::CSharedObjectRef<CLoopDescription> loop(new CLoopDescription(44100, 2, 16));
/// loop->setNumberOfBeats(8);
/// loop->setMidiRootNote(57);
/// loop->setGenre(tagging::Genre("Jazz"));
/// IFileWriterRef writer(new CAIFWriter(halyard::CSTR("loop.aif"), loop, false));
/// ```
///
/// A new one describes a loop in 4/4 without beats, texts, search tags and slice points: a plain recording.
/// `parse` changes nothing. [one thread at a time]
class MARLCORE_EXPORT CLoopDescription : public IFileParser {
public:
    /// Integers of `bitsPerChannel` bits at `sampleRate` Hz. Throws `CParamException` for no channels, no
    /// rate or no whole number of bytes a sample.
    CLoopDescription(double sampleRate, int channels, int bitsPerChannel) : IFileParser({}) {
        setLinearFormat(sampleRate, channels, bitsPerChannel);
    }

    long long findHeaderAndReturnOffset() override { return 0; }
    void findFormatInfo() override {}
    void findSampleOffset() override {}
    void findTransients() override {}
    void lookForTransients() override {}
    void findFileInfo() override {}
    void findSearchInfo() override {}
    void findBasicTaggingInfo() override {}
    bool verifyFile() override { return true; }
};

}  // namespace marl
