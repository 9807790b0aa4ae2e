// SPDX-License-Identifier: MIT
/// \file
/// The platform's sample-rate converter: create, set the algorithm, fill with an input callback.
#pragma once

#include <MarlCore/platform/AudioStreamBasicDescription.h>
#include <MarlCore/platform/Export.h>
#include <MarlCore/platform/PlanarSamples.h>
#include <MarlCore/platform/PolyphaseResampler.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform {

class AudioConverter;

inline constexpr std::int32_t kAudioParamError = -50;  ///< status: an argument or a grant makes no sense
inline constexpr std::uint32_t kAudioConverterSampleRateConverterAlgorithm = fourCharCode("srci");
inline constexpr std::uint32_t kAudioConverterAlgorithmCSRC = fourCharCode("csrc");

/// Hands input to a converter. `*ioByteCount` holds how many bytes are asked for (> 0) and becomes how many
/// are granted, at most as many; `*outData` becomes their address, valid until the next call or the end of
/// the fill. A grant may end inside a frame or a sample. Zero bytes with result 0 is the end of the input,
/// for good. Another result than 0 fails the fill, which returns it.
using AudioConverterInputProc = std::int32_t (*)(AudioConverter* converter, std::uint32_t* ioByteCount,
                                                 void** outData, void* userData);

/// Converts a stream of interleaved samples from one sample rate to another, band-limited (see
/// `LowPassKernel` for the quality, `PolyphaseResampler` for the arithmetic).
///
/// Channel count and sample width stay as they are. The width alone says what a sample is: 16 bits and 24
/// bits (packed in 3 bytes) are signed integers, 32 bits float, all in the host's byte order. Format ID and
/// flags are not looked at. Integer output is rounded to nearest and saturates; float input that is not
/// finite counts as 0.
///
/// There is no delay: output frame n is the input at time n * from.mSampleRate / to.mSampleRate, and input
/// before the first and after the last frame is silence. So the output has no end of its own: the caller
/// knows how long the converted stream is and asks for no more.
///
/// The result does not depend on the sizes of fills and grants. Memory: the filter (at most half a MiB,
/// shared between converters of one ratio), less than 100 KiB for blocks of samples, and, where the output
/// rate is the lower one, at most 1 KiB a channel and unit of the ratio on top. [one thread at a time]
class MARLCORE_EXPORT AudioConverter {
public:
    static constexpr std::uint32_t kMaxChannels = 64;

    /// A converter, or null for formats that it does not convert: unequal or unsupported channel counts (1 to
    /// `kMaxChannels` are) or widths, bytes a frame that contradict them, rates that are not finite and
    /// positive, or one rate more than 256 times the other.
    static std::unique_ptr<AudioConverter> create(const AudioStreamBasicDescription& from,
                                                  const AudioStreamBasicDescription& to);

    AudioConverter(const AudioConverter&) = delete;
    AudioConverter& operator=(const AudioConverter&) = delete;

    /// Whether the converter knows the property and this value of it: only the algorithm 'srci' with the
    /// value 'csrc', which is the one that it always uses.
    bool setProperty(std::uint32_t property, std::uint32_t value) noexcept;

    /// Writes the next `*ioOutputByteCount` bytes of output, any number of them. Asks for input well ahead of
    /// what it writes. Returns 0; or the callback's error, or `kAudioParamError` for a null argument or a
    /// grant of more than was asked for or of bytes at a null address. `*ioOutputByteCount` then says how
    /// many bytes were written, and a later fill goes on from there.
    std::int32_t fillBuffer(AudioConverterInputProc inputProc, void* userData,
                            std::uint32_t* ioOutputByteCount, void* outData);

private:
    AudioConverter(SampleType type, std::size_t channels, RateRatio ratio);

    std::size_t takeOutput(std::span<std::byte> target) noexcept;
    std::int32_t convertBlock(AudioConverterInputProc inputProc, void* userData);
    std::int32_t readInput(AudioConverterInputProc inputProc, void* userData, std::int64_t endFrame);
    std::int32_t readGrant(AudioConverterInputProc inputProc, void* userData, std::size_t frames);
    void appendBytes(std::span<const std::byte> bytes) noexcept;
    void appendFrames(std::span<const std::byte> bytes) noexcept;
    void appendSilence(std::size_t frames) noexcept;
    void dropInputBefore(std::int64_t frame) noexcept;
    std::int64_t endOfInput() const noexcept {
        return m_inputFirst + static_cast<std::int64_t>(m_inputFrames);
    }

    SampleType m_type;
    std::size_t m_frameBytes;
    PolyphaseResampler m_resampler;
    std::int64_t m_blockFrames;     // output frames that are converted at once
    std::int64_t m_nextOutput = 0;  // the first frame that is not converted yet

    std::vector<float> m_samples;      // what the planes below point into
    std::vector<float*> m_inputs;      // the window of input, a plane a channel
    std::vector<float*> m_outputs;     // a converted block, a plane a channel
    std::int64_t m_inputFirst;         // the input frame that the window starts with
    std::size_t m_inputFrames = 0;     // frames in the window
    std::vector<std::byte> m_partial;  // the bytes of a frame that a grant cut in two
    bool m_inputEnded = false;

    std::vector<std::byte> m_block;  // converted bytes
    std::size_t m_blockBegin = 0;    // how many of them are taken already
};

}  // namespace platform
