// SPDX-License-Identifier: MIT
/// \file
/// The common base of the format parsers.
#pragma once

#include <MarlCore/Files/IFileData.h>
#include <MarlCore/Files/parsing/LoopMetadata.h>
#include <MarlCore/foundation/CString.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marl {

using halyard::CStringRef;

/// The parsed picture of one file: its sample format, where its samples lie, and its loop metadata. Parsing
/// is lazy: a caller asks for groups of information, and each group is read once. All reading goes through
/// the file data, so it works the same over every strategy. [one thread at a time]
///
/// A file that is not of the format, or of a kind that is not supported, is a `halyard::CParamException` from
/// the first `parse`; the parser then stays unparsed, and the next `parse` tries again. Metadata that is
/// absent or damaged is never an error.
class MARLCORE_EXPORT IFileParser : public halyard::CSharedObject {
public:
    // Groups for `parse`, to be added together.
    static constexpr unsigned short kNoFlags = 0x0000;
    static constexpr unsigned short kBasicTaggingInfo =
        0x0001;                                              ///< beats, root note, time signature, file type
    static constexpr unsigned short kTransients = 0x0002;    ///< slice points
    static constexpr unsigned short kFileInfo = 0x0004;      ///< name, author, copyright, annotation
    static constexpr unsigned short kFormatInfo = 0x0008;    ///< sample format; every `parse` reads it
    static constexpr unsigned short kSampleOffset = 0x0010;  ///< where the samples lie; likewise
    static constexpr unsigned short kSearchInfo = 0x0020;    ///< instrument, genre, descriptors
    static constexpr unsigned short kCheckForTransients =
        0x0040;  ///< only whether the file carries slice points
    static constexpr unsigned short kParseAll = 0xFFFF;

    using FormatInfo = platform::AudioStreamBasicDescription;
    using TransientStruct = tagging::TransientStruct;

    /// Texts of the file; null where it has none.
    struct FileInfo {
        CStringRef name;
        CStringRef author;
        CStringRef copyright;
        CStringRef annotation;
    };

    /// No grid and no chunk gives more slice points than this: a hostile count of beats stays harmless.
    static constexpr std::size_t kMaximumTransients = 65536;

    explicit IFileParser(const IFileDataRef& fileData);
    ~IFileParser() override;

    // Steps of `parse` and `preparse`, which alone call them (`hasMidiChunk` and `verifyFile` excepted).

    /// Checks the file's header and returns the byte offset of its first chunk.
    virtual long long findHeaderAndReturnOffset() = 0;
    virtual void findFormatInfo() = 0;
    virtual void findSampleOffset() = 0;
    virtual void findTransients() = 0;
    virtual void lookForTransients() = 0;
    virtual void findFileInfo() = 0;
    virtual void findSearchInfo() = 0;
    virtual void findBasicTaggingInfo() = 0;

    /// Reads the groups in `flags` that have not been read yet; header, format and sample position always.
    virtual void parse(unsigned short flags);
    virtual bool hasMidiChunk();
    /// True when header, format and sample data are sound and the sample data holds at least one frame. Only
    /// a failing disk throws.
    virtual bool verifyFile() = 0;
    /// Reads header, format and sample position, once.
    virtual void preparse();

    // What was parsed. Setters change this picture only, never the file.

    unsigned int getSampleOffset() const noexcept { return m_sampleOffset; }  ///< bytes
    void setSampleOffset(unsigned int offset) noexcept { m_sampleOffset = offset; }
    int getSampleLengthInBytes() const noexcept { return m_sampleLengthInBytes; }
    void setSampleLengthInBytes(int length) noexcept { m_sampleLengthInBytes = length; }
    /// Byte offset of the first chunk: every chunk search starts there.
    long long getOffsetToData() const noexcept { return m_headerOffset; }

    /// Throws "format info is not valid. Cannot return" before the format is known.
    void getFormatInfo(FormatInfo& formatInfo) const;
    /// Throws "new format info is not valid. Cannot set" for a sample rate of -1.
    void setFormatInfo(const FormatInfo& formatInfo);

