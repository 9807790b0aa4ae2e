// SPDX-License-Identifier: MIT
#include <tools/marl/Output.h>
#include <tools/marl/Record.h>

#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"
#include "tools/Program.h"

namespace marl::tool {
namespace {

using support::TemporaryFolder;

constexpr double kRate = 8000;

std::vector<float> noise(std::size_t count, unsigned seed) {
    std::minstd_rand random(seed);
    std::uniform_real_distribution<float> level(-1, 1);
    std::vector<float> samples(count);
    for (float& sample : samples) sample = level(random);
    return samples;
}

std::string bytesOf(const std::vector<float>& samples) {
    return {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(float)};
}

/// Bytes that come in `step` at a time, and then the end, unless it is `held` back.
class Source {
public:
    Source(std::string bytes, std::size_t step, bool held = false) {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends.data()) != 0)
            throw std::system_error(errno, std::generic_category());
        m_writer = std::jthread([bytes = std::move(bytes), step, held, output = m_ends[1]] {
            for (std::size_t at = 0; at < bytes.size(); at += step) {
                const std::size_t size = std::min(step, bytes.size() - at);
                if (::send(output, bytes.data() + at, size, MSG_NOSIGNAL) < 0) return;  // nobody listens
            }
            if (!held) ::shutdown(output, SHUT_WR);
        });
    }
    ~Source() {
        ::close(m_ends[0]);
        m_writer.join();
        ::close(m_ends[1]);
    }
    int input() const noexcept { return m_ends[0]; }

private:
    std::array<int, 2> m_ends{};
    std::jthread m_writer;
};

struct Outcome {
    int status;
    std::string out, err;
};

Outcome record(const RecordOptions& options, const std::string& bytes, std::size_t step = 65536) {
    const Source source(bytes, step);
    std::ostringstream out, err;
    const int status = runRecord(options, source.input(), out, err);
    return {status, out.str(), err.str()};
}

/// The samples of a recorded file as integers, found without the library: they are the end of the file.
std::vector<std::int32_t> samplesOf(const std::string& path, int bits, std::size_t count) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto width = static_cast<std::size_t>(bits / 8);
    std::vector<std::int32_t> samples;
    if (bytes.size() < count * width) return samples;
    const char* at = bytes.data() + bytes.size() - count * width - count * width % 2;
    for (; samples.size() < count; at += width) {
        std::uint32_t value = 0;
        std::memcpy(&value, at, width);
        if constexpr (std::endian::native == std::endian::little) value = platform::reverseBytes(value);
        samples.push_back(static_cast<std::int32_t>(value) >> (32 - bits));
    }
    return samples;
}

RecordOptions optionsFor(const TemporaryFolder& folder, const char* format, int channels) {
    return {.format = format, .sampleRate = kRate, .channels = channels, .output = folder.path("take.aif")};
}

TEST(Record, KeepsFloatsWithinOneBitHoweverThePipeDeliversThem) {
    const TemporaryFolder folder;
    for (const int bits : {16, 24}) {
        for (const int channels : {1, 2, 3}) {
            for (const std::size_t step : {1u, 7u, 4096u, 100000u}) {
                const std::size_t frames = step == 1 ? 700 : 20011;
                for (const bool isDeferred : {false, true}) {
                    RecordOptions options = optionsFor(folder, bits == 16 ? "s16" : "s24", channels);
                    options.isDeferred = isDeferred;
                    const auto floats = noise(frames * static_cast<std::size_t>(channels), 5);
                    const Outcome outcome = record(options, bytesOf(floats), step);
                    SCOPED_TRACE(testing::Message()
                                 << bits << " bits, " << channels << " channels, " << step);
                    EXPECT_EQ(outcome.status, kDone);
                    EXPECT_EQ(outcome.err, "");
                    std::ostringstream line;
                    line << options.output << ": " << frames << " frames written ("
                         << (frames == 700 ? "0.087" : "2.501") << " s), 0 blocks dropped\n";
                    EXPECT_EQ(outcome.out, line.str());
                    const auto samples = samplesOf(options.output, bits, floats.size());
                    ASSERT_EQ(samples.size(), floats.size());
                    double worst = 0;
                    for (std::size_t i = 0; i < floats.size(); ++i)
                        worst =
                            std::max(worst, std::abs(samples[i] - std::ldexp(double{floats[i]}, bits - 1)));
                    EXPECT_LE(worst, 1);
                }
            }
        }
    }
}

