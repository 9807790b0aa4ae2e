// SPDX-License-Identifier: MIT
// What the audio thread's side of the I/O threads does not do.
#include "StandIns.h"
#include "support/OpenedFile.h"
#include "support/PlaybackCosts.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/streaming/CIORequestThread.h>
#include <MarlCore/Files/streaming/CIOWriteThread.h>

#include <gtest/gtest.h>

#include <array>

namespace support {
namespace {

constexpr int kRing = 8;

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
    EXPECT_EQ(playbackCosts([&] {
                  for (int i = 0; i < kRing; ++i) {
                      callback.function(callback.context, samples.data(), kBytes);
                      two.postBufferStereo(samples.data(), kBytes, samples.data(), kBytes);
                  }
                  return !single.canAcceptBuffer() && !two.getInBuffer();
              }),
              PlaybackCosts{});
}

TEST(Posting, OfRequestsTakesTheWakeUpLockAndDoesNothingElse) {
    marl::CIORequestThread thread(kRing);
    const SlicedSourceRef source(new SlicedSource(1));
    EXPECT_EQ(playbackCosts([&] {
                  for (int i = 0; i < kRing; ++i) thread.postRequest(source, 0, 0);
                  return !thread.canAcceptBuffer() && source->CountReferences() == 1 + kRing;
              }),
              (PlaybackCosts{.locks = 2 * kRing}))
        << "each locks and unlocks";
}

TEST(Posting, FreesNoSourceThatWasFlushed) {
    marl::CIORequestThread thread(1);
    const SlicedSourceRef source(new SlicedSource(1));
    thread.postRequest(SlicedSourceRef(new SlicedSource(1)), 0, 0);
    thread.stopProcessing();
    thread.flushRequests();
    EXPECT_EQ(playbackCosts([&] {
                  thread.postRequest(source, 0, 0);
                  return true;
              }),
              (PlaybackCosts{.locks = 2}));
}

}  // namespace
}  // namespace support
