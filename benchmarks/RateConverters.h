// SPDX-License-Identifier: MIT
/// \file
/// Our sample-rate converter and the ones that a user would pick instead, behind one function type.
#pragma once

#include <MarlCore/platform/AudioConverter.h>

#include <samplerate.h>
#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace rates {

inline constexpr std::size_t kChannels = 2;
inline constexpr std::size_t kPieceFrames = 8192;  // of input, for the peers

/// Interleaved stereo.
using Samples = std::vector<float>;

inline std::size_t outputFrames(const Samples& input, double from, double to) {
    return static_cast<std::size_t>(std::lround(static_cast<double>(input.size() / kChannels) * to / from));
}

struct Feed {
    const Samples& samples;
    std::size_t position = 0;  // bytes
};

inline std::int32_t grantFeed(platform::AudioConverter*, std::uint32_t* ioByteCount, void** outData,
                              void* userData) {
    auto& feed = *static_cast<Feed*>(userData);
    const std::size_t left = feed.samples.size() * sizeof(float) - feed.position;
    *ioByteCount = static_cast<std::uint32_t>(std::min<std::size_t>(*ioByteCount, left));
    *outData = const_cast<char*>(reinterpret_cast<const char*>(feed.samples.data())) + feed.position;
    feed.position += *ioByteCount;
    return 0;
}

/// Ours, as the library calls it: in pieces of 2048 bytes.
inline void convertOurs(const Samples& input, double from, double to, Samples& output) {
    const auto converter = platform::AudioConverter::create(platform::makeHostFormat(from, kChannels, 32),
                                                            platform::makeHostFormat(to, kChannels, 32));
    Feed feed{input};
    char* data = reinterpret_cast<char*>(output.data());
    for (std::size_t left = output.size() * sizeof(float); left > 0;) {
        auto count = static_cast<std::uint32_t>(std::min<std::size_t>(left, 2048));
        if (converter->fillBuffer(grantFeed, &feed, &count, data) != 0)
            throw std::runtime_error("fill failed");
        data += count;
        left -= count;
    }
}

inline void convertSoxr(unsigned long recipe, const Samples& input, double from, double to, Samples& output) {
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    const soxr_t soxr = soxr_create(from, to, kChannels, nullptr, nullptr, &quality, &oneThread);
    const std::size_t frames = input.size() / kChannels, wanted = output.size() / kChannels;
    std::size_t done = 0;
    for (std::size_t position = 0; done < wanted;) {
        const std::size_t count = std::min(kPieceFrames, frames - position);
        std::size_t used = 0, made = 0;
        soxr_process(soxr, count ? input.data() + position * kChannels : nullptr, count, &used,
                     output.data() + done * kChannels, wanted - done, &made);
        if (count == 0 && made == 0) break;
        position += used;
        done += made;
    }
    soxr_delete(soxr);
}

inline void convertSamplerate(int type, const Samples& input, double from, double to, Samples& output) {
    int error = 0;
    SRC_STATE* state = src_new(type, static_cast<int>(kChannels), &error);
    const std::size_t frames = input.size() / kChannels, wanted = output.size() / kChannels;
    std::size_t done = 0;
    for (std::size_t position = 0; done < wanted;) {
        const std::size_t count = std::min(kPieceFrames, frames - position);
        SRC_DATA data{};
        data.data_in = input.data() + position * kChannels;
        data.data_out = output.data() + done * kChannels;
        data.input_frames = static_cast<long>(count);
        data.output_frames = static_cast<long>(wanted - done);
        data.end_of_input = position + count == frames;
        data.src_ratio = to / from;
        if (src_process(state, &data) != 0 || (count == 0 && data.output_frames_gen == 0)) break;
        position += static_cast<std::size_t>(data.input_frames_used);
        done += static_cast<std::size_t>(data.output_frames_gen);
    }
    src_delete(state);
}

struct Converter {
    const char* name;
    void (*convert)(const Samples& input, double from, double to, Samples& output);
};

inline constexpr Converter kOurs = {"MarlCore", convertOurs};
inline constexpr Converter kSoxrHq = {"soxr HQ",
                                      [](const Samples& input, double from, double to, Samples& output) {
                                          convertSoxr(SOXR_HQ, input, from, to, output);
                                      }};
inline constexpr Converter kSoxrVhq = {"soxr VHQ",
                                       [](const Samples& input, double from, double to, Samples& output) {
                                           convertSoxr(SOXR_VHQ, input, from, to, output);
                                       }};
inline constexpr Converter kSamplerateMedium = {
    "libsamplerate medium", [](const Samples& input, double from, double to, Samples& output) {
        convertSamplerate(SRC_SINC_MEDIUM_QUALITY, input, from, to, output);
    }};
inline constexpr Converter kSamplerateBest = {
    "libsamplerate best", [](const Samples& input, double from, double to, Samples& output) {
        convertSamplerate(SRC_SINC_BEST_QUALITY, input, from, to, output);
    }};

}  // namespace rates
