// SPDX-License-Identifier: MIT
/// \file
/// The interface of every sample-data strategy, and the conversions that the strategies share.
#pragma once

#include <MarlCore/foundation/CBuffer.h>
#include <MarlCore/platform/AudioStreamBasicDescription.h>

#include <cstdint>
#include <span>
#include <string>

namespace platform {
class AudioConverter;
}

namespace marl {

using halyard::CBufferRef;
using platform::AudioStreamBasicDescription;

/// Reads one file's bytes, and hands out its samples in the format that a caller asked for: from memory,
/// streamed from disk, or silence for a file that is missing. Callers hold it through an `IFileDataRef` and
/// need not know which.
///
/// A *frame* is one sample of every channel. Sample indices count single interleaved samples of the output:
/// frame times output channels plus channel. Delivered samples are in the host's byte order: 16-bit integers,
/// 24-bit integers in 3 packed bytes, or 32-bit floats.
///
/// Throws `halyard::CException` (file error, with errno) for what the system refuses,
/// `halyard::CParamException` for what a caller or a file got wrong. [one thread at a time, unless an
/// operation says more]
class MARLCORE_EXPORT IFileData : public halyard::CSharedObject {
public:
    /// `dataIsBigEndian`: the byte order of the file's chunk sizes and of its 16-, 24- and 32-bit samples.
    explicit IFileData(bool dataIsBigEndian) noexcept;
    ~IFileData() override;

    // Bytes of the file, from a read position that starts at 0.

    /// The next four bytes; fewer when the file ends before, none at its end.
    virtual std::string read4Char() = 0;
    /// The next four bytes as a number in the file's byte order; bytes behind the end of the file count as 0.
    virtual std::uint32_t readUInt32() = 0;
    /// Up to `count` bytes into `buffer`; returns how many there were. Reaching the end is no error.
    virtual long long readBytes(long long count, char* buffer) = 0;
    /// Moves the read position by `count` bytes and returns the new one.
    virtual long long advance(long long count) = 0;
    /// Moves the read position to `offset`, or by it when `relative`, and returns the new one in bytes. A
    /// position before the start is refused: -1, and nothing moves.
    virtual long long seek(long long offset, bool relative) = 0;
    virtual void rewindToStart() = 0;
    virtual long long currentMark() = 0;
    /// Bytes, as recorded when the file was opened.
    virtual long long getFileLength() = 0;
    virtual bool atEOF() = 0;
    /// Seconds since 1970 in the upper 32 bits, nanoseconds in the lower; 0 where there is no date.
    virtual std::int64_t getFileModificationDate();

    // Samples.

    /// Says what the file holds and what is wanted: `frames` frames of `fileFormat` from byte `dataOffset`
    /// on.
    virtual void setSampleConversion(AudioStreamBasicDescription fileFormat, int frames, long long dataOffset,
                                     AudioStreamBasicDescription outputFormat) = 0;
    /// False when no conversion is set. Otherwise fills what is not null; `frames` is the converted count.
    virtual bool getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames,
                                     long long* dataOffset, AudioStreamBasicDescription* outputFormat) = 0;
    /// True when `readSamples` gives samples `first` to `last` (inclusive) without touching the disk.
    virtual bool isSampleRangeLoaded(int first, int last) = 0;
    /// Where sample `first` lies, and in `*outLast` the last sample (inclusive) that lies behind it without a
    /// gap, at most `last`. 0, 0 asks for the whole stream. `load` allows reading the disk. Null, with
    /// `*outLast` = `first`, when the sample is not there. The memory belongs to this object.
    virtual const void* readSamples(int first, int last, int* outLast, bool load) = 0;

    /// Whether 8-bit samples are signed (AIFF) or offset by 128 (WAV). Only 8 to 16 bits asks.
    void setSamplesAreSigned(bool samplesAreSigned) noexcept { m_samplesAreSigned = samplesAreSigned; }
    bool samplesAreSigned() const noexcept { return m_samplesAreSigned; }

    /// True when both agree in rate, format ID, flags, bytes a frame, channels and bits.
    static bool AudioDescriptionsAreEquivalent(const AudioStreamBasicDescription& a,
                                               const AudioStreamBasicDescription& b) noexcept;

