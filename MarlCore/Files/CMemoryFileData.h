// SPDX-License-Identifier: MIT
/// \file
/// The data strategy that holds all samples of a file in memory.
#pragma once

#include <MarlCore/Files/CUnixFileData.h>

namespace marl {

/// Reads and converts the whole sample range when the conversion is set, and hands out pointers into one
/// buffer. [one thread at a time; `readSamples` and `isSampleRangeLoaded`: any thread, while no conversion is
/// being set]
class MARLCORE_EXPORT CMemoryFileData : public CUnixFileData {
public:
    using CUnixFileData::CUnixFileData;

    /// Does nothing when this very conversion is set. Otherwise reads `frames` frames from byte `dataOffset`
    /// on and converts their width, channels and rate. What the file does not hold becomes silence. When it
    /// throws, the conversion set before stays. Throws `CParamException` for a count or offset that is
    /// negative or beyond any file, a format that is not usable, a pair of widths or channels that is not
    /// supported, and more samples than an int counts; `CException` (file error) for what cannot be read.
    void setSampleConversion(AudioStreamBasicDescription fileFormat, int frames, long long dataOffset,
                             AudioStreamBasicDescription outputFormat) override;
    bool getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames, long long* dataOffset,
                             AudioStreamBasicDescription* outputFormat) override;
    /// Always true: all samples are in memory.
    bool isSampleRangeLoaded(int, int) override { return true; }
    /// [playback] A pointer into the buffer, valid until another conversion is set; `load` has no effect.
    /// Throws "Error: m_sampleBuffer is null!" before a conversion is set.
    const void* readSamples(int first, int last, int* outLast, bool load) override;

private:
    /// A conversion that was asked for, and what it gave.
    struct Conversion {
        AudioStreamBasicDescription fileFormat;
        AudioStreamBasicDescription outputFormat;
        long long dataOffset = 0;
        int fileFrames = -1;       // -1: none set
        int convertedFrames = -1;  // at the output's rate

        bool isSameAs(const Conversion& other) const noexcept;
    };

    CBufferRef readSampleBuffer(const Conversion& conversion) const;
    CBufferRef convertBuffer(const CBufferRef& samples, const Conversion& conversion);

    CBufferRef m_sampleBuffer;
    Conversion m_conversion;
};

}  // namespace marl
