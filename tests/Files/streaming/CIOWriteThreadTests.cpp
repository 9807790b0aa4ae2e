// SPDX-License-Identifier: MIT
#include "Files/writing/FaultyDisk.h"
#include "Files/writing/WrittenFiles.h"
#include "StandIns.h"
#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/streaming/CIOWriteThread.h>
#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>

namespace support {
namespace {

using marl::CIOWriteThread;
using Fault = FaultyDisk::Fault;

constexpr int kFramesInBlock = 250;
constexpr int kRing = 4;

constexpr WrittenFormat kStereo16{Container::kAIFF, 2, 16};
constexpr WrittenFormat kStereo24{Container::kAIFF, 2, 24};
constexpr WrittenFormat kMono24{Container::kAIFF, 1, 24};

/// What is posted: blocks of floats, the same in every run.
std::vector<float> floats(const WrittenFormat& format, int block) {
    std::minstd_rand random(static_cast<unsigned>(block) + 1);
    std::uniform_real_distribution<float> level(-1, 0.99f);
    std::vector<float> samples(static_cast<std::size_t>(kFramesInBlock * format.channels));
    for (float& sample : samples) sample = level(random);
    return samples;
}

/// The samples of a file as numbers from -1 to 1.
std::vector<double> samplesOf(const std::string& path, const WrittenFormat& format) {
    const std::string bytes = deliveredSamples(path, format);
    std::vector<double> samples;
    const auto width = static_cast<std::size_t>(format.bytesPerSample());
    for (std::size_t at = 0; at < bytes.size(); at += width) {
        std::int32_t value = 0;  // the sample in the upper bytes
        const bool isBig = std::endian::native == std::endian::big;
        std::memcpy(reinterpret_cast<char*>(&value) + (isBig ? 0 : 4 - width), bytes.data() + at, width);
        samples.push_back(value / 2147483648.0);
    }
    return samples;
}

/// Checks that the file holds `blocks` blocks of floats, to within one least significant bit, and no more.
void expectBlocks(const std::string& path, const WrittenFormat& format, int blocks) {
    const std::vector<double> samples = samplesOf(path, format);
    std::vector<float> posted;
    for (int i = 0; i < blocks; ++i)
        for (const float sample : floats(format, i)) posted.push_back(sample);
    ASSERT_EQ(samples.size(), posted.size());
    double worst = 0;
    for (std::size_t i = 0; i < posted.size(); ++i) worst = std::max(worst, std::abs(samples[i] - posted[i]));
    EXPECT_LE(worst, std::ldexp(1.0, 1 - format.bits));
    expectTrueHeader(path, format, blocks * kFramesInBlock);
}

struct TakeSetup {
    WrittenFormat format = kStereo24;
    unsigned sourceBits = 32;
    bool twoBlocks = false;
    bool deferred = false;
};

int blockSize(const WrittenFormat& format) {
    return kFramesInBlock * format.channels * static_cast<int>(sizeof(float));
}

std::unique_ptr<CIOWriteThread> newThread(const std::string& path, const TakeSetup& setup) {
    return std::make_unique<CIOWriteThread>(
        urlOf(path), describe(setup.format),
        platform::makeHostFormat(44100, static_cast<unsigned>(setup.format.channels), setup.sourceBits),
        kRing, blockSize(setup.format), setup.twoBlocks, setup.deferred);
}

void post(CIOWriteThread& thread, const WrittenFormat& format, int block) {
    thread.postBuffer(floats(format, block).data(), blockSize(format));
}

/// Posts from block `first` on, waiting for room, until there are `blocks` or the thread has ended; returns
/// the block that was not posted.
int postAll(CIOWriteThread& thread, const WrittenFormat& format, int first, int blocks) {
    for (int i = first; i < blocks; ++i) {
        waitUntil([&] { return thread.canAcceptBuffer() || !thread.isThreadRunning(); });
        if (!thread.isThreadRunning()) return i;
        post(thread, format, i);
    }
    return blocks;
}

TEST(IOWriteThread, RecordsFloatsWithinOneBit) {
    const TemporaryFolder folder;
    for (const WrittenFormat& format : {kStereo16, kStereo24, kMono24}) {
        for (const bool deferred : {false, true}) {
            SCOPED_TRACE(testing::Message() << format << (deferred ? ", deferred" : ""));
            const std::string path = folder.path("take.aif");
            const auto thread = newThread(path, {.format = format, .deferred = deferred});
            thread->runWithPriority(0.5, 0);
            EXPECT_EQ(postAll(*thread, format, 0, 20), 20);
            thread->sleepUntilThreadExits(true, 0);
            thread->runOnce();
            if (deferred) expectBlocks(path, format, 0);
            for (int twice = 0; twice < 2; ++twice) thread->finishWriting();
            EXPECT_EQ(thread->getSamplesWritten(), 20ul * kFramesInBlock * format.channels);
            thread->finishFile();
            expectBlocks(path, format, 20);
        }
    }
}

TEST(IOWriteThread, WritesSamplesOfTheFilesWidthAsTheyAre) {
    const TemporaryFolder folder;
    for (const WrittenFormat& format : {kStereo16, kStereo24}) {
        const auto bits = static_cast<unsigned>(format.bits);
        const auto thread = newThread(folder.path("take.aif"), {.format = format, .sourceBits = bits});
        const std::string samples = randomSamples(format, 100, 5);
        thread->postBuffer(samples.data(), static_cast<int>(samples.size()));
        thread->runOnce();
        EXPECT_EQ(deliveredSamples(folder.path("take.aif"), format), samples);
    }
}

TEST(IOWriteThread, InterleavesTwoBlocks) {
    const TemporaryFolder folder;
    const std::int16_t left[] = {1, 2, 3}, right[] = {-1, -2, -3};
    for (const bool deferred : {false, true}) {
        const auto thread = newThread(folder.path("take.aif"), {kStereo16, 16, true, deferred});
        thread->postBufferStereo(left, 6, right, 4);
        thread->postBufferStereo(right, 5, left, 6);  // a sample that is cut off is left out
        thread->runOnce();
        thread->finishWriting();
        const std::string bytes = deliveredSamples(folder.path("take.aif"), kStereo16);
        std::vector<std::int16_t> samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), bytes.size());
        EXPECT_EQ(samples, (std::vector<std::int16_t>{1, -1, 2, -2, 3, 0, -1, 1, -2, 2}));
    }
}

