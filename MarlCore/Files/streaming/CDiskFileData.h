// SPDX-License-Identifier: MIT
/// \file
/// The data strategy that streams a file from disk through the buffer pool.
#pragma once

#include <MarlCore/Files/CUnixFileData.h>
#include <MarlCore/Files/streaming/CPartialFileData.h>
#include <MarlCore/foundation/CMutex.h>

#include <memory>
#include <vector>

namespace marl {

class SliceResampler;

/// Cuts the converted samples of a file into slices of 32768 bytes, and keeps those that were used lately in
/// the one pool of buffers that all streamed files of the process share. So the memory for samples is fixed,
/// however many files are open and however long they are. See docs/streaming.md.
///
/// Where rates or channels differ, the slices together are the same stream as `CMemoryFileData` holds, bit
/// for bit, whichever of them is loaded first. What the file does not hold, or not any more, is silence.
///
/// Threads: `setSampleConversion` while nobody else uses the object; after it, `readSamples`,
/// `isSampleRangeLoaded` and `copySamples` from any number of threads, of which those that load wait for the
/// disk and, shortly, for each other's turn at the pool.
class MARLCORE_EXPORT CDiskFileData : public CUnixFileData {
public:
    /// Buffers of the pool: 32,768,000 bytes.
    static constexpr int kPoolSize = 1000;

    /// Opens `url` as `CUnixFileData` does. The first one in the process makes the pool.
    CDiskFileData(const CURLRef& url, bool create, bool dataIsBigEndian);
    ~CDiskFileData() override;

    /// Reads nothing yet. Does nothing when this very conversion is set and both rates give the same count;
    /// otherwise all slices are new, and none is loaded. When it throws, the conversion set before stays.
    /// Throws what `CMemoryFileData` throws; 8 bits to 8 bits is supported here, where the rates are equal.
    void setSampleConversion(AudioStreamBasicDescription fileFormat, int frames, long long dataOffset,
                             AudioStreamBasicDescription outputFormat) override;
    /// The converted count is rounded down: it can be one frame less than in memory.
    bool getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames, long long* dataOffset,
                             AudioStreamBasicDescription* outputFormat) override;
    /// Whether all slices with samples from `first` to `last` are loaded. Those that are count as used now,
    /// whatever the answer. [playback]
    bool isSampleRangeLoaded(int first, int last) override;
    /// A pointer into the slice that holds `first`. `load`: that slice and the others of the range are loaded
    /// before, as many as the pool can hold at once. From the end of the stream on there is silence: a
    /// slice's worth of it, whatever `last` says.
    ///
    /// The memory holds these samples until the pool gives the buffer to another slice, which it does to the
    /// one that was not used for longest; `copySamples` is for those who cannot rely on that. With `load`
    /// false this never waits, and null says that the slice is not there [playback].
    ///
    /// Throws what reading the file throws (that slice then stays unloaded), "CDiskFileData::assignBufferRef
    /// could not determine oldest buffer …" when all buffers are in use, "sample buffer that we want to
    /// return is not loaded! Ack!'" when other threads took the slice away at once, and a parameter error
    /// before a conversion is set.
    const void* readSamples(int first, int last, int* outLast, bool load) override;

    /// Copies samples `first` to `last` as far as their slices are loaded, and returns how many it copied: 0
    /// when the first one is not there, or not in the stream. They are those of this file for certain: no
    /// slice changes hands while it is copied. `destination` has room for all of them. [playback]
    int copySamples(int first, int last, void* destination);

    // The pool.

    /// Makes the pool, of `count` buffers, unless there is one. [any thread]
    static void AllocateBufferPool(int count);
    /// Gives `slice` a free entry, or takes the one away that was not used for longest (of two with the same
    /// time, the first one). The caller stores it in the slice, fills it and sets its time. Throws
    /// `CParamException` when every entry is in use, or was used at or after this moment. [any thread]
    static CBufferPoolEntryRef assignBufferRef(CPartialFileData* slice);
    /// Takes the entry back from a slice that is loaded and goes: the next one who asks gets it. [any thread]
    static void releaseBufferRef(CPartialFileData* slice);

protected:
    /// What there is of `count` samples, as the conversion's file format says that they lie in the file,
    /// from sample `first` of the stream on. `storage` has room for all of them and may hold the result.
    /// Several threads call this at once.
    virtual std::span<const std::byte> readFileSamples(long long first, int count,
                                                       std::span<std::byte> storage) const;

    static std::vector<CBufferPoolEntryRef> g_bufferPoolEntryArray;      // of fixed order
    static std::shared_ptr<CBufferPoolEntry::Rank[]> g_bufferPoolRanks;  // of the entries, in that order
    static halyard::CMutexRef g_bufferPoolMutex;  // guards the owners of entries; not null: there is a pool

private:
    /// A conversion that was asked for, and what follows from it.
    struct Conversion {
        AudioStreamBasicDescription fileFormat;
        AudioStreamBasicDescription outputFormat;
        long long dataOffset = 0;
        int fileFrames = -1;
        int frames = -1;          // at the output's rate; -1: none set
        SampleConversion step{};  // width and channels
        int samples = 0;          // of the whole output
        int samplesPerPartial = 0;

        bool isSameAs(const Conversion& other) const noexcept;
    };

    static CBufferPoolEntryRef beginWritingFor(CPartialFileData* slice);
    static CBufferPoolEntry* beginWritingOldest(double now);
    static CBufferPoolEntry* findOldest(std::int64_t limit);

    Conversion makeConversion(const AudioStreamBasicDescription& fileFormat, int frames, long long dataOffset,
                              const AudioStreamBasicDescription& outputFormat) const;
    void buildPartialDataArray(const Conversion& conversion);
    void requireConversion() const;
    CPartialFileData& findPartialFileDataAt(int sample) const noexcept;
    void loadRange(int first, int last);
    void loadSamples(CPartialFileData& slice) const;
    void loadAtFileRate(CPartialFileData& slice, int count) const;
    void loadAtOtherRate(CPartialFileData& slice, int count) const;
    template <typename Fill>
    static void fillBuffer(CPartialFileData& slice, Fill fill);
    void readFrames(std::int64_t first, std::span<std::byte> output) const;
    void convertPadded(std::span<const std::byte> samples, std::span<std::byte> output) const;
    int copyFromSlice(const CPartialFileData& slice, int first, int last, std::byte* destination) const;
    std::byte silence() const noexcept;

    Conversion m_conversion;
    std::vector<CPartialFileDataRef> m_partials;  // all of the stream, in order
    std::unique_ptr<SliceResampler> m_resampler;  // null where the rates are equal
};

}  // namespace marl