    /// Sample-size conversions of the `count` samples at the start of `source` (fewer when it is shorter).
    /// Equal channel counts convert one for one; mono to stereo writes every sample twice; all else throws
    /// "Unsupported channel conversion. …", and so does mono to stereo in `convert16ToFloat` and
    /// `convert24To24`, on purpose: a caller that wants it doubles the channel in a step of its own.
    ///
    /// Samples whose byte order is not the host's are reversed in place first, in the caller's buffer and on
    /// every call: convert a freshly read buffer once. Where nothing is left to do, `source` itself comes
    /// back.
    CBufferRef convert8To16(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    /// Takes the byte as unsigned whatever `setSamplesAreSigned` said: deliberately unlike `convert8To16`.
    CBufferRef convert8ToFloat(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    CBufferRef convert16To16(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    CBufferRef convert16ToFloat(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    CBufferRef convertFloatToFloat(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    /// Scaled by 1.15093236e-07, a little below 1/8388608: full scale becomes about 0.9655, deliberately.
    CBufferRef convert24ToFloat(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    /// The upper 16 bits, not rounded.
    CBufferRef convert24To16(CBufferRef source, int count, int sourceChannels, int destinationChannels);
    CBufferRef convert24To24(CBufferRef source, int count, int sourceChannels, int destinationChannels);

    /// The frames in the first `byteCount` bytes of `source` at another rate: a new buffer of
    /// `convertedFrameCount` frames, or `source` itself when the rates are equal. Both descriptions have the
    /// same channels and width; samples are in host order whatever their flags say.
    CBufferRef convertSampleRates(CBufferRef source, long long byteCount, AudioStreamBasicDescription from,
                                  AudioStreamBasicDescription to);

    /// How many frames `frames` frames become: lrint(floor(float(frames) x toRate / fromRate + 0.5)). The
    /// count is rounded to single precision first, on purpose: other parts of a session rely on this very
    /// number. Throws `CParamException` when that is not a count of frames that an int holds.
    static int convertedFrameCount(long long frames, double fromRate, double toRate);

    /// What the platform's converter calls for input while `convertSampleRates` runs: grants at most
    /// `*ioByteCount` bytes of what is left, none at the end. -50 when nothing is being converted.
    std::int32_t SRConversionFill(platform::AudioConverter* converter, std::uint32_t* ioByteCount,
                                  void** outData);
    /// The same for an `IFileData` behind `userData`; -50 when that is null.
    static std::int32_t SRConversionFillHelper(platform::AudioConverter* converter,
                                               std::uint32_t* ioByteCount, void** outData, void* userData);

    /// Throws `CParamException` for a format without channels, without a sample rate or whose samples are not
    /// a whole number of bytes.
    static void requireUsableFormat(const AudioStreamBasicDescription& format);

protected:
    /// How single samples of one format become those of another: widths in bytes, and whether each is
    /// doubled.
    struct SampleConversion {
        int fromBytes;
        int toBytes;
        bool toStereo;
    };

    bool dataIsBigEndian() const noexcept { return m_dataIsBigEndian; }
    /// For a container whose files state the order of their samples themselves.
    void setDataIsBigEndian(bool dataIsBigEndian) noexcept { m_dataIsBigEndian = dataIsBigEndian; }

    /// The conversion that the converter of this pair of widths does, with mono to stereo for every pair.
    /// `bytesToBytes`: 8 bits may stay 8 bits, as they are. Throws "this is not a supported conversion (%d to
    /// %d)" and "Unsupported channel conversion. …".
    static SampleConversion sampleConversion(const AudioStreamBasicDescription& from,
                                             const AudioStreamBasicDescription& to,
                                             bool bytesToBytes = false);

    /// Throws `CParamException` for a count or offset that is negative or beyond any file, and for more
    /// samples of `format` than an int counts.
    static void requireSampleRange(int frames, long long dataOffset,
                                   const AudioStreamBasicDescription& format);

    /// Converts the whole samples of `source`, as they lie in the file, to `destination`, which has room for
    /// all of them (twice as many when doubled). Leaves `source` as it is.
    void convertSamples(const SampleConversion& conversion, std::span<const std::byte> source,
                        std::byte* destination) const;

private:
    /// What `convertSampleRates` hands to the platform's converter; all zero while it does not run.
    struct ConversionFeed {
        std::byte* start = nullptr;
        std::byte* position = nullptr;
        std::size_t byteCount = 0;
    };

    /// Sets the feed for the length of a scope.
    class FeedScope {
    public:
        FeedScope(IFileData& owner, std::span<std::byte> input) noexcept : m_owner(owner) {
            owner.m_feed = {input.data(), input.data(), input.size()};
        }
        FeedScope(const FeedScope&) = delete;
        FeedScope& operator=(const FeedScope&) = delete;
        ~FeedScope() { m_owner.m_feed = {}; }

    private:
        IFileData& m_owner;
    };

    CBufferRef convertWithNewBuffer(const CBufferRef& source, int count, int fromBytes, int toBytes,
                                    bool toStereo) const;
    void reverseInPlace(const CBufferRef& source, int count, int bytesPerSample) const;
    bool samplesAreReversed() const noexcept;
    void fillFromConverter(platform::AudioConverter& converter, std::span<std::byte> output);

    bool m_dataIsBigEndian;
    bool m_samplesAreSigned = true;
    ConversionFeed m_feed;
};

using IFileDataRef = halyard::CSharedObjectRef<IFileData>;

}  // namespace marl