    /// Beats in units of the time signature's denominator, as the chunk has them.
    int getNaturalNumberOfBeats() const noexcept { return m_basicTagging.numberOfBeats; }
    void setNumberOfBeats(int beats) noexcept { m_basicTagging.numberOfBeats = beats; }
    /// The length in quarter notes, truncated: 7 eighths are 3.
    int getNumberOfBeats() const noexcept;
    /// The length in quarter notes: 7 eighths are 3.5. A denominator below 1 counts as 4.
    double getLengthInQuarterNotes() const noexcept;
    int getMidiRootNote() const noexcept { return m_basicTagging.rootNote; }
    void setMidiRootNote(int rootNote) noexcept {
        m_basicTagging.rootNote = static_cast<std::int16_t>(rootNote);
    }
    int getFileType() const noexcept { return m_basicTagging.fileType; }
    void setFileType(int type) noexcept { m_basicTagging.fileType = static_cast<std::int16_t>(type); }
    tagging::TimeSignature getTimeSignature() const noexcept { return m_basicTagging.timeSignature; }
    void setTimeSignature(tagging::TimeSignature signature) noexcept {
        m_basicTagging.timeSignature = signature;
    }
    const tagging::BasicTaggingChunk& getBasicTaggingChunk() const noexcept { return m_basicTagging; }
    void setBasicTaggingChunk(const tagging::BasicTaggingChunk& chunk) noexcept { m_basicTagging = chunk; }

    const tagging::Instrument& getInstrument() const noexcept { return m_instrument; }
    void setInstrument(const tagging::Instrument& instrument) noexcept { m_instrument = instrument; }
    const tagging::Genre& getGenre() const noexcept { return m_genre; }
    void setGenre(const tagging::Genre& genre) noexcept { m_genre = genre; }
    const std::vector<tagging::Descriptor>& getDescriptors() const noexcept { return m_descriptors; }
    void setDescriptors(const std::vector<tagging::Descriptor>& descriptors) { m_descriptors = descriptors; }
    const FileInfo& getFileInfo() const noexcept { return m_fileInfo; }
    void setFileInfo(const FileInfo& fileInfo) { m_fileInfo = fileInfo; }

    /// In file order, positions in frames at the file's own rate.
    const std::vector<TransientStruct>& getTransients() const noexcept { return m_transients; }
    void setTransients(const std::vector<TransientStruct>& transients) { m_transients = transients; }
    int getTransientDetectionPercentage() const noexcept { return m_transientDetectionPercentage; }
    void setTransientDetectionPercentage(int percentage) noexcept {
        m_transientDetectionPercentage = percentage;
    }
    /// Slice points of a whole note when a grid is laid instead of found ones.
    int getForceDivisionsAt() const noexcept { return m_forceDivisionsAt; }
    void setForceDivisionsAt(int divisions) noexcept {
        m_forceDivisionsAt = static_cast<std::int16_t>(divisions);
    }

    /// The beats that the file stated, before any were derived from its length; 0 when it stated none.
    int getSourceFileNumberOfBeats() const noexcept { return m_sourceFileNumberOfBeats; }
    void setSourceFileNumberOfBeats(int beats) noexcept { m_sourceFileNumberOfBeats = beats; }
    bool didSourceFileHaveTransients() const noexcept { return m_sourceFileHadTransients; }
    void sourceFileHasTransients(bool has) noexcept { m_sourceFileHadTransients = has; }
    bool didSourceFileHaveSearchTags() const noexcept { return m_sourceFileHadSearchTags; }
    void sourceFileHasSearchTags(bool has) noexcept { m_sourceFileHadSearchTags = has; }

    /// Output rate divided by file rate, for samples that are delivered at another rate; 0 means as they are.
    double getSampleRateConversion() const noexcept { return m_sampleRateConversion; }
    void setSampleRateConversion(double factor) noexcept { m_sampleRateConversion = factor; }
    /// Sample length and slice points at the delivered rate: scaled and truncated.
    int getSRConvertedSampleLengthInBytes() const noexcept;
    void getSRConvertedTransients(std::vector<TransientStruct>& transients) const;
    std::vector<TransientStruct> calcSRConvertedTransients() const;

