// SPDX-License-Identifier: MIT
#include "StandIns.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/streaming/CIORequestThread.h>

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>

namespace support {
namespace {

using marl::CIORequestThread;
using Slices = std::set<int>;

constexpr int kAnHour = 3600 * 1000;  // ms

TEST(IORequestThread, LoadsEverySliceOfARangeThatIsNotThere) {
    struct Case {
        int first, last;
        Slices loaded;
        int reads;
    };
    const Case cases[] = {
        {0, 0, {0}, 1},
        {99, 100, {0, 1}, 2},
        {250, 799, {2, 3, 4, 5, 6, 7}, 6},
        {950, 5000, {9}, 2},  // one more finds the end
        {1000, std::numeric_limits<int>::max(), {}, 1},
        {5, 4, {0}, 1},
    };
    for (const auto& [first, last, loaded, reads] : cases) {
        SCOPED_TRACE(testing::Message() << first << " to " << last);
        const SlicedSourceRef source(new SlicedSource(1000));
        CIORequestThread thread(1);
        thread.postRequest(source, first, last);
        EXPECT_FALSE(thread.areBufferQueuesEmpty());
        thread.runOnce();
        EXPECT_TRUE(thread.areBufferQueuesEmpty());
        EXPECT_EQ(source->data().loaded(), loaded);
        EXPECT_EQ(source->data().reads(), reads);
        EXPECT_EQ(source->CountReferences(), 1);
        if (last >= 1000) continue;
        thread.postRequest(source, first, last);
        thread.runOnce();
        EXPECT_EQ(source->data().reads(), reads) << "in memory already";
    }
}

TEST(IORequestThread, RefusesARequestToAFullRing) {
    const SlicedSourceRef source(new SlicedSource(1000));
    CIORequestThread thread(3);
    for (int i = 0; i < 3; ++i) thread.postRequest(source, 100 * i, 100 * i);
    EXPECT_EQ(messageThrownBy([&] { thread.postRequest(source, 0, 0); }),
              "CIORequestThread::postRequest could not post to buffer-- currrent in-buffer is not empty");
    thread.postRequest(nullptr, 0, 0);
    EXPECT_EQ(source->CountReferences(), 4);
    thread.runOnce();
    EXPECT_EQ(source->data().loaded(), (Slices{0, 1, 2}));
    EXPECT_EQ(messageThrownBy([&] { CIORequestThread none(0); }),
              "buffersToAllocate must be positive (got 0)");
}

TEST(IORequestThread, SleepsUntilItIsAskedAndEndsWhenItIsAskedTo) {
    for (int round = 0; round < 50; ++round) {
        const SlicedSourceRef source(new SlicedSource(1000));
        CIORequestThread thread(3);
        thread.runWithPriority(0.5, 0);
        if (round % 2) {
            thread.postRequest(source, 0, 350);
            waitUntil([&] { return source->data().loaded() == Slices{0, 1, 2, 3}; });
        }
        if (round % 3) thread.postRequest(nullptr, 0, 0);
        EXPECT_TRUE(thread.sleepUntilThreadExits(true, 0));
    }
}

TEST(IORequestThread, LetsGoOfSourcesInItsOwnThread) {
    CIORequestThread thread(2);
    std::thread::id finishedIn, flushedIn;
    thread.postRequest(SlicedSourceRef(new SlicedSource(1, &flushedIn)), 0, 0);
    thread.stopProcessing();
    thread.flushRequests();
    EXPECT_EQ(flushedIn, std::thread::id());
    thread.startProcessing();
    const SlicedSourceRef other(new SlicedSource(1));
    thread.postRequest(other, 0, 0);
    thread.postRequest(SlicedSourceRef(new SlicedSource(1, &finishedIn)), 0, 0);  // where the flushed one was
    EXPECT_EQ(flushedIn, std::thread::id());
    std::jthread runner([&] { thread.runOnce(); });
    const std::thread::id worker = runner.get_id();
    runner.join();
    EXPECT_EQ(finishedIn, worker);
    EXPECT_EQ(flushedIn, worker);
}

TEST(IORequestThread, TellsTheOwnerWhatCannotBeReadAndGoesOnBehindIt) {
    const SlicedSourceRef bad(new SlicedSource(1000)), good(new SlicedSource(1000));
    bad->data().beforeRead([] { throw std::runtime_error("the disk is gone"); });
    CIORequestThread thread(3);
    thread.runWithPriority(0.5, kAnHour);
    thread.postRequest(bad, 0, 0);
    thread.sleepUntilThreadExits(false, 0);
    thread.postRequest(good, 100, 100);
    EXPECT_THROW(std::rethrow_exception(thread.getFailure()), std::runtime_error);
    EXPECT_TRUE(thread.skipOutBuffer());
    EXPECT_EQ(bad->CountReferences(), 1);
    thread.runWithPriority(0.5, 0);
    thread.postRequest(nullptr, 0, 0);
    waitUntil([&] { return good->data().loaded() == Slices{1}; });
}

TEST(IORequestThread, ProcessesImmediateRequestsInTheCallersThread) {
    const SlicedSourceRef source(new SlicedSource(1000));
    CIORequestThread thread(1);
    std::optional<std::thread::id> reader;
    source->data().beforeRead([&] { reader = std::this_thread::get_id(); });
    thread.postImmediateRequest(source, 100, 250, false);
    thread.postImmediateRequest(source, 700, 700, false);
    thread.postImmediateRequest(nullptr, 0, 0, false);
    thread.postImmediateRequest(source, 900, 900, true);
    EXPECT_FALSE(thread.areBufferQueuesEmpty());
    EXPECT_EQ(source->CountReferences(), 4);
    thread.processImmediateRequests();
    EXPECT_EQ(source->data().loaded(), (Slices{1, 2, 7}));
    EXPECT_EQ(reader, std::this_thread::get_id());
    EXPECT_FALSE(thread.areBufferQueuesEmpty()) << "the queued one";
    thread.runOnce();
    EXPECT_EQ(source->data().loaded(), (Slices{1, 2, 7, 9}));

    thread.postImmediateRequest(source, 0, 0, false);
    source->data().beforeRead([] { throw std::runtime_error("the disk is gone"); });
    EXPECT_THROW(thread.processImmediateRequests(), std::runtime_error);
    EXPECT_FALSE(thread.areBufferQueuesEmpty());
    thread.flushImmediateRequests();
    EXPECT_TRUE(thread.areBufferQueuesEmpty());
    EXPECT_EQ(source->CountReferences(), 1);
}

}  // namespace
}  // namespace support
