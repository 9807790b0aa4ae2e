// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/ProjectFormat.h>

#include <MarlCore/foundation/CException.h>

#include <algorithm>
#include <array>

namespace marl {
namespace {

constexpr double kHighestRate = 1e6;
constexpr std::array<std::uint32_t, 3> kWidths = {16, 24, 32};

ProjectFormat g_current;

}  // namespace

const ProjectFormat& ProjectFormat::current() noexcept {
    return g_current;
}

void ProjectFormat::setCurrent(const ProjectFormat& format) {
    const bool isRate = format.sampleRate >= 1 && format.sampleRate <= kHighestRate;
    const bool isWidth = std::ranges::find(kWidths, format.bitsPerChannel) != kWidths.end();
    if (!isRate || !isWidth || format.channels > 2)
        throw halyard::CParamException(halyard::kParameterError,
                                       "a project cannot have %g Hz, %u bits and %u channels",
                                       format.sampleRate, static_cast<unsigned>(format.bitsPerChannel),
                                       static_cast<unsigned>(format.channels));
    g_current = format;
}

platform::AudioStreamBasicDescription ProjectFormat::outputFormat(
    const platform::AudioStreamBasicDescription& fileFormat) const noexcept {
    const bool isDoubled = channels == 2 && fileFormat.mChannelsPerFrame == 1;
    const bool isOnlyFrom24 = bitsPerChannel == 24 && fileFormat.mBitsPerChannel != 24;
    return platform::makeHostFormat(sampleRate, isDoubled ? 2 : fileFormat.mChannelsPerFrame,
                                    isOnlyFrom24 ? 32 : bitsPerChannel);
}

}  // namespace marl
