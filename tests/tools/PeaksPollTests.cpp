// SPDX-License-Identifier: MIT
// The example that draws a waveform out of a poll loop of its own.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/EnvironmentVariable.h"
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"
#include "tools/Program.h"

namespace {

constexpr int kParts = 70;           // one a column
constexpr int kFramesOfEntry = 256;  // of the table
constexpr int kFramesOfPart = 1024;

/// As loud as its number says, from 0 to 8, but silent in its first and last entry: a column may have the one
/// before it.
int sampleAt(int frame) {
    const int part = frame / kFramesOfPart, entry = frame % kFramesOfPart / kFramesOfEntry;
    const bool isSilent = entry == 0 || entry == 3;
    return isSilent ? 0 : (2 * (part % 9) + 1) * 32768 / 18;
}

support::Bytes steps(unsigned channels) {
    support::WAVContents contents;
    contents.format = support::WAVFormat{.channels = static_cast<int>(channels)};
    support::Bytes samples;
    for (int frame = 0; frame < kParts * kFramesOfPart; ++frame)
        for (unsigned channel = 0; channel < channels; ++channel) samples.little16(sampleAt(frame));
    contents.samples = samples;
    return support::wavFile(contents);
}

TEST(PeaksPoll, DrawsWhileItBuilds) {
    std::string line;
    for (std::size_t part = 0; part < kParts; ++part) line += " .:-=+*#%"[part % 9];
    const support::TemporaryFolder folder, home;
    const support::EnvironmentVariable settings("XDG_CONFIG_HOME", home.path().c_str());
    for (const unsigned channels : {1u, 2u}) {
        const std::string path = folder.write("steps.wav", steps(channels));
        const auto outcome = support::runMarl({path}, {.program = MARL_PEAKS_POLL});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_TRUE(outcome.out.ends_with("\r[" + line + "]\n")) << outcome.out;
        EXPECT_GE(std::ranges::count(outcome.out, '\r'), 3) << "the first ticks cannot build all of it";
    }
}

TEST(PeaksPoll, SaysWhatIsWrong) {
    const auto outcome = support::runMarl({"gone.wav"}, {.program = MARL_PEAKS_POLL});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("gone.wav"), std::string::npos) << outcome.err;
    EXPECT_EQ(support::runMarl({}, {.program = MARL_PEAKS_POLL}).status, 2);
}

}  // namespace
