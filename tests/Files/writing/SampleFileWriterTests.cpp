// SPDX-License-Identifier: MIT
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/writing/CAIFWriter.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace support {
namespace {

using halyard::CException;
using halyard::CParamException;
using marl::IFileWriterRef;

constexpr WrittenFormat kStereo16{Container::kAIFF, 2, 16};
constexpr WrittenFormat kMono24{Container::kAIFF, 1, 24};

/// The code of the file error that `action` throws, whose message names `path`.
template <class Action>
int fileErrorOf(const std::string& path, Action action) {
    try {
        action();
    } catch (const CException& failure) {
        EXPECT_EQ(failure.getType(), halyard::kFileIOError);
        EXPECT_NE(failure.getMessage().find(path), std::string::npos) << failure.getMessage();
        return failure.getCode();
    }
    return 0;
}

template <class Action>
std::string parameterErrorOf(Action action) {
    try {
        action();
    } catch (const CParamException& failure) {
        return failure.getMessage();
    }
    return "nothing was thrown";
}

class WriterTest : public testing::Test {
protected:
    IFileWriterRef writerOf(const WrittenFormat& format, bool overwrite = false) {
        return newWriter(format.container, folder.path(format.fileName()), describe(format), overwrite);
    }
    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder.path()), {}));
    }

    TemporaryFolder folder;
};

TEST_F(WriterTest, DeliversWhatWasWrittenBehindATrueHeaderAfterEveryBlock) {
    for (const WrittenFormat& format : writtenFormats()) {
        SCOPED_TRACE(testing::Message() << format);
        const std::string path = folder.path(format.fileName());
        const IFileWriterRef writer = writerOf(format, true);
        expectTrueHeader(path, format, 0);
        std::string all;
        // The last block is longer than what a writer reorders at a time.
        for (const int frames : {1, 2, 1, 255, 40000}) {
            const std::string block = randomSamples(format, frames * format.channels, 1);
            const auto width = static_cast<std::size_t>(format.bytesPerSample());
            writer->writeSamples(block.data(), all.size() / width, block.size() / width);
            all += block;
            const auto written = static_cast<int>(all.size()) / format.bytesPerFrame();
            expectTrueHeader(path, format, written);
            EXPECT_TRUE(deliveredSamples(path, format) == asDelivered(format, all));
        }
    }
}

TEST_F(WriterTest, FillsGapsAndBegunFramesWithSilenceAndTakesBlocksInAnyOrder) {
    for (const WrittenFormat& format : writtenFormats()) {
        SCOPED_TRACE(testing::Message() << format);
        const std::string path = folder.path(format.fileName());
        const IFileWriterRef writer = writerOf(format, true);
        const auto width = static_cast<std::size_t>(format.bytesPerSample());
        const auto channels = static_cast<std::size_t>(format.channels);
        std::string expected;
        unsigned seed = 0;
        const auto write = [&](std::size_t position, int count) {
            const std::string block = randomSamples(format, count, ++seed);
            writer->writeSamples(block.data(), position, static_cast<unsigned long>(count));
            const std::size_t end = position + static_cast<std::size_t>(count);
            const std::size_t whole = (end + channels - 1) / channels * channels * width;
            if (whole > expected.size())
                expected += silence(format, static_cast<int>((whole - expected.size()) / width));
            expected.replace(position * width, block.size(), block);
            expectTrueHeader(path, format, static_cast<int>(expected.size()) / format.bytesPerFrame());
        };
        write(5, 1);        // a gap in front, the first frame begun in its middle
        write(30000, 7);    // a gap longer than one block of silence, for the wider formats
        write(3, 100);      // into the gap
        write(30004, 100);  // across the end
        write(0, 1);
        writer->writeSamples(nullptr, 1000000, 0);
        EXPECT_TRUE(deliveredSamples(path, format) == asDelivered(format, expected));
    }
}

