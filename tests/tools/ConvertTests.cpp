// SPDX-License-Identifier: MIT
// Every combination of source and output, by formulas of the tests' own, and what becomes of the metadata.
#include <tools/marl/Convert.h>
#include <tools/marl/Info.h>
#include <tools/marl/Output.h>
#include <tools/marl/Stream.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

#include <sys/stat.h>

#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using support::Bytes;
using support::TemporaryFolder;

struct Outcome {
    int status;
    std::string out, err;
};

Outcome convert(const ConvertOptions& options) {
    std::ostringstream out, err;
    const int status = runConvert(options, out, err);
    return {status, out.str(), err.str()};
}

/// Expects success without a word.
void convertQuietly(const ConvertOptions& options) {
    const Outcome outcome = convert(options);
    EXPECT_EQ(outcome.status, kDone);
    EXPECT_EQ(outcome.err, "");
}

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

json infoOf(const std::string& path) {
    std::ostringstream out, err;
    runInfo({true, {path}}, out, err);
    return json::parse(out.str()).at(0);
}

std::size_t filesIn(const TemporaryFolder& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path()), {}));
}

// Samples as numbers: signed integers of the source's width, and what a file holds of them.

std::vector<std::int32_t> valuesOfWidth(int bits) {
    const std::int32_t half = 1 << (bits - 1);
    std::vector<std::int32_t> values{0,   1,    -1,  half - 1, -half, half / 2, -half / 2 - 1,
                                     127, -128, 100, -77,      3};
    std::minstd_rand random(7);
    std::uniform_int_distribution<std::int32_t> any(-half, half - 1);
    while (values.size() < 20000) values.push_back(any(random));
    return values;
}

std::string packed(std::int64_t value, int bits, bool bigEndian) {
    std::string bytes;
    for (int i = 0; i < bits / 8; ++i)
        bytes += static_cast<char>(value >> 8 * (bigEndian ? bits / 8 - 1 - i : i));
    return bytes;
}

Bytes samplesOf(const std::vector<std::int32_t>& values, int bits, bool isAIFF) {
    std::string bytes;
    const int offset = bits == 8 && !isAIFF ? 128 : 0;
    for (const std::int32_t value : values) bytes += packed(value + offset, bits, isAIFF);
    return Bytes(bytes);
}

struct Source {
    bool isAIFF;
    int bits;
    int channels;

    std::string name() const {
        return (isAIFF ? "AIFF " : "WAV ") + std::to_string(bits) + " bits " + std::to_string(channels) +
               " ch";
    }
    std::string write(const TemporaryFolder& folder, const std::vector<std::int32_t>& values) const {
        if (isAIFF) {
            support::AIFFContents contents;  // the samples lie at byte 54, where 24 bits are looked for
            contents.common = support::CommonChunk{.channels = channels, .bitsPerChannel = bits};
            contents.samples = samplesOf(values, bits, true);
            return folder.write("in.aif", support::aiffFile(contents));
        }
        support::WAVContents contents;
        contents.format = support::WAVFormat{.channels = channels, .bitsPerChannel = bits};
        contents.samples = samplesOf(values, bits, false);
        return folder.write("in.wav", support::wavFile(contents));
    }
};

std::vector<Source> allSources() {
    std::vector<Source> sources;
    for (const bool isAIFF : {true, false})
        for (const int bits : {8, 16, 24})
            for (const int channels : {1, 2}) sources.push_back({isAIFF, bits, channels});
    return sources;
}

std::string defaultFormat(const Source& source) {
    return source.bits == 24 ? "s24" : "s16";
}

float asFloat(const Source& source, std::int32_t value) {
    if (source.bits == 24) return static_cast<float>(value * static_cast<double>(1.15093236e-07f));
    if (source.bits == 16) return static_cast<float>(value) / 32768.0f;
    // On the way to float every byte counts as unsigned, those of AIFF files too.
    const int byte = source.isAIFF ? value & 0xFF : value + 128;
    return static_cast<float>(byte) / 128.0f - 1.0f;
}

/// One sample of the output.
std::string expectedSample(const Source& source, std::int32_t value, const std::string& format,
                           bool bigEndian) {
    if (format == "f32") return packed(std::bit_cast<std::int32_t>(asFloat(source, value)), 32, bigEndian);
    const std::int64_t in24 = static_cast<std::int64_t>(value) << (24 - source.bits);
    return format == "s24" ? packed(in24, 24, bigEndian) : packed(in24 >> 8, 16, bigEndian);
}