    /// Searches the chunks from the read position on for the first whose identifier is `tag`. Returns the
    /// data size that it states, in bytes, and leaves the read position at its first data byte, even when the
    /// file ends before its data does; -1 when there is none, or when the chunks before it do not fit the
    /// file.
    long long findTag(const std::string& tag);

    /// The smallest power of two from 1 to 256 that makes the tempo at least 75 beats a minute; root note 0.
    /// `seconds` 0 stands for the file's own length.
    void deriveNumberOfBeatsAndRootNote(double seconds);
    /// A file shorter than 0.5 s or longer than 30 s is a one-shot; others stay what they are.
    void determineIfOneShot();
    /// Lays slice points on a grid: `getForceDivisionsAt` of a whole note, over the length of the loop. None
    /// for a one-shot, without beats, and for a grid of more than `kMaximumTransients`.
    void deriveTransients();

    double getLengthInSeconds() const noexcept;
    /// Whole frames in the sample data.
    long long getLengthInFrames() const noexcept;

    /// What was parsed stays; what is parsed from now on is read through `fileData`.
    void setFileDataRef(const IFileDataRef& fileData);

protected:
    IFileData& fileData() const;

    /// `findTag` from the first chunk on, in a list of the file's chunks that is made once; passes over the
    /// first `skipped` chunks of that identifier.
    long long findTagFromStart(const std::string& tag, int skipped = 0);

    /// Bytes of a chunk's body that the file really holds from the read position on, at most `size`.
    long long bytesAvailable(long long size) const;

    /// The body of the chunk whose data begins at the read position: what the file holds of its `size` bytes,
    /// at most `limit`.
    CBufferRef readChunk(long long size, long long limit) const;

    /// The text in a chunk's bytes, up to their first zero byte: UTF-8 when they are that, otherwise in
    /// `fallback`.
    static CStringRef textFromBytes(std::string_view bytes, halyard::TextEncoding fallback);

    /// Stores a format of uncompressed integers, or throws `CParamException` when it has no channels, no rate
    /// or no whole number of bytes a sample. Callers have checked the range of `bits` that their format has.
    void setLinearFormat(double sampleRate, int channels, int bits);

    /// Stores where the samples lie: `offset` bytes into the file, as many as are stated, there and
    /// countable.
    void setSamplePosition(long long offset, long long statedLength);

    /// The rule for files without usable tagging: beats from the length, one-shot by the length.
    void deriveBasicTagging();

    /// `verifyFile` for formats whose `preparse` checks all there is.
    bool verifySampleData();

    std::vector<TransientStruct> m_transients;
    FileInfo m_fileInfo;

private:
    /// A chunk of the file, and what it states of itself.
    struct ChunkPlace {
        std::array<char, 4> identifier{};
        long long size = 0;        // bytes of data
        long long dataOffset = 0;  // bytes from the start of the file

        bool is(std::string_view tag) const noexcept {
            return tag == std::string_view(identifier.data(), identifier.size());
        }
    };

    std::optional<ChunkPlace> readChunkHeader();
    bool stepOver(const ChunkPlace& chunk);
    void listChunks();
    void parseGroup(unsigned short pending, unsigned short group, void (IFileParser::*find)());

    IFileDataRef m_fileData;
    unsigned short m_parsedFlags = kNoFlags;
    bool m_preparsed = false;
    long long m_headerOffset = 0;
    std::vector<ChunkPlace> m_chunks;  // from m_headerOffset on; empty until the first search
    tagging::BasicTaggingChunk m_basicTagging;
    FormatInfo m_formatInfo;
    unsigned int m_sampleOffset = 0;
    int m_sampleLengthInBytes = 0;
    int m_transientDetectionPercentage = 0;
    std::int16_t m_forceDivisionsAt = 16;
    tagging::Instrument m_instrument;
    tagging::Genre m_genre;
    std::vector<tagging::Descriptor> m_descriptors;
    double m_sampleRateConversion = 0;
    int m_sourceFileNumberOfBeats = 0;
    bool m_sourceFileHadTransients = false;
    bool m_sourceFileHadSearchTags = false;
};

using IFileParserRef = halyard::CSharedObjectRef<IFileParser>;

}  // namespace marl