TEST_F(WriterTest, RefusesMoreSamplesThanReadersCount) {
    for (const WrittenFormat& format : {kStereo16, kMono24, WrittenFormat{Container::kWAV, 6, 24}}) {
        SCOPED_TRACE(testing::Message() << format);
        const std::string path = folder.path(format.fileName());
        const IFileWriterRef writer = writerOf(format, true);
        const std::string block = randomSamples(format, format.channels, 1);
        writer->writeSamples(block.data(), 0, static_cast<unsigned long>(format.channels));
        const unsigned long limit = static_cast<unsigned long>(marl::CSampleFileWriter::kMostSampleBytes /
                                                               format.bytesPerFrame() * format.channels);
        const unsigned long ranges[][2] = {{limit, 1},     {limit - 1, 2},         {0, limit + 1},
                                           {ULONG_MAX, 1}, {ULONG_MAX, ULONG_MAX}, {1, ULONG_MAX}};
        for (const auto& [position, count] : ranges) {
            const std::string error = parameterErrorOf([&, first = position, samples = count] {
                writer->writeSamples(block.data(), first, samples);
            });
            EXPECT_EQ(error.find("a file holds at most " + std::to_string(limit)), 0u) << error;
        }
        expectTrueHeader(path, format, 1);
    }
}