TEST(Record, ClipsWhatIsBeyondFullScaleAndSaysSo) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const TemporaryFolder folder;
    const std::vector<float> floats{
        1,     -1,     0.99999f,  1.5f,       -1.5f,
        3e38f, -3e38f, kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN(),
        0.5f};
    for (const int bits : {16, 24}) {
        const RecordOptions options = optionsFor(folder, bits == 16 ? "s16" : "s24", 1);
        const Outcome outcome = record(options, bytesOf(floats));
        EXPECT_EQ(outcome.status, kDone);
        EXPECT_EQ(outcome.err, "marl: " + options.output + ": note: 7 samples beyond full scale, clipped\n");
        const std::int32_t most = (1 << (bits - 1)) - 1, least = -most - 1;
        const std::int32_t almost = bits == 16 ? most : 8388524;
        EXPECT_EQ(samplesOf(options.output, bits, floats.size()),
                  (std::vector<std::int32_t>{most, least, almost, most, least, most, least, most, least, 0,
                                             (most + 1) / 2}));
    }
}

TEST(Record, CountsEveryBlockThatItDrops) {
    const TemporaryFolder folder;
    RecordOptions options = optionsFor(folder, "s16", 1);
    options.isRealTime = true;
    const Outcome outcome =
        record(options, bytesOf(noise(20010, 1)));  // 80 blocks of 250 frames, and 10 frames
    EXPECT_EQ(outcome.status, kDone);
    int frames = 0, dropped = 0;
    double seconds = 0;
    const std::string line = outcome.out.substr(options.output.size());
    ASSERT_EQ(std::sscanf(line.c_str(), ": %d frames written (%lf s), %d blocks dropped", &frames, &seconds,
                          &dropped),
              3);
    EXPECT_EQ((frames + 249) / 250 + dropped, 81);
    EXPECT_EQ(samplesOf(options.output, 16, static_cast<std::size_t>(frames)).size(),
              static_cast<std::size_t>(frames));
}

TEST(Record, LeavesOutWhatIsNoWholeFrame) {
    const TemporaryFolder folder;
    const RecordOptions options = optionsFor(folder, "s16", 2);
    for (const std::size_t extra : {1u, 4u, 7u}) {
        const auto floats = noise(2 * 1000, 1);
        const Outcome outcome = record(options, bytesOf(floats) + std::string(extra, '\x3F'));
        EXPECT_EQ(outcome.status, kDone);
        EXPECT_EQ(outcome.err, "marl: standard input: note: ends within a frame: " + std::to_string(extra) +
                                   " bytes left out\n");
        EXPECT_EQ(outcome.out, options.output + ": 1000 frames written (0.125 s), 0 blocks dropped\n");
    }
}

std::size_t sizeOf(const std::string& path) {
    std::error_code none;
    const auto size = std::filesystem::file_size(path, none);
    return none ? 0 : static_cast<std::size_t>(size);
}

