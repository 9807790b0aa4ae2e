// SPDX-License-Identifier: MIT
#include <MarlCore/platform/AudioStreamBasicDescription.h>

#include <bit>

namespace platform {

AudioStreamBasicDescription makeHostFormat(double sampleRate, std::uint32_t channels,
                                           std::uint32_t bitsPerChannel) noexcept {
    AudioStreamBasicDescription format;
    format.mSampleRate = sampleRate;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagIsPacked;
    format.mFormatFlags |= bitsPerChannel == 32 ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger;
    if (std::endian::native == std::endian::big) format.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    format.mFramesPerPacket = 1;
    format.mBytesPerFrame = bitsPerChannel / 8 * channels;
    format.mBytesPerPacket = format.mBytesPerFrame;
    format.mChannelsPerFrame = channels;
    format.mBitsPerChannel = bitsPerChannel;
    return format;
}

}  // namespace platform
