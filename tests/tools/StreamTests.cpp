// SPDX-License-Identifier: MIT
// Samples that a thread reads ahead of their output; ConvertTests holds them against conversions of every
// kind.
#include <tools/marl/Convert.h>
#include <tools/marl/Output.h>
#include <tools/marl/Stream.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <streambuf>

#include "Files/streaming/FaultyReads.h"
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

using support::FaultyReads;
using support::TemporaryFolder;

constexpr int kFrames = 441000;  // many requests, of 1.3 MB each second at 24 bits

std::string writeNoise(const TemporaryFolder& folder, int frames) {
    std::minstd_rand random(3);
    std::string bytes;
    for (int i = 0; i < frames * 6; ++i) bytes += static_cast<char>(random() >> 8);
    return folder.write("in.wav", support::wavFile({.format = support::WAVFormat{.bitsPerChannel = 24},
                                                    .samples = support::Bytes(bytes)}));
}

/// Takes `room` bytes and no more, and asks to be told of each write.
class Taker : public std::streambuf {
public:
    explicit Taker(std::size_t room = std::numeric_limits<std::size_t>::max()) : m_room(room) {}

    std::string taken;
    int mostReadsAhead = 0;
    const FaultyReads* reads = nullptr;

private:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        if (reads) mostReadsAhead = std::max(mostReadsAhead, reads->calls() - ++m_writes);
        const auto size = std::min(static_cast<std::size_t>(count), m_room - taken.size());
        taken.append(bytes, size);
        return static_cast<std::streamsize>(size);
    }

    const std::size_t m_room;
    int m_writes = 0;
};

struct Outcome {
    int status;
    std::string err;
};

Outcome streamTo(Taker& taker, const StreamOptions& options) {
    std::ostream out(&taker);
    std::ostringstream err;
    const int status = runStream(options, out, err);
    return {status, err.str()};
}

std::string wholeOf(const std::string& input, double sampleRate) {
    std::ostringstream out, err;
    runConvert({.sampleRate = sampleRate, .input = input, .output = "-", .streamed = true}, out, err);
    return out.str();
}

TEST(Stream, GivesTheFramesBetweenTwoTimes) {
    const TemporaryFolder folder;
    const std::string input = writeNoise(folder, kFrames);
    const struct {
        double from;
        std::optional<double> to;
        double sampleRate;
        int first, end;
    } kRows[] = {
        {0, {}, 44100, 0, 441000},
        {0, 10, 44100, 0, 441000},
        {0, 10.0004, 44100, 0, 441000},
        {0, 1e-9, 44100, 0, 0},
        {0, 1 / 44100.0, 44100, 0, 1},
        {1.00001, 1.5, 44100, 44100, 66150},
        {9.99997, {}, 44100, 440999, 441000},
        {0.1, 9.9, 48000, 4800, 475200},
        {7.00002, {}, 48000, 336001, 480000},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.from << " s at " << row.sampleRate);
        Taker taker;
        const Outcome outcome =
            streamTo(taker, {.sampleRate = row.sampleRate, .from = row.from, .to = row.to, .input = input});
        EXPECT_EQ(outcome.status, kDone) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        const std::string whole = wholeOf(input, row.sampleRate);
        EXPECT_TRUE(taker.taken == whole.substr(static_cast<std::size_t>(row.first) * 6,
                                                static_cast<std::size_t>(row.end - row.first) * 6));
    }
}

TEST(Stream, SaysWhatItCannotDo) {
    const TemporaryFolder folder;
    const std::string input = writeNoise(folder, 44100);
    const std::string empty = folder.write("empty.wav", support::wavFile({}));
    const struct {
        StreamOptions options;
        std::string reason;
    } kRows[] = {
        {{.from = 1, .input = input}, "--from 1 is beyond the end: it lasts 1.000 s"},
        {{.from = 1e300, .to = 1e301, .input = input}, "--from 1e+300 is beyond the end: it lasts 1.000 s"},
        {{.to = 1.01, .input = input}, "--to 1.01 is beyond the end: it lasts 1.000 s"},
        {{.from = 0.1, .input = empty}, "--from 0.1 is beyond the end: it lasts 0.000 s"},
        {{.channels = 1, .input = input},
         "Unsupported channel conversion. Source 2 channels, dest 1 channels."},
        {{.input = folder.path("no.wav")}, "cannot be read: No such file or directory"},
    };
    for (const auto& row : kRows) {
        Taker taker;
        const Outcome outcome = streamTo(taker, row.options);
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_EQ(outcome.err, "marl: " + row.options.input + ": " + row.reason + "\n");
        EXPECT_EQ(taker.taken, "");
    }
}

TEST(Stream, TellsOfEveryReadThatFails) {
    const TemporaryFolder folder;
    const std::string input = writeNoise(folder, kFrames);
    const std::string whole = wholeOf(input, 0);
    int failures = 0;
    for (;; ++failures) {
        const FaultyReads faulty(FaultyReads::Fault::kError, failures + 1);
        Taker taker;
        const Outcome outcome = streamTo(taker, {.input = input});
        if (outcome.status == kDone) break;
        ASSERT_EQ(outcome.err, "marl: " + input + ": cannot be read: Input/output error\n");
        ASSERT_TRUE(taker.taken == whole.substr(0, taker.taken.size()));
    }
    EXPECT_GE(failures, kFrames * 2 / 10922) << "one a slice, and those of the header";
}

TEST(Stream, TellsOfEveryWriteThatFails) {
    const TemporaryFolder folder;
    const std::string input = writeNoise(folder, 44100);
    const std::string whole = wholeOf(input, 0);
    for (std::size_t room = 0; room < whole.size(); room += 20000) {
        Taker taker(room);
        const Outcome outcome = streamTo(taker, {.input = input});
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_TRUE(outcome.err.starts_with("marl: standard output: cannot be written")) << outcome.err;
        EXPECT_TRUE(taker.taken == whole.substr(0, room));
    }
}

TEST(Stream, ReadsNoFurtherAheadThanIsWorthWhile) {
    const TemporaryFolder folder;
    const std::string input = writeNoise(folder, kFrames);
    const FaultyReads counted(FaultyReads::Fault::kNone, 0);
    Taker taker;
    taker.reads = &counted;
    EXPECT_EQ(streamTo(taker, {.input = input}).status, kDone);
    EXPECT_LT(taker.mostReadsAhead, 50) << "of 81 slices; some reads are those of the header";
}

}  // namespace
}  // namespace marl::tool
