// SPDX-License-Identifier: MIT
#include "StandIns.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/streaming/CIOBufferThread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

namespace support {
namespace {

using marl::CIOBuffer;

struct Number : CIOBuffer {
    void bufferFinished() override { ++timesFinished; }
    int number = 0;
    int timesFinished = 0;
};

/// A ring of numbers, which adds up what it processes as a row of text.
class NumberThread : public marl::CIOBufferThread {
public:
    explicit NumberThread(int count) : CIOBufferThread(newNumbers(count)) {}
    ~NumberThread() override { sleepUntilThreadExits(true, 0); }

    bool post(int number) {
        auto* const buffer = static_cast<Number*>(getInBuffer());
        if (!buffer) return false;
        buffer->number = number;
        releaseInBuffer(buffer);
        return true;
    }

    void runOnce() override {
        CIOBufferThread::runOnce();
        std::this_thread::yield();  // these tests make it run without a pause
    }

    void processBuffer(const CIOBuffer* buffer) override {
        const int number = static_cast<const Number*>(buffer)->number;
        EXPECT_EQ(buffer->getState(), CIOBuffer::kFull);
        if (number == failsAt.load()) throw std::runtime_error("cannot take " + std::to_string(number));
        if (whileProcessing) whileProcessing();
        sum += number;
        row += std::to_string(number) + " ";
        processed = number;
    }

    std::atomic<int> failsAt{-1};
    std::function<void()> whileProcessing;
    std::string row;
    long long sum = 0;
    std::atomic<int> processed{-1};

private:
    static Buffers newNumbers(int count) {
        requirePositiveCount(count);
        Buffers buffers;
        for (int i = 0; i < count; ++i) buffers.push_back(std::make_unique<Number>());
        return buffers;
    }
};

TEST(IOBufferThread, TakesAsManyBuffersAsTheRingHasAndWorksThemOffInOrder) {
    NumberThread thread(3);
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(thread.post(3 * round + i));
        EXPECT_FALSE(thread.canAcceptBuffer());
        EXPECT_EQ(thread.currentInBufferState(), CIOBuffer::kFull);
        thread.runOnce();
        EXPECT_EQ(thread.currentOutBufferState(), CIOBuffer::kEmpty);
    }
    EXPECT_EQ(thread.row, "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 ");
    EXPECT_EQ(static_cast<Number*>(thread.getInBuffer())->timesFinished, 5);
}

TEST(IOBufferThread, StopsBetweenTwoBuffers) {
    NumberThread thread(3);
    for (int i = 0; i < 3; ++i) thread.post(i);
    thread.whileProcessing = [&] { thread.stopProcessing(); };
    thread.runOnce();
    thread.runOnce();
    EXPECT_EQ(thread.row, "0 ");
    thread.startProcessing();
    thread.runOnce();
    EXPECT_EQ(thread.row, "0 1 ");
}

TEST(IOBufferThread, FlushesOnlyWhileStoppedAndKeepsItsPlaces) {
    NumberThread thread(3);
    EXPECT_EQ(messageThrownBy([&] { thread.flushRequests(); }),
              "cannot call this while buffer processing is on (m_processingBuffers = 1)");
    thread.post(0);
    thread.post(1);
    thread.stopProcessing();
    thread.flushRequests();
    thread.startProcessing();
    EXPECT_EQ(static_cast<Number*>(thread.getInBuffer())->timesFinished, 0);
    thread.post(2);  // the third buffer, while the first is next
    thread.runOnce();
    EXPECT_EQ(thread.row, "");
    thread.post(3);
    thread.runOnce();
    EXPECT_EQ(thread.row, "3 ");
    thread.post(4);
    thread.runOnce();
    EXPECT_EQ(thread.row, "3 4 2 ");
}

TEST(IOBufferThread, KeepsItsPlaceAtAnErrorThatTheOwnerSees) {
    NumberThread thread(4);
    const auto run = [&](int failsAt) {
        thread.failsAt = failsAt;
        thread.runWithPriority(0.5, 0);
        waitUntil([&] { return thread.processed == 5 || !thread.isThreadRunning(); });
        thread.sleepUntilThreadExits(true, 0);
        try {
            if (const auto failure = thread.getFailure()) std::rethrow_exception(failure);
        } catch (const std::runtime_error& failure) {
            return std::string(failure.what());
        }
        return std::string();
    };
    for (int i = 0; i < 4; ++i) thread.post(i);
    EXPECT_EQ(run(2), "cannot take 2");
    EXPECT_EQ(thread.currentOutBufferState(), CIOBuffer::kFull);
    for (int i = 4; i < 6; ++i) thread.post(i);
    EXPECT_FALSE(thread.canAcceptBuffer());
    EXPECT_EQ(run(3), "cannot take 3") << "and 2 once more";
    EXPECT_TRUE(thread.skipOutBuffer());
    EXPECT_EQ(run(-1), "");
    EXPECT_EQ(thread.row, "0 1 2 4 5 ");
    EXPECT_FALSE(thread.skipOutBuffer());
}

TEST(IOBufferThread, HandsOverEveryBufferBetweenTwoThreads) {
    constexpr int kNumbers = 2000;
    for (const int ring : {1, 2, 7}) {
        NumberThread thread(ring);
        thread.runWithPriority(0.5, 0);
        for (int i = 0; i < kNumbers; ++i) waitUntil([&] { return thread.post(i); });
        waitUntil([&] { return thread.processed == kNumbers - 1; });
        thread.sleepUntilThreadExits(true, 0);
        EXPECT_EQ(thread.sum, kNumbers / 2 * (kNumbers - 1LL));
    }
}

TEST(IOBufferThread, FlushesNoBufferThatIsBeingProcessed) {
    NumberThread thread(2);
    thread.whileProcessing = [&] {
        EXPECT_EQ(thread.currentOutBufferState(), CIOBuffer::kFull);
        std::this_thread::yield();
        EXPECT_EQ(thread.currentOutBufferState(), CIOBuffer::kFull);
    };
    thread.runWithPriority(0.5, 0);
    std::jthread owner([&](std::stop_token stop) {
        while (!stop.stop_requested()) {
            thread.stopProcessing();
            thread.flushRequests();
            thread.startProcessing();
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 500; ++i) waitUntil([&] { return thread.post(i); });
    owner.request_stop();
    owner.join();
    thread.sleepUntilThreadExits(true, 0);
}

}  // namespace
}  // namespace support
