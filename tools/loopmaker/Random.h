// SPDX-License-Identifier: MIT
/// \file
/// A small generator of pseudo-random numbers, the same on every host (the standard distributions are not).
#pragma once

#include <cstdint>
#include <string_view>

namespace loopmaker {

/// SplitMix64 (Steele, Lea, Flood, "Fast splittable pseudorandom number generators", 2014).
class Random {
public:
    explicit Random(std::uint64_t seed) noexcept : m_state(seed) {}

    std::uint64_t next() noexcept {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15u;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
        z = (z ^ z >> 27) * 0x94D049BB133111EBu;
        return z ^ z >> 31;
    }
    /// 0 to below 1; 24 bits, so that every value is exact.
    float uniform() noexcept { return static_cast<float>(next() >> 40) * (1.0f / 16777216.0f); }
    /// -1 to below 1, all alike: white noise.
    float bipolar() noexcept { return 2.0f * uniform() - 1.0f; }
    /// -1 to below 1, values near 0 more often: how a player misses the beat.
    float bell() noexcept { return (bipolar() + bipolar() + bipolar()) / 3.0f; }
    /// 0 to `count` - 1; `count` >= 1.
    int below(int count) noexcept { return static_cast<int>(uniform() * static_cast<float>(count)); }

private:
    std::uint64_t m_state;
};

/// A seed of its own for each text under one common seed (FNV-1a), so that a loop sounds the same whichever
/// loops are made beside it.
constexpr std::uint64_t seedFor(std::string_view text, std::uint64_t seed) noexcept {
    std::uint64_t hash = 0xCBF29CE484222325u ^ seed;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return hash;
}

}  // namespace loopmaker
