// SPDX-License-Identifier: MIT
/// \file
/// The data strategy that streams the sound of a QuickTime movie.
#pragma once

#include <MarlCore/Files/streaming/CDiskFileData.h>

#include <memory>

namespace marl {

namespace movie {
struct Movie;
struct Sound;
struct Stretch;
}  // namespace movie

/// Streams the sound of a movie as `CDiskFileData` streams a plain file, although its frames lie in chunks
/// all over the file: the stream is that of the movie's edits, with silence where an edit is empty and where
/// the file does not hold a chunk. Reads the movie's header by itself, when first asked for it.
///
/// Stored samples take the form of one of the file formats that a conversion can start from, the one that
/// `CQTFileParser` reports: 8 bits become unsigned, integers of 32 bits and floats of 64 bits become 32-bit
/// floats. Those are also delivered in 16 and 24 bits here: integers truncated, floats rounded and clipped.
///
/// Byte offsets as `setSampleConversion` takes them count from the parser's sample offset on, through the
/// stream, not through the file. Threads as in `CDiskFileData`.
class MARLCORE_EXPORT CQTDiskFileData : public CDiskFileData {
public:
    CQTDiskFileData(const CURLRef& url, bool create, bool dataIsBigEndian);
    ~CQTDiskFileData() override;

    /// Throws also what reading the movie throws.
    void setSampleConversion(AudioStreamBasicDescription fileFormat, int frames, long long dataOffset,
                             AudioStreamBasicDescription outputFormat) override;
    bool getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames, long long* dataOffset,
                             AudioStreamBasicDescription* outputFormat) override;

    /// What the file holds; both are read once, and belong to this object too. Throw `CParamException` for
    /// what is no movie, or one without sound that can be read.
    const std::shared_ptr<const movie::Movie>& movie();
    const std::shared_ptr<const movie::Sound>& sound();

protected:
    std::span<const std::byte> readFileSamples(long long first, int count,
                                               std::span<std::byte> storage) const override;

private:
    void readStretch(const movie::Stretch& stretch, int skippedSamples, std::span<std::byte> samples) const;
    std::size_t readStored(long long offset, std::span<std::byte> samples) const;

    std::shared_ptr<const movie::Movie> m_movie;
    std::shared_ptr<const movie::Sound> m_sound;
    AudioStreamBasicDescription m_fileFormat;  // as it was set
    int m_width = 0;                           // bytes of a sample as `readFileSamples` gives it
    long long m_firstSample = 0;               // of the stream that is converted
};

}  // namespace marl