std::string expectedSamples(const Source& source, const std::vector<std::int32_t>& values,
                            const std::string& format, bool bigEndian, bool doubled) {
    std::string bytes;
    for (const std::int32_t value : values) {
        const std::string sample = expectedSample(source, value, format, bigEndian);
        bytes += doubled ? sample + sample : sample;
    }
    return bytes;
}

/// The sample bytes of a written file: its last chunk.
std::string sampleBytes(const std::string& path) {
    const std::string file = contentsOf(path);
    const json info = infoOf(path);
    EXPECT_LE(file.size() - info["sampleOffset"].get<std::size_t>() -
                  info["sampleLengthInBytes"].get<std::size_t>(),
              1U);
    return file.substr(info["sampleOffset"], info["sampleLengthInBytes"]);
}

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

TEST(Convert, GivesEverySampleInEveryFormat) {
    for (const Source& source : allSources()) {
        const TemporaryFolder folder;
        const auto values = valuesOfWidth(source.bits);
        const std::string input = source.write(folder, values);
        for (const std::string format : {"", "s16", "s24", "f32"}) {
            for (const int channels : {0, source.channels, 2}) {
                SCOPED_TRACE(source.name() + " to " + format + " with " + std::to_string(channels));
                const std::string width = format.empty() ? defaultFormat(source) : format;
                const bool doubled = channels == 2 && source.channels == 1;
                const std::string host = expectedSamples(source, values, width, kHostIsBigEndian, doubled);
                EXPECT_TRUE(convert({format, 0, channels, input, "-"}).out == host);
                convertQuietly({format, 0, channels, input, folder.path("out.raw")});
                EXPECT_TRUE(contentsOf(folder.path("out.raw")) == host);
                const std::string movie = folder.path("out.mov");
                convertQuietly({format, 0, channels, input, movie});
                EXPECT_EQ(infoOf(movie)["container"], "QuickTime");
                EXPECT_TRUE(sampleBytes(movie) == expectedSamples(source, values, width, true, doubled));
                EXPECT_TRUE(convert({.input = movie, .output = "-"}).out == host);
                std::ostringstream streamed, err;
                EXPECT_EQ(runStream({.input = movie}, streamed, err), kDone) << err.str();
                EXPECT_TRUE(streamed.str() == host);
                if (format == "f32") continue;
                for (const bool toAIFF : {true, false}) {
                    const std::string output = folder.path(toAIFF ? "out.aif" : "out.wav");
                    convertQuietly({format, 0, channels, input, output});
                    EXPECT_TRUE(sampleBytes(output) ==
                                expectedSamples(source, values, width, toAIFF, doubled));
                    EXPECT_EQ(infoOf(output)["channels"], doubled ? 2 : source.channels);
                }
            }
        }
    }
}

TEST(Convert, TakesFilesOfFewSamples) {
    for (const std::size_t count : {0U, 1U, 2U, 16383U, 16384U, 16385U}) {
        const TemporaryFolder folder;
        const Source source{false, 16, 1};
        const std::vector<std::int32_t> values(count, 258);
        const std::string input = source.write(folder, values);
        EXPECT_EQ(convert({"s24", 0, 0, input, "-"}).out,
                  expectedSamples(source, values, "s24", kHostIsBigEndian, false));
        convertQuietly({"", 0, 0, input, folder.path("out.aiff")});
        EXPECT_EQ(infoOf(folder.path("out.aiff"))["frames"], count);
    }
}

TEST(Convert, GivesTheSameSamplesStreamed) {
    const TemporaryFolder folder;
    for (const Source& source : allSources()) {
        const std::string input = source.write(folder, valuesOfWidth(source.bits));
        for (const std::string format : {"s16", "s24", "f32"}) {
            for (const double rate : {0.0, 44100.0, 48000.0, 22050.0}) {
                ConvertOptions options{format, rate, 2, input, "-"};
                const std::string whole = convert(options).out;
                options.streamed = true;
                const std::string streamed = convert(options).out;
                SCOPED_TRACE(source.name() + " to " + format + " at " + std::to_string(rate));
                EXPECT_TRUE(streamed == whole.substr(0, streamed.size()));
                // At another rate the last frame may be half one that is not streamed.
                EXPECT_LE(whole.size() - streamed.size(), rate > 0 && rate != 44100 ? 8U : 0U);
                std::ostringstream out, err;
                EXPECT_EQ(runStream({.format = format, .sampleRate = rate, .channels = 2, .input = input},
                                    out, err),
                          kDone);
                EXPECT_TRUE(out.str() == streamed) << err.str();
            }
        }
    }
}

