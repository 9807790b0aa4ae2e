// SPDX-License-Identifier: MIT
// Disks that fail, and disks that make wait.
#include "FaultyReads.h"
#include "StreamedFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <thread>

using halyard::CException;
using marl::CBufferPoolEntry;
using support::FaultyReads;
using support::PoolOf;
using support::RawFile;
using support::StreamCase;

namespace {

/// errno of a load that fails, 0 of one that works.
int errorOfLoading(marl::IFileData& data, int first) {
    int last;
    try {
        data.readSamples(first, first + 1, &last, true);
    } catch (const CException& error) {
        EXPECT_EQ(error.getType(), halyard::kFileIOError);
        return error.getCode();
    }
    return 0;
}

}  // namespace

TEST(StreamingFaults, ReachTheCallerAndLeaveTheSliceUnloaded) {
    const PoolOf pool(3);
    for (const double rate : {44100.0, 48000.0}) {
        const StreamCase minute{.fileBits = 24, .outputRate = rate, .frames = 44100 * 60};
        const RawFile file(minute);
        const auto data = file.streamed();
        const std::string whole = file.wholeConversion();
        const int length = CBufferPoolEntry::kBufferSize / 4;
        int failures = 0, slices = 0;
        std::vector<float> block(static_cast<std::size_t>(length));
        for (int first = 0; first + length <= static_cast<int>(whole.size() / 4); first += length, ++slices) {
            for (int atCall = 1;; ++atCall, ++failures) {
                const FaultyReads faulty(FaultyReads::Fault::kError, atCall);
                if (errorOfLoading(*data, first) == 0) break;
                ASSERT_FALSE(data->isSampleRangeLoaded(first, first + length - 1));
                ASSERT_EQ(data->copySamples(first, first, block.data()), 0);
            }
            ASSERT_EQ(data->copySamples(first, first + length - 1, block.data()), length);
            ASSERT_EQ(std::memcmp(block.data(), whole.data() + first * 4, block.size() * 4), 0) << first;
        }
        EXPECT_GE(failures, slices);
    }
}

TEST(StreamingFaults, OfHarmlessKindsAreNotHeard) {
    const PoolOf pool(3);
    for (const double rate : {44100.0, 96000.0}) {
        const StreamCase row{.fileBits = 24, .outputRate = rate, .frames = 30000};
        const RawFile file(row);
        const auto data = file.streamed();
        const std::string whole = file.wholeConversion();
        for (const auto fault : {FaultyReads::Fault::kInterrupted, FaultyReads::Fault::kShort}) {
            for (int atCall = 1; atCall < 20; ++atCall) {
                const FaultyReads faulty(fault, atCall);
                const std::string streamed = readStreamed(*data, row, static_cast<std::uint32_t>(atCall));
                ASSERT_TRUE(streamed == whole.substr(0, streamed.size())) << row.name();
            }
        }
    }
}

TEST(StreamingFaults, TakeNoBufferFromOthers) {
    const PoolOf pool(1);
    const RawFile file({});
    const auto good = file.streamed(), bad = file.streamed();
    ASSERT_EQ(errorOfLoading(*good, 0), 0);
    const FaultyReads faulty(FaultyReads::Fault::kError);
    EXPECT_EQ(errorOfLoading(*bad, 0), EIO);
    EXPECT_TRUE(good->isSampleRangeLoaded(0, 0));
}

TEST(StreamingFaults, OfOneSlowDiskHoldUpNobodyElse) {
    const PoolOf pool(1);
    const RawFile file({});
    const auto slow = file.streamed(), quick = file.streamed();
    FaultyReads faulty(FaultyReads::Fault::kSlow);
    std::thread loader([&] { EXPECT_EQ(errorOfLoading(*slow, 0), 0); });
    faulty.waitForCall();
    EXPECT_EQ(errorOfLoading(*quick, 0), 0);
    EXPECT_TRUE(quick->isSampleRangeLoaded(0, 0)) << "the one buffer is not waiting for the slow disk";
    EXPECT_FALSE(slow->isSampleRangeLoaded(0, 0));
    faulty.goOn();
    loader.join();
    EXPECT_TRUE(slow->isSampleRangeLoaded(0, 0));
    EXPECT_FALSE(quick->isSampleRangeLoaded(0, 0));
}
