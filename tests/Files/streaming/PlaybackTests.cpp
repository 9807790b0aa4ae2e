// SPDX-License-Identifier: MIT
// What a playback thread calls, and what it must not cost.
#include "StreamedFiles.h"
#include "support/PlaybackCosts.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>

#include <unistd.h>

using support::PlaybackCosts;
using support::playbackCosts;
using support::PoolOf;
using support::RawFile;

TEST(PlaybackCosts, CountWhatIsNotAllowed) {
    std::mutex mutex, tried;
    std::shared_mutex forReading, forWriting;
    const auto costs = playbackCosts([&] {
        const std::lock_guard lock(mutex);
        const std::unique_lock attempt(tried, std::try_to_lock);
        const std::shared_lock readers(forReading);
        const std::unique_lock writer(forWriting);
        ::getppid();
        ::close(-1);
        void* const volatile block = std::malloc(10);
        std::free(block);
        int* volatile number = new int;
        delete number;
        return true;
    });
    EXPECT_EQ(costs.allocations, 4u);
    EXPECT_EQ(costs.locks, 6u) << "mutexes count twice: locked and unlocked";
    EXPECT_EQ(costs.systemCalls, 2u);
    EXPECT_EQ(costs.firstSystemCall, SYS_getppid);
    EXPECT_EQ(playbackCosts([] { return true; }), PlaybackCosts{});
    EXPECT_THROW(playbackCosts([] { return false; }), std::runtime_error);
    EXPECT_THROW(playbackCosts([]() -> bool { throw 1; }), std::runtime_error);
    EXPECT_THROW(playbackCosts([]() -> bool { std::abort(); }), std::runtime_error);
}

TEST(Playback, OfStreamedFilesCostsNothing) {
    const PoolOf pool(3);
    const RawFile file({.outputBits = 16, .frames = 30000});  // four slices
    const auto data = file.streamed();
    std::array<std::int16_t, 512> block;
    int last;
    data->readSamples(20000, 20000, &last, true);
    const auto isThere = [&](int first) {
        return data->readSamples(first, first + 511, &last, false) != nullptr;
    };
    const auto copied = [&](int first) { return data->copySamples(first, first + 511, block.data()); };
    EXPECT_EQ(playbackCosts([&] { return isThere(20000) && last == 20511; }), PlaybackCosts{});
    EXPECT_EQ(playbackCosts([&] { return !isThere(0); }), PlaybackCosts{}) << "a slice that is missing";
    EXPECT_EQ(playbackCosts([&] { return isThere(70000); }), PlaybackCosts{}) << "silence";
    EXPECT_EQ(playbackCosts([&] { return copied(32700) == 68 && copied(0) == 0; }), PlaybackCosts{});
    EXPECT_EQ(playbackCosts([&] {
                  return data->isSampleRangeLoaded(16384, 32767) && !data->isSampleRangeLoaded(0, 32767);
              }),
              PlaybackCosts{});
    EXPECT_NE(playbackCosts([&] { return data->readSamples(0, 0, &last, true) != nullptr; }).systemCalls, 0u)
        << "loading does call the system";
}

TEST(Playback, OfFilesInMemoryCostsNothing) {
    const RawFile file({.frames = 1000});
    const auto data = file.open<marl::CMemoryFileData>();
    int last;
    EXPECT_EQ(playbackCosts([&] {
                  return data->isSampleRangeLoaded(0, 100) && data->readSamples(0, 100, &last, false) &&
                         last == 100;
              }),
              PlaybackCosts{});
}