// Metadata.

constexpr double kRate = 44100;

/// 2 s of noise, tagged with everything that a WAV file can carry.
support::AIFFContents taggedLoop(int bits) {
    support::AIFFContents contents;
    contents.common->bitsPerChannel = bits;
    contents.basicTagging = support::BasicTagging{.beats = 4, .rootNote = 57};
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 11025}, {0, 33333}, {0, 88199}}};
    contents.name = "Riff";
    contents.author = "Anna";
    contents.copyright = "2024";
    contents.annotation = "caf\xC3\xA9";
    // 24-bit samples are looked for at a multiple of 6 bytes.
    contents.chunksBeforeSamples = Bytes().bigChunk("skip", Bytes().zeros(0));
    auto values = valuesOfWidth(bits);
    values.resize(2 * 2 * 44100, 5);
    contents.samples = samplesOf(values, bits, true);
    while (bits == 24 && (support::aiffFile(contents).offsetOf("SSND") + 16) % 6 != 0)
        contents.chunksBeforeSamples.bigChunk("skip", Bytes().zeros(0));
    return contents;
}

support::AIFFContents fullyTaggedLoop() {
    support::AIFFContents contents = taggedLoop(16);
    contents.basicTagging->numerator = 3;
    contents.basicTagging->beats = 6;
    contents.categories = support::Categories{.instrument = "Bass", .genre = "Jazz", .descriptors = {"Dry"}};
    return contents;
}

/// All but what differs from file to file.
json comparable(const std::string& path) {
    json info = infoOf(path);
    info.erase("path");
    info.erase("sampleOffset");
    return info;
}

TEST(Convert, RoundTripsLoseNothing) {
    for (const int bits : {16, 24}) {
        const TemporaryFolder folder;
        const std::string first = folder.write("1.aif", support::aiffFile(taggedLoop(bits)));
        const std::string second = folder.path("2.wav"), third = folder.path("3.aif");
        convertQuietly({.input = first, .output = second});
        convertQuietly({.input = second, .output = third});
        EXPECT_EQ(comparable(third), comparable(first)) << bits;
        EXPECT_TRUE(sampleBytes(third) == sampleBytes(first)) << bits;
    }
}

TEST(Convert, AIFFCarriesAllTagsOver) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.aif", support::aiffFile(fullyTaggedLoop()));
    convertQuietly({.input = input, .output = folder.path("out.aif")});
    EXPECT_EQ(comparable(folder.path("out.aif")), comparable(input));
}

TEST(Convert, SaysWhatAWAVFileCannotHold) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.aif", support::aiffFile(fullyTaggedLoop()));
    const std::string output = folder.path("out.wav");
    const Outcome outcome = convert({.input = input, .output = output});
    EXPECT_EQ(outcome.status, kDone);
    EXPECT_EQ(outcome.err, "marl: " + output +
                               ": note: WAV files carry no instrument, genre and descriptors\n"
                               "marl: " +
                               output + ": note: WAV loops are read back in 4/4, whatever their meter\n");
    EXPECT_EQ(infoOf(output)["tempo"], infoOf(input)["tempo"]);
    const std::string plain = folder.write("plain.aif", support::aiffFile(taggedLoop(16)));
    EXPECT_EQ(convert({.sampleRate = 22050.5, .input = plain, .output = output}).err,
              "marl: " + output + ": note: WAV files state whole sample rates: this one is rounded\n");
    EXPECT_EQ(infoOf(output)["sampleRate"], 22051);
}

TEST(Convert, AnotherRateKeepsTheMusic) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.aif", support::aiffFile(taggedLoop(16)));
    for (const double rate : {8000.0, 22050.0, 48000.0, 96000.0, 88200.0}) {
        for (const std::string name : {"out.aif", "out.wav"}) {
            SCOPED_TRACE(name + " at " + std::to_string(rate));
            convertQuietly({.sampleRate = rate, .input = input, .output = folder.path(name)});
            const json info = infoOf(folder.path(name));
            EXPECT_EQ(info["sampleRate"], rate);
            EXPECT_EQ(info["frames"], std::lrint(std::floor(88200.0f * rate / kRate + 0.5)));
            EXPECT_EQ(info["naturalNumberOfBeats"], 4);
            EXPECT_NEAR(info["tempo"], 120, 0.01);
            EXPECT_EQ(info["rootNote"], 57);
            json scaled = json::array();
            for (const int position : {0, 11025, 33333, 88199})
                scaled.push_back(static_cast<int>(position * (rate / kRate)));
            EXPECT_EQ(info["transients"], scaled);
        }
    }
}