TEST(Record, RefusesWhatItCannotDo) {
    const TemporaryFolder folder;
    struct Case {
        std::string output;
        int status;
        std::string message;
    };
    const Case cases[] = {
        {folder.path("take.wav"), kWrongUsage, "the output must end in .aif or .aiff"},
        {"-", kWrongUsage, "the output must end in .aif or .aiff"},
        {folder.path("nowhere/take.aif"), kFailed, "cannot be written: No such file or directory"},
    };
    for (const auto& [path, status, message] : cases) {
        RecordOptions options = optionsFor(folder, "s16", 1);
        options.output = path;
        const Outcome outcome = record(options, bytesOf(noise(100, 1)));
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "marl: " + path + ": " + message + "\n");
    }
    std::ostringstream out, err;
    const RecordOptions options = optionsFor(folder, "s16", 1);
    const int directory = ::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(runRecord(options, directory, out, err), kFailed);
    ::close(directory);
    EXPECT_EQ(err.str(), "marl: standard input: cannot be read: Is a directory\n");
    EXPECT_EQ(out.str(), "");

    std::ofstream(options.output) << "an old take";
    const Outcome outcome = record(options, "");
    EXPECT_EQ(outcome.status, kFailed);
    EXPECT_EQ(outcome.err, "marl: " + options.output + ": not written: no samples came\n");
    EXPECT_EQ(sizeOf(options.output), 11U) << "a source that failed has taken the old take along";
}

// The program itself.

std::vector<std::string> arguments(const std::string& path) {
    return {"record", "--format", "s16", "--rate", "8000", "--channels", "2", path};
}

/// Frames of 16 bits and two channels that `marl info` finds.
int framesIn(const std::string& path) {
    const auto outcome = support::runMarl({"info", "--json", path});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(outcome.out).at(0).at("frames").get<int>();
}

TEST(RecordProcess, FinishesTheFileWhenItIsAskedToStop) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const TemporaryFolder folder;
        const std::string path = folder.path("take.aif");
        const Source source(bytesOf(noise(2 * 8000, 1)), 4096, true);
        support::RunningMarl marl(arguments(path), {.standardInput = source.input()});
        while (sizeOf(path) < 30000) std::this_thread::yield();
        marl.sendSignal(signal);
        const auto outcome = marl.await();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, path + ": " + std::to_string(framesIn(path)) + " frames written (" +
                                   outcome.out.substr(outcome.out.find('(') + 1));
        EXPECT_GE(framesIn(path), 7500);
    }
}

TEST(RecordProcess, KeepsWhatFitsOnAFullDisk) {
    for (const bool isDeferred : {false, true}) {
        const TemporaryFolder folder;
        const std::string path = folder.path("take.aif");
        auto words = arguments(path);
        if (isDeferred) words.emplace_back("--deferred");
        const Source source(bytesOf(noise(2 * 20000, 1)), 4096);
        const auto outcome =
            support::runMarl(words, {.mostFileBytes = 50000, .standardInput = source.input()});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "marl: " + path + ": cannot be written: File too large\n");
        EXPECT_EQ(framesIn(path), 12250) << "49 blocks of 250 frames";
        EXPECT_TRUE(outcome.out.starts_with(path + ": 12250 frames written (1.531 s), ")) << outcome.out;
        if (isDeferred) {
            EXPECT_TRUE(outcome.out.ends_with(" 31 blocks dropped\n")) << outcome.out;
        } else {
            EXPECT_FALSE(outcome.out.ends_with(" 0 blocks dropped\n")) << outcome.out;
        }
    }
}

TEST(RecordProcess, LeavesATakeThatIsKilledPlayable) {
    std::mt19937 random(17);
    for (int round = 0; round < 6; ++round) {
        const TemporaryFolder folder;
        const std::string path = folder.path("take.aif");
        const int blocks = 1 + static_cast<int>(random() % 40);
        const Source source(bytesOf(noise(2 * 250 * static_cast<std::size_t>(blocks), 3)), 4096, true);
        support::RunningMarl marl(arguments(path), {.standardInput = source.input()});
        const std::size_t enough = 60 + random() % (static_cast<std::size_t>(blocks) * 1000);
        while (sizeOf(path) < enough) std::this_thread::yield();
        marl.sendSignal(SIGKILL);
        EXPECT_EQ(marl.await().signal, SIGKILL);
        SCOPED_TRACE(testing::Message() << "round " << round);
        const int there = framesIn(path);
        EXPECT_EQ(there % 250, 0);
        EXPECT_GE(there, static_cast<int>(enough / 1000) * 250 - 250);
    }
}

}  // namespace
}  // namespace marl::tool