TEST(IOWriteThread, WritesTwoBlocksOfFloatsUnconverted) {
    const TemporaryFolder folder;
    const float left[] = {0.5f, -0.25f}, right[] = {0.125f, 1};
    const auto thread = newThread(folder.path("take.aif"), {kStereo16, 32, true});
    thread->postBufferStereo(left, 8, right, 8);
    thread->runOnce();
    const float expected[] = {0.5f, 0.125f};  // 4 of 16 bits have the place of 2 floats
    EXPECT_EQ(deliveredSamples(folder.path("take.aif"), kStereo16),
              std::string(reinterpret_cast<const char*>(expected), sizeof expected));
    std::vector<float> whole(kFramesInBlock * 2, std::numeric_limits<float>::quiet_NaN());
    for (int i = 0; i < 2 * kRing; ++i) {  // all of the scratch block, again and again
        thread->postBufferStereo(whole.data(), blockSize(kStereo16), whole.data(), blockSize(kStereo16));
        thread->runOnce();
    }
    EXPECT_EQ(thread->getSamplesWritten(), 4ul + 2 * kRing * 2 * 2 * kFramesInBlock);
}

TEST(IOWriteThread, RefusesAPostToAFullRing) {
    const TemporaryFolder folder;
    const auto single = newThread(folder.path("a.aif"), {});
    const auto two = newThread(folder.path("b.aif"), {.twoBlocks = true});
    marl::CIOWriteCallback callback;
    single->getWriteCallback(callback);
    const float sample = 0.5f;
    for (int i = 0; i < kRing; ++i) {
        callback.function(callback.context, &sample, 4);
        two->postBufferStereo(&sample, 4, &sample, 4);
    }
    const std::string full = " could not post to buffer-- currrent in-buffer is not empty";
    EXPECT_EQ(messageThrownBy([&] { callback.function(callback.context, &sample, 4); }),
              "CIOWriteThread::postBuffer" + full);
    EXPECT_EQ(messageThrownBy([&] { two->postBufferStereo(&sample, 4, &sample, 4); }),
              "CIOWriteThread::postBufferStereo" + full);
    single->runOnce();
    EXPECT_EQ(messageThrownBy([&] { single->postBufferStereo(&sample, 4, &sample, 4); }),
              "CIOWriteThread::postBufferStereo" + full)
        << "not made for two blocks";
    EXPECT_EQ(messageThrownBy([&] { CIOWriteThread::staticPostBuffer(nullptr, &sample, 4); }),
              "Error: context is null!");
    EXPECT_EQ(messageThrownBy([&] { single->postBuffer(&sample, 0); }), "size must be positive (got 0)");
    EXPECT_TRUE(single->canAcceptBuffer()) << "a refused block takes no place";
}

