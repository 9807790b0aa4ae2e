// SPDX-License-Identifier: MIT
#include "StreamedFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/platform/AbsoluteTime.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

using marl::CBufferPoolEntryRef;
using marl::CDiskFileData;
using marl::CPartialFileData;
using marl::CPartialFileDataRef;
using support::messageThrownBy;
using support::PoolOf;

namespace {

const std::string kAllNewer =
    "CDiskFileData::assignBufferRef could not determine oldest buffer to purge (all buffers newer than now?)";

/// Loads a slice as a loader does, and says which entry it got.
std::size_t load(const CPartialFileDataRef& slice, double time) {
    const CBufferPoolEntryRef entry = CDiskFileData::assignBufferRef(slice.get());
    slice->setSampleBufferRef(entry);
    entry->setLastAccessTime(time);
    return PoolOf::indexOf(entry);
}

CPartialFileDataRef newSlice() {
    return CPartialFileDataRef(new CPartialFileData(0, 8191));
}

/// The pool as a table: who has each entry, and since when.
struct PoolModel {
    struct Entry {
        int slice = -1;  // -1: free
        double time = 0;
    };
    std::vector<Entry> entries;

    std::size_t assign(int slice, double time) {
        const auto order = [](const Entry& a, const Entry& b) {
            if ((a.slice < 0) != (b.slice < 0)) return a.slice < 0;
            return a.slice >= 0 && a.time < b.time;
        };
        const auto entry = std::ranges::min_element(entries, order);
        *entry = {slice, time};
        return static_cast<std::size_t>(entry - entries.begin());
    }
    auto find(int slice) { return std::ranges::find(entries, slice, &Entry::slice); }
};

}  // namespace

TEST(BufferPool, IsWhatASmallModelOfItSays) {
    constexpr int kSlices = 20;
    const double start = platform::AbsoluteTimeGetCurrent() - 1000;
    for (std::uint32_t seed = 1; seed <= 50; ++seed) {
        const PoolOf pool(static_cast<int>(seed % 9 + 1));
        PoolModel model{std::vector<PoolModel::Entry>(PoolOf::size())};
        std::array<CPartialFileDataRef, kSlices> slices;
        std::mt19937 random(seed);
        for (int step = 0; step < 2000; ++step) {
            const int which = static_cast<int>(random() % kSlices);
            CPartialFileDataRef& slice = slices[static_cast<std::size_t>(which)];
            const double time = start + static_cast<int>(random() % 100);  // many are equal
            const auto entry = model.find(which);
            ASSERT_EQ(slice && slice->isLoaded(), entry != model.entries.end()) << seed << ", step " << step;
            if (random() % 8 == 0) {
                slice = nullptr;
                if (entry != model.entries.end()) entry->slice = -1;
            } else if (entry != model.entries.end()) {
                slice->getBufferPoolRef()->setLastAccessTime(time);
                entry->time = time;
            } else {
                slice = newSlice();
                ASSERT_EQ(load(slice, time), model.assign(which, time)) << seed << ", step " << step;
                EXPECT_EQ(slice->getBufferPoolRef()->CountReferences(), 3);  // pool, slice, and this one
            }
        }
    }
}

TEST(BufferPool, RefusesWhenEveryBufferIsNewerThanNow) {
    const PoolOf pool(3);
    const double future = platform::AbsoluteTimeGetCurrent() + 1000;
    std::vector<CPartialFileDataRef> slices;
    for (int i = 0; i < 4; ++i) slices.push_back(newSlice());
    for (std::size_t i = 0; i < 3; ++i) load(slices[i], future);
    EXPECT_EQ(messageThrownBy([&] { load(slices[3], 0); }), kAllNewer);
    EXPECT_TRUE(slices[0]->isLoaded() && slices[1]->isLoaded() && slices[2]->isLoaded());
    PoolOf::entry(1).setLastAccessTime(5);
    EXPECT_EQ(load(slices[3], 0), 1u);
    EXPECT_FALSE(slices[1]->isLoaded());
}

TEST(BufferPool, PassesOverBuffersThatAreInUse) {
    const PoolOf pool(3);
    std::vector<CPartialFileDataRef> slices;
    for (int i = 0; i < 6; ++i) slices.push_back(newSlice());
    ASSERT_TRUE(PoolOf::entry(0).tryBeginReading());  // a free one
    EXPECT_EQ(load(slices[0], 10), 1u);
    PoolOf::entry(0).endReading();
    EXPECT_EQ(load(slices[1], 30), 0u);
    EXPECT_EQ(load(slices[2], 20), 2u);
    ASSERT_TRUE(PoolOf::entry(1).tryBeginReading());  // the oldest
    ASSERT_TRUE(PoolOf::entry(1).tryBeginReading()) << "by a second reader";
    EXPECT_EQ(load(slices[3], 40), 2u);
    ASSERT_TRUE(PoolOf::entry(0).tryBeginWriting());
    EXPECT_FALSE(PoolOf::entry(0).tryBeginReading());
    EXPECT_FALSE(PoolOf::entry(1).tryBeginWriting());
    EXPECT_EQ(load(slices[4], 50), 2u) << "the newest, but idle";
    ASSERT_TRUE(PoolOf::entry(2).tryBeginReading());
    EXPECT_EQ(messageThrownBy([&] { load(slices[5], 0); }), kAllNewer);
    PoolOf::entry(1).endReading();
    EXPECT_TRUE(PoolOf::entry(1).isInUse());
    PoolOf::entry(1).endReading();
    EXPECT_EQ(load(slices[5], 0), 1u);
    PoolOf::entry(0).endWriting();
    PoolOf::entry(2).endReading();
}

TEST(BufferPool, KeepsTheFirstBufferOfASliceThatWasLoadedTwice) {
    const PoolOf pool(2);
    const CPartialFileDataRef slice = newSlice();
    load(slice, 1);
    EXPECT_FALSE(slice->setFirstSampleBufferRef(&PoolOf::entry(1)));
    EXPECT_EQ(slice->buffer(), &PoolOf::entry(0));
    EXPECT_EQ(PoolOf::entry(1).CountReferences(), 1);
    slice->setSampleBufferRef(slice->getBufferPoolRef());
    EXPECT_EQ(PoolOf::entry(0).CountReferences(), 2);
    const CPartialFileData nothing;
    EXPECT_EQ(nothing.getFirstSample(), -1);
    EXPECT_EQ(nothing.getLastSample(), -1);
    EXPECT_FALSE(nothing.isLoaded());
}
