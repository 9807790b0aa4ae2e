// SPDX-License-Identifier: MIT
// What the audio thread's side of the I/O threads does not do.
#include "CallMeter.h"
#include "StandIns.h"
#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CIORequestThread.h>
#include <MarlCore/Files/streaming/CIOWriteThread.h>

#include <gtest/gtest.h>

#include <array>
#include <shared_mutex>

#include <unistd.h>

namespace support {
namespace {

constexpr Calls kNothing{};
constexpr int kRing = 8;

TEST(CallMeter, SeesEachKindOfCall) {
    std::mutex mutex;
    std::shared_mutex shared;
    EXPECT_EQ(callsOf([] {}), kNothing);
    EXPECT_TRUE(callsOf([] { halyard::CSTR("a text"); }).allocates);
    EXPECT_TRUE(callsOf([] { delete new halyard::CBuffer(64, true); }).allocates);
    EXPECT_EQ(callsOf([&] { const std::lock_guard lock(mutex); }), (Calls{.locks = 1}));
    EXPECT_EQ(callsOf([&] { const std::unique_lock lock(mutex, std::try_to_lock); }), (Calls{.locks = 1}));
    EXPECT_EQ(callsOf([&] { const std::shared_lock lock(shared); }), (Calls{.locks = 1}));
    EXPECT_EQ(callsOf([&] { const std::unique_lock lock(shared); }), (Calls{.locks = 1}));
    EXPECT_EQ(callsOf([] { ::getppid(); }), (Calls{.callsTheSystem = true}));
}

std::array<float, 16384> samples{};
constexpr int kBytes = sizeof samples;

TEST(Posting, OfSamplesCopiesAndDoesNothingElse) {
    const TemporaryFolder folder;
    const marl::IFileParserRef take(new marl::CLoopDescription(44100, 2, 24));
    const auto floats = platform::makeHostFormat(44100, 2, 32);
    marl::CIOWriteThread single(urlOf(folder.path("a.aif")), take, floats, kRing, kBytes, false, true);
    marl::CIOWriteThread two(urlOf(folder.path("b.aif")), take, floats, kRing, kBytes, true, true);
    marl::CIOWriteCallback callback;
    single.getWriteCallback(callback);
    for (int i = 0; i < kRing; ++i) {
        EXPECT_EQ(callsOf([&] { callback.function(callback.context, samples.data(), kBytes); }), kNothing);
        EXPECT_EQ(callsOf([&] { two.postBufferStereo(samples.data(), kBytes, samples.data(), kBytes); }),
                  kNothing);
    }
    bool hasRoom = true;
    EXPECT_EQ(callsOf([&] { hasRoom = single.canAcceptBuffer() || two.getInBuffer(); }), kNothing);
    EXPECT_FALSE(hasRoom);
}

TEST(Posting, OfRequestsTakesTheWakeUpLockAndDoesNothingElse) {
    marl::CIORequestThread thread(kRing);
    const SlicedSourceRef source(new SlicedSource(1));
    for (int i = 0; i < kRing; ++i)
        EXPECT_EQ(callsOf([&] { thread.postRequest(source, 0, 0); }), (Calls{.locks = 1}));
    bool hasRoom = true;
    EXPECT_EQ(callsOf([&] { hasRoom = thread.canAcceptBuffer(); }), kNothing);
    EXPECT_FALSE(hasRoom);
    EXPECT_EQ(source->CountReferences(), 1 + kRing);
}

TEST(Posting, FreesNoSourceThatWasFlushed) {
    marl::CIORequestThread thread(1);
    const SlicedSourceRef source(new SlicedSource(1));
    std::thread::id diedIn;
    thread.postRequest(SlicedSourceRef(new SlicedSource(1, &diedIn)), 0, 0);
    thread.stopProcessing();
    thread.flushRequests();
    EXPECT_EQ(callsOf([&] { thread.postRequest(source, 0, 0); }), (Calls{.locks = 1}));
    EXPECT_EQ(diedIn, std::thread::id());
}

}  // namespace
}  // namespace support