TEST(IOWriteThread, RefusesWhatItCannotRecordBeforeItTouchesTheFile) {
    const TemporaryFolder folder;
    struct Case {
        int bits, count, size;
        unsigned sourceBits;
        const char* message;
    };
    const Case cases[] = {
        {16, 0, 0, 32, "buffersToAllocate must be positive (got 0)"},
        {16, -1, 4, 32, "buffersToAllocate must be positive (got -1)"},
        {16, 1, 0, 32, "bufferSize must be positive (got 0)"},
        {16, 1, -8, 32, "bufferSize must be positive (got -8)"},
        {24, 1, 8, 16, "samples of 2 bytes cannot be recorded into a file of samples of 3 bytes"},
        {16, 1, 8, 24, "samples of 3 bytes cannot be recorded into a file of samples of 2 bytes"},
        {16, 1, 8, 4, "samples of 0 bytes cannot be recorded into a file of samples of 2 bytes"},
        {32, 1, 8, 32, "AIFF files are written with 16 or 24 bits (not 32)"},
    };
    const std::string path = folder.write("take.aif", "the old one");
    for (const auto& [bits, count, size, sourceBits, message] : cases) {
        for (const bool twoBlocks : {false, true})
            EXPECT_EQ(messageThrownBy([&] {
                          CIOWriteThread thread(urlOf(path), describe({Container::kAIFF, 1, bits}),
                                                platform::makeHostFormat(44100, 1, sourceBits), count, size,
                                                twoBlocks, false);
                      }),
                      message);
    }
    const auto format = platform::makeHostFormat(44100, 1, 32);
    EXPECT_EQ(messageThrownBy([&] { CIOWriteThread(urlOf(path), nullptr, format, 1, 8, false, false); }),
              "Error: parser is null!");
    EXPECT_EQ(
        messageThrownBy([&] { CIOWriteThread(nullptr, describe(kMono24), format, 1, 8, false, false); }),
        "Error: url is null!");
    EXPECT_EQ(contentsOf(path), "the old one");
}

TEST(IOWriteThread, EndsATakeAtAFailingWriteAndGoesOnWhenStartedAgain) {
    constexpr int kBlocks = 6;
    const TemporaryFolder folder;
    const std::string path = folder.path("take.aif");
    const auto callsOfATake = [&](const TakeSetup& setup) {
        const FaultyDisk disk(Fault::kNone);
        const auto thread = newThread(path, setup);
        const int head = disk.calls();
        for (int i = 0; i < kBlocks; ++i) {
            post(*thread, setup.format, i);
            thread->runOnce();
        }
        thread->finishWriting();
        return std::pair(head, disk.calls());
    };
    for (const TakeSetup& setup :
         {TakeSetup{kStereo16}, TakeSetup{kMono24}, TakeSetup{kStereo24, 32, false, true}}) {
        const auto [head, calls] = callsOfATake(setup);
        for (int failing = head + 1; failing <= calls; ++failing) {
            SCOPED_TRACE(testing::Message() << setup.format << ", write " << failing);
            const FaultyDisk disk(Fault::kError, failing);
            const auto thread = newThread(path, setup);
            int posted = 0, errors = 0;
            const auto take = [&] {
                thread->runWithPriority(0.5, 0);
                posted = postAll(*thread, setup.format, posted, kBlocks);
                thread->sleepUntilThreadExits(true, 0);
                if (const auto failure = thread->getFailure()) std::rethrow_exception(failure);
                thread->runOnce();
                thread->finishWriting();
            };
            for (int attempt = 0; attempt < 2; ++attempt) {
                try {
                    take();
                } catch (const halyard::CException& failure) {
                    ++errors;
                    EXPECT_EQ(failure.getCode(), ENOSPC);
                    EXPECT_NE(failure.getMessage().find(path), std::string::npos);
                    const auto samples = static_cast<int>(thread->getSamplesWritten());
                    const auto frames = samplesOf(path, setup.format).size();
                    EXPECT_EQ(samples % (kFramesInBlock * setup.format.channels), 0);
                    EXPECT_GE(frames, static_cast<std::size_t>(samples));
                }
            }
            EXPECT_EQ(errors, 1);
            expectBlocks(path, setup.format, kBlocks);
        }
    }
}

}  // namespace
}  // namespace support