TEST(Convert, CountsFramesInSinglePrecision) {
    const TemporaryFolder folder;
    const Source source{false, 8, 1};
    for (const std::size_t frames : {1U, 2U, 3U, 999U, 44099U, 16777217U}) {  // the last is no float
        const std::string input = source.write(folder, std::vector<std::int32_t>(frames, 0));
        const Outcome outcome = convert({"s16", 22050, 0, input, "-"});
        EXPECT_EQ(outcome.out.size() / 2, static_cast<std::size_t>(std::lrint(std::floor(
                                              static_cast<float>(frames) * 22050.0 / 44100.0 + 0.5))))
            << frames;
    }
}

/// True when a file written from `contents` states as little of the music as that does.
void expectUntagged(const std::string& path, const std::string& type) {
    const json info = infoOf(path);
    EXPECT_EQ(info["sourceBeats"], 0) << path;
    EXPECT_EQ(info["sourceHadTransients"], false) << path;
    EXPECT_EQ(info["fileType"], type) << path;
    const std::string head = contentsOf(path).substr(0, 200);
    for (const char* chunk : {"basc", "trns", "acid", "strc"})
        EXPECT_EQ(head.find(chunk), std::string::npos) << chunk;
}

TEST(Convert, StatesNoMoreThanTheSourceDid) {
    const TemporaryFolder folder;
    const Source source{false, 16, 1};
    const struct {
        std::size_t frames;
        const char* type;
    } kRows[] = {{44100, "loop"}, {4410, "one-shot"}};
    for (const auto& row : kRows) {
        const std::string input = source.write(folder, std::vector<std::int32_t>(row.frames, 1));
        for (const std::string name : {"out.aif", "out.wav"}) {
            convertQuietly({.sampleRate = 48000, .input = input, .output = folder.path(name)});
            expectUntagged(folder.path(name), row.type);
        }
    }
}

TEST(Convert, OneShotsStayOneShots) {
    const TemporaryFolder folder;
    support::AIFFContents contents = taggedLoop(16);
    contents.basicTagging->fileType = 2;
    const std::string inputs[] = {folder.write("in.aif", support::aiffFile(contents)), folder.path("in.wav")};
    contents.basicTagging->beats = 0;
    const std::string beatless = folder.write("beatless.aif", support::aiffFile(contents));
    convertQuietly({.input = inputs[0], .output = inputs[1]});
    for (const std::string& input : {inputs[0], inputs[1], beatless}) {
        for (const std::string name : {"out.aif", "out.wav"}) {
            convertQuietly({.input = input, .output = folder.path(name)});
            const json info = infoOf(folder.path(name));
            EXPECT_EQ(info["fileType"], "one-shot") << input;
            EXPECT_EQ(info["tempo"], nullptr) << input;
            EXPECT_EQ(info["rootNote"], 57) << input;
            EXPECT_EQ(info["transients"].size(), 0U) << input;
        }
    }
}

// Where the output goes.

TEST(Convert, TakesTheInputsOwnPlace) {
    const TemporaryFolder folder;
    const std::string file = folder.write("loop.aif", support::aiffFile(taggedLoop(16)));
    convertQuietly({.sampleRate = 48000, .input = file, .output = folder.path("other.aif")});
    convertQuietly({.sampleRate = 48000, .input = file, .output = file});
    EXPECT_TRUE(contentsOf(file) == contentsOf(folder.path("other.aif")));
    EXPECT_EQ(filesIn(folder), 2U);
}

TEST(Convert, ReplacesWhatALinkLeadsTo) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.aif", support::aiffFile(taggedLoop(16)));
    folder.write("real/old.wav", "old");
    fs::create_symlink("real/old.wav", folder.path("link.wav"));
    fs::create_symlink("link.wav", folder.path("link to link.wav"));
    fs::create_symlink("real/new.wav", folder.path("new.wav"));  // leads nowhere yet
    convertQuietly({.input = input, .output = folder.path("link to link.wav")});
    convertQuietly({.input = input, .output = folder.path("new.wav")});
    EXPECT_TRUE(fs::is_symlink(folder.path("link.wav")) && fs::is_symlink(folder.path("new.wav")));
    EXPECT_TRUE(fs::is_symlink(folder.path("link to link.wav")));
    EXPECT_EQ(infoOf(folder.path("real/old.wav"))["frames"], 88200);
    EXPECT_EQ(infoOf(folder.path("real/new.wav"))["frames"], 88200);
}

