// SPDX-License-Identifier: MIT
/// \file
/// The record that describes a stream of uncompressed samples, and the codes that go into it.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>

namespace platform {

/// A format of interleaved, uncompressed samples. A *frame* is one sample of every channel.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;              ///< frames a second, Hz
    std::uint32_t mFormatID = 0;         ///< four-character code; always `kAudioFormatLinearPCM` here
    std::uint32_t mFormatFlags = 0;      ///< `kAudioFormatFlag…` bits
    std::uint32_t mBytesPerPacket = 0;   ///< bytes; uncompressed: equal to `mBytesPerFrame`
    std::uint32_t mFramesPerPacket = 0;  ///< frames; uncompressed: 1
    std::uint32_t mBytesPerFrame = 0;    ///< bytes: whole bytes a sample times channels
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;
};

/// The number that a four-character code stands for: its first character is the most significant byte.
constexpr std::uint32_t fourCharCode(const char (&code)[5]) noexcept {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(code[i]);
    return value;
}

inline constexpr std::uint32_t kAudioFormatLinearPCM = fourCharCode("lpcm");
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1;
inline constexpr std::uint32_t kAudioFormatFlagIsBigEndian = 2;
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 4;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 8;

/// Interleaved samples in the host's byte order, as the library delivers them: `bitsPerChannel` 8, 16 or 24
/// are signed integers (24 bits in 3 packed bytes), 32 is float.
MARLCORE_EXPORT AudioStreamBasicDescription makeHostFormat(double sampleRate, std::uint32_t channels,
                                                           std::uint32_t bitsPerChannel) noexcept;

}  // namespace platform
