// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/CQTFileParser.h>

#include <MarlCore/Files/parsing/MovieTexts.h>
#include <MarlCore/Files/parsing/SoundMap.h>
#include <MarlCore/Files/streaming/CQTDiskFileData.h>

#include <algorithm>
#include <limits>

namespace marl {
namespace {

CStringRef* fieldsOf(IFileParser::FileInfo& info, unsigned kind) {
    CStringRef* const fields[] = {&info.name, &info.author, &info.copyright, &info.annotation};
    return fields[kind];
}

}  // namespace

CQTFileParser::CQTFileParser(const IFileDataRef& fileData) : IFileParser(fileData) {}

CQTFileParser::~CQTFileParser() = default;

/// The data strategy of movies needs the same of them, and reads it once for both.
long long CQTFileParser::findHeaderAndReturnOffset() {
    if (auto* const movieData = dynamic_cast<CQTDiskFileData*>(&fileData())) {
        m_movie = movieData->movie();
        m_sound = movieData->sound();
    } else {
        m_movie = std::make_shared<movie::Movie>(movie::readMovie(fileData()));
        m_sound = std::make_shared<movie::Sound>(movie::readSound(fileData(), *m_movie));
    }
    return m_movie->place.start;
}

void CQTFileParser::findFormatInfo() {
    const movie::SoundDescription& stored = m_sound->description;
    setLinearFormat(stored.sampleRate, stored.channels, stored.reportedBits());
    if (stored.reportedBits() != 32) return;
    FormatInfo format;
    getFormatInfo(format);
    format.mFormatFlags = platform::kAudioFormatFlagIsFloat | platform::kAudioFormatFlagIsBigEndian;
    setFormatInfo(format);
}

/// A length that does not count them all is the highest: those who convert can tell by it that samples are
/// missing.
void CQTFileParser::findSampleOffset() {
    FormatInfo format;
    getFormatInfo(format);
    constexpr long long kMostBytes = std::numeric_limits<int>::max();
    setSampleOffset(m_sound->map.reportedOffset());
    setSampleLengthInBytes(
        static_cast<int>(std::min(m_sound->map.frames() * format.mBytesPerFrame, kMostBytes)));
}

void CQTFileParser::findBasicTaggingInfo() {
    deriveBasicTagging();
}

void CQTFileParser::findTransients() {
    parse(kBasicTaggingInfo);  // the grid needs the beats
    deriveTransients();
}

void CQTFileParser::findFileInfo() {
    const movie::Texts texts = movie::readTexts(fileData(), *m_movie);
    for (unsigned kind = 0; kind < movie::kTextKinds; ++kind) {
        if (texts[kind])
            *fieldsOf(m_fileInfo, kind) = textFromBytes(*texts[kind], halyard::TextEncoding::kMacRoman);
    }
}

}  // namespace marl
