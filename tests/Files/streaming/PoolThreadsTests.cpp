// SPDX-License-Identifier: MIT
// Loaders and readers that fight for very few buffers.
#include "StreamedFiles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>

using halyard::CParamException;
using marl::CDiskFileData;
using support::PoolOf;
using support::RawFile;
using support::StreamCase;

namespace {

constexpr int kSlices = 6;
constexpr int kSliceSamples = 16384;
const StreamCase kCase{.outputBits = 16, .frames = kSlices * kSliceSamples / 2};

/// Loads a random range. That all buffers are in use, or that the slice was taken away at once, is to be
/// expected where there are so few.
void loadSome(CDiskFileData& data, std::mt19937& random) {
    const int first = static_cast<int>(random() % (kSlices * kSliceSamples));
    int last;
    try {
        data.readSamples(first, first + static_cast<int>(random() % kSliceSamples), &last, true);
    } catch (const CParamException&) {
    }
}

/// Copies a random stretch, says whether it was there, and compares it.
bool copySome(CDiskFileData& data, const std::string& whole, std::mt19937& random) {
    std::array<std::int16_t, 600> block;
    const int first = static_cast<int>(random() % (kSlices * kSliceSamples - block.size()));
    const int count = data.copySamples(first, first + static_cast<int>(block.size()) - 1, block.data());
    EXPECT_EQ(std::memcmp(block.data(), whole.data() + first * 2, static_cast<std::size_t>(count) * 2), 0);
    return count > 0;
}

}  // namespace

TEST(PoolThreads, NeverHearAnotherSlice) {
    constexpr int kCopies = 3000;
    const PoolOf pool(3);
    const RawFile a(kCase, 1), b(kCase, 2);
    const auto fileA = a.streamed();
    const std::string wholeA = a.wholeConversion(), wholeB = b.wholeConversion();
    std::atomic<bool> done{false};
    std::vector<std::thread> loaders;
    for (const std::uint32_t seed : {3u, 4u}) {  // two on one file, which meet in its slices
        loaders.emplace_back([&, seed] {
            for (std::mt19937 random(seed); !done;) loadSome(*fileA, random);
        });
    }
    loaders.emplace_back([&] {  // one that closes its file again and again
        for (std::mt19937 random(5); !done;) {
            const auto fileB = b.streamed();
            for (int i = 0; i < 10; ++i) {
                loadSome(*fileB, random);
                copySome(*fileB, wholeB, random);
            }
        }
    });
    std::mt19937 random(6);
    for (int copies = 0; copies < kCopies;) {
        if (copySome(*fileA, wholeA, random)) ++copies;
        int last;
        fileA->readSamples(0, 1, &last, false);
        fileA->isSampleRangeLoaded(0, kSlices * kSliceSamples);
    }
    done = true;
    for (std::thread& loader : loaders) loader.join();
    for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(PoolOf::entry(i).isInUse());
}

TEST(PoolThreads, MakeThePoolOnce) {
    PoolOf none(0);
    PoolOf::remove();
    const RawFile file(kCase);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            int last;
            EXPECT_NE(file.streamed()->readSamples(0, 0, &last, true), nullptr);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(PoolOf::size(), 1000u);
}
