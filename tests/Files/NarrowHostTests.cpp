// SPDX-License-Identifier: MIT
/// Sizes that wrap around where std::size_t has 32 bits. Built for such hosts only: elsewhere the memory is
/// there.
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/CMemoryFileData.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>

using platform::AudioStreamBasicDescription;
using platform::makeHostFormat;
using support::Bytes;
using support::OpenedFile;

static_assert(sizeof(std::size_t) == 4);

namespace {

halyard::CBufferRef unwritten(std::size_t size) {
    return halyard::CBufferRef(new halyard::CBuffer(size, false));
}

}  // namespace

TEST(NarrowHost, RefusesSamplesThatItCannotCountInMemory) {
    const OpenedFile opened("a.wav", support::wavFile({.samples = Bytes().zeros(8)}));
    marl::IFileData& data = opened.data();
    const auto mono8 = makeHostFormat(44100, 1, 8), stereo24 = makeHostFormat(44100, 2, 24);
    const auto stereoFloat = makeHostFormat(44100, 2, 32), monoFloat = makeHostFormat(100, 1, 32);
    constexpr int kHalfGiB = 1 << 29;
    const struct {
        const char* what;
        std::function<void()> act;
        const char* bytes;
    } rows[] = {{"8 bytes for each of the file",
                 [&] { data.setSampleConversion(mono8, kHalfGiB + 1, 0, stereoFloat); }, "4294967304"},
                {"more bytes in the file",
                 [&] { data.setSampleConversion(stereo24, 715827883, 0, stereo24); }, "4294967298"},
                {"just not countable", [&] { data.setSampleConversion(mono8, kHalfGiB / 2, 0, stereoFloat); },
                 "2147483648"},
                {"a buffer", [&] { data.convert8ToFloat(unwritten(kHalfGiB + 1), kHalfGiB + 1, 1, 2); },
                 "4294967304"},
                {"a rate",
                 [&] {
                     auto fast = monoFloat;
                     fast.mSampleRate *= 256;
                     data.convertSampleRates(unwritten((1 << 24) + 4), (1 << 24) + 4, monoFloat, fast);
                 },
                 "4294968320"}};
    for (const auto& row : rows)
        EXPECT_EQ(support::messageThrownBy(row.act),
                  std::string("not enough memory for a buffer of ") + row.bytes + " bytes")
            << row.what;
    EXPECT_FALSE(data.getSampleConversion(nullptr, nullptr, nullptr, nullptr));
}