TEST(Convert, KeepsThePermissionsOfAReplacedFile) {
    const TemporaryFolder folder;
    const std::string input = folder.write("in.aif", support::aiffFile(taggedLoop(16)));
    for (const std::string name : {"out.wav", "out.raw"}) {
        fs::permissions(folder.write(name, ""), fs::perms(0640));
        convertQuietly({.input = input, .output = folder.path(name)});
        EXPECT_EQ(fs::status(folder.path(name)).permissions(), fs::perms(0640));
    }
}

TEST(Convert, NamesTheFileAtFaultAndLeavesNothing) {
    const TemporaryFolder folder;
    folder.write("stereo.wav", support::wavFile({.samples = Bytes().zeros(4 * 44100)}));
    folder.write("surround.wav", support::wavFile({.format = support::WAVFormat{.channels = 6},
                                                   .samples = Bytes().zeros(120)}));
    folder.write("bad.wav", "RIFF");
    folder.write("bad.mov", "RIFF");
    fs::create_directory(folder.path("folder.wav"));
    ASSERT_EQ(::mkfifo(folder.path("pipe.wav").c_str(), 0600), 0);
    fs::create_symlink("circle.wav", folder.path("circle.wav"));
    const std::size_t before = filesIn(folder);
    const struct {
        ConvertOptions options;
        bool blamesOutput;
        std::string reason;
    } kRows[] = {
        {{.channels = 1, .input = "stereo.wav", .output = "out.wav"},
         false,
         "Unsupported channel conversion. Source 2 channels, dest 1 channels."},
        {{.channels = 2, .input = "surround.wav", .output = "out.wav"},
         false,
         "Unsupported channel conversion. Source 6 channels, dest 2 channels."},
        {{.input = "bad.wav", .output = "out.wav"}, false, "not a WAV file: couldn't find RIFF tag"},
        {{.input = "bad.mov", .output = "out.wav"},
         false,
         "not a QuickTime file: at byte 0 begins a WAV file"},
        {{.input = "gone.wav", .output = "out.wav"}, false, "cannot be read: No such file or directory"},
        {{.input = "folder.wav", .output = "out.wav"}, false, "cannot be read: Is a directory"},
        {{.input = "pipe.wav", .output = "out.wav"}, false, "pipes and devices cannot be read"},
        {{.sampleRate = 4e9, .input = "stereo.wav", .output = "out.wav"},
         false,
         "44100 frames at 44100 Hz are too many at 4e+09 Hz"},
        {{.sampleRate = 1e9, .input = "stereo.wav", .output = "out.wav"},
         true,
         "AIFF and WAV files hold up to 2 GiB of samples (these would be 4000000000 bytes)"},
        {{.input = "stereo.wav", .output = "no/out.wav"},
         true,
         "cannot be written: No such file or directory"},
        {{.input = "stereo.wav", .output = "no/out.raw"},
         true,
         "cannot be written: No such file or directory"},
        {{.input = "stereo.wav", .output = "bad.wav/out.raw"}, true, "cannot be written: Not a directory"},
        {{.input = "stereo.wav", .output = "folder.wav"}, true, "cannot be written: Is a directory"},
        {{.input = "stereo.wav", .output = "pipe.wav"},
         true,
         "pipes and devices cannot be replaced by a file"},
        {{.input = "stereo.wav", .output = "circle.wav"},
         true,
         "cannot be written: Too many levels of symbolic links"},
    };
    for (const auto& row : kRows) {
        ConvertOptions options = row.options;
        options.input = folder.path(options.input);
        options.output = folder.path(options.output);
        const Outcome outcome = convert(options);
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_EQ(outcome.err,
                  "marl: " + (row.blamesOutput ? options.output : options.input) + ": " + row.reason + "\n");
        EXPECT_EQ(filesIn(folder), before) << row.reason;
    }
}

TEST(Convert, TakesMoreChannelsAsTheyAre) {
    const TemporaryFolder folder;
    const Source source{false, 16, 6};
    const auto values = valuesOfWidth(16);
    const std::vector<std::int32_t> whole(values.begin(), values.begin() + 6000);
    const std::string input = source.write(folder, whole);
    convertQuietly({.input = input, .output = folder.path("out.aif")});
    EXPECT_TRUE(sampleBytes(folder.path("out.aif")) == expectedSamples(source, whole, "s16", true, false));
}

}  // namespace
}  // namespace marl::tool