TEST_F(WriterTest, StatesEveryFormatOrRefusesItBeforeAFileIsMade) {
    const struct {
        Container container;
        double rate;
        int channels;
        int bits;
        std::string error;
    } rows[] = {
        {Container::kAIFF, 44100, 2, 8, "AIFF files are written with 16 or 24 bits (not 8)"},
        {Container::kAIFF, 44100, 2, 32, "AIFF files are written with 16 or 24 bits (not 32)"},
        {Container::kAIFF, 44100, 32768, 16,
         "AIFF files are written with at most 32767 channels (not 32768)"},
        {Container::kWAV, 44100, 2, 32, "WAV files are written with 8, 16 or 24 bits (not 32)"},
        {Container::kWAV, 44100, 32768, 16, "frames of a WAV file have at most 65535 bytes (not 65536)"},
        {Container::kQuickTime, 44100, 2, 8, "QuickTime files are written with 16, 24 or 32 bits (not 8)"},
        {Container::kQuickTime, 44100, 32768, 16, "QuickTime files have at most 32767 channels (not 32768)"},
        {Container::kQuickTime, 0.25, 1, 16, "a QuickTime file cannot state a sample rate of 0.25 Hz"},
        {Container::kQuickTime, 1e10, 1, 16, "a QuickTime file cannot state a sample rate of 1e+10 Hz"},
        {Container::kWAV, 0.25, 1, 16, "a WAV file cannot state a sample rate of 0.25 Hz"},
        {Container::kWAV, 1e10, 1, 16, "a WAV file cannot state a sample rate of 1e+10 Hz"},
    };
    for (const auto& row : rows) {
        const LoopDescriptionRef loop(new marl::CLoopDescription(row.rate, row.channels, row.bits));
        EXPECT_EQ(parameterErrorOf([&] { newWriter(row.container, folder.path("x"), loop); }), row.error);
    }
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(WriterTest, WritesEveryRateExactly) {
    // The 80 bits of 22050 and 44100 Hz are in every book about the format; the fractions are by hand.
    const struct {
        double rate;
        std::string_view extended;
        double readAs;
    } rows[] = {{44100, {"\x40\x0E\xAC\x44\0\0\0\0\0\0", 10}, 44100},
                {22050, {"\x40\x0D\xAC\x44\0\0\0\0\0\0", 10}, 22050},
                {22254.5, {"\x40\x0D\xAD\xDD\0\0\0\0\0\0", 10}, 22255},
                {96000.0625, {"\x40\x0F\xBB\x80\x08\0\0\0\0\0", 10}, 96000},
                {3, {"\x40\0\xC0\0\0\0\0\0\0\0", 10}, 3}};
    for (const auto& row : rows) {
        const std::string path = folder.path("rate.aif");
        const LoopDescriptionRef loop(new marl::CLoopDescription(row.rate, 1, 16));
        newWriter(Container::kAIFF, path, loop, true)->finish();
        EXPECT_EQ(contentsOf(path).substr(28, 10), row.extended) << row.rate;
        marl::IFileParser::FormatInfo format;
        parsed(path, Container::kAIFF)->getFormatInfo(format);
        EXPECT_EQ(format.mSampleRate, row.readAs);
    }
}

TEST_F(WriterTest, NamesWhatTheSystemRefuses) {
    const std::string file = folder.write("file.aif", "not a folder");
    ::mkdir(folder.path("folder").c_str(), 0700);
    const struct {
        std::string path;
        bool overwrite;
        int code;
    } rows[] = {{folder.path("missing/take.aif"), false, ENOENT},
                {folder.path("missing/take.aif"), true, ENOENT},
                {file + "/take.aif", true, ENOTDIR},
                {folder.path("folder"), false, EEXIST},
                {folder.path("folder"), true, EISDIR},
                {"/dev/full", true, EINVAL},
                {file, false, EEXIST},
                {folder.path(std::string(300, 'x')), false, ENAMETOOLONG}};
    for (const auto& row : rows) {
        const auto create = [&] {
            newWriter(Container::kAIFF, row.path, describe(kStereo16), row.overwrite);
        };
        EXPECT_EQ(fileErrorOf(row.path, create), row.code) << row.path;
    }
    EXPECT_EQ(contentsOf(file), "not a folder");
    EXPECT_EQ(filesInFolder(), 2u);
    EXPECT_NE(fileErrorOf("/proc/take.aif",
                          [] { newWriter(Container::kAIFF, "/proc/take.aif", describe(kStereo16)); }),
              0)
        << "a folder that takes no files";
}

TEST_F(WriterTest, ReplacesAFileWithoutDisturbingWhoReadsIt) {
    const std::string path = folder.path("take.aif"), link = folder.path("link.aif");
    writerOf(kMono24)->finish();
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    std::filesystem::create_symlink("take.aif", link);
    std::ifstream reader(path, std::ios::binary);
    const std::string before = contentsOf(path);

    const IFileWriterRef writer = newWriter(Container::kAIFF, link, describe(kStereo16), true);
    const std::string block = randomSamples(kStereo16, 2, 1);
    writer->writeSamples(block.data(), 0, 2);
    writer->finish();

    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), before);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    expectTrueHeader(path, kStereo16, 1);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(WriterTest, IsCompleteWithoutFinishAndRefusesToGoOnAfterIt) {
    const std::string block = randomSamples(kStereo16, 2, 1);
    IFileWriterRef writer = writerOf(kStereo16);
    writer->writeSamples(block.data(), 0, 2);
    writer->flush();
    writer->flush();
    const std::string flushed = contentsOf(folder.path("take.aif"));
    writer = nullptr;
    EXPECT_EQ(contentsOf(folder.path("take.aif")), flushed);

    writer = writerOf(kStereo16, true);
    writer->finish();
    writer->finish();
    EXPECT_EQ(parameterErrorOf([&] { writer->writeSamples(block.data(), 0, 2); }),
              "the file is finished already");
    EXPECT_EQ(parameterErrorOf([&] { writer->flush(); }), "the file is finished already");
}

TEST_F(WriterTest, NeedsPathParserAndData) {
    const marl::IFileParserRef parser = describe(kStereo16);
    EXPECT_THROW(newWriter(Container::kAIFF, folder.path("take.aif"), {}), halyard::CNullPointerException);
    EXPECT_THROW(newWriter(Container::kWAV, folder.path("take.wav"), {}), halyard::CNullPointerException);
    EXPECT_THROW(marl::CAIFWriter({}, parser, true), halyard::CNullPointerException);
    EXPECT_THROW(writerOf(kStereo16)->writeSamples(nullptr, 0, 1), halyard::CNullPointerException);
}

}  // namespace
}  // namespace support
