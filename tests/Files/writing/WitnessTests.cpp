// SPDX-License-Identifier: MIT
/// The written files through libsndfile, which shares no code with this library.
#include "Witness.h"
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

namespace support {
namespace {

constexpr int kFrames = 66150;  // 1.5 seconds

/// A sample in the host's order, in the upper bits of 32.
int widened(const WrittenFormat& format, const char* sample) {
    if (format.bits == 8) return (static_cast<unsigned char>(*sample) - 128) * (1 << 24);
    if (format.bits == 16) return platform::loadHost<std::int16_t>(sample) * (1 << 16);
    char word[4] = {};
    const bool littleFirst = std::endian::native == std::endian::little;
    std::copy_n(sample, 3, littleFirst ? word + 1 : word);
    return platform::loadHost<std::int32_t>(word);
}

LoopDescriptionRef waltz(const WrittenFormat& format) {
    const LoopDescriptionRef loop = describe(format);
    loop->setNumberOfBeats(3);
    loop->setTimeSignature({3, 4});
    loop->setMidiRootNote(57);
    loop->setGenre(marl::tagging::Genre("Folk"));
    loop->setTransients({{.position = 0}, {.position = 22050}});
    loop->setFileInfo(
        {halyard::CSTR("Wälzer"), halyard::CSTR("Some One"), halyard::CSTR("2025"), halyard::CSTR("odd")});
    return loop;
}

TEST(WrittenFilesForOthers, HoldSamplesTextsAndTempoForLibsndfile) {
    for (const WrittenFormat& format : writtenFormats()) {
        if (format.container == Container::kQuickTime) continue;  // ffmpeg is its witness
        SCOPED_TRACE(testing::Message() << format);
        const TemporaryFolder folder;
        const std::string path = folder.path(format.fileName());
        const std::string samples = randomSamples(format, kFrames * format.channels, 3);
        const auto count = static_cast<std::size_t>(kFrames * format.channels);
        newWriter(format.container, path, waltz(format))->writeSamples(samples.data(), 0, count);

        SF_INFO info = {};
        const SoundFile file(sf_open(path.c_str(), SFM_READ, &info));
        ASSERT_TRUE(file) << sf_strerror(nullptr);
        EXPECT_EQ(info.samplerate, 44100);
        EXPECT_EQ(info.channels, format.channels);
        EXPECT_EQ(info.frames, kFrames);
        std::vector<int> read(count);
        ASSERT_EQ(sf_readf_int(file.get(), read.data(), kFrames), kFrames);
        const auto width = static_cast<std::size_t>(format.bytesPerSample());
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(read[i], widened(format, samples.data() + i * width)) << "sample " << i;

        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_TITLE), "Wälzer");
        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_ARTIST), "Some One");
        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_COPYRIGHT), "2025");
        EXPECT_STREQ(sf_get_string(file.get(), SF_STR_COMMENT), "odd");
        SF_LOOP_INFO loop = {};
        ASSERT_EQ(sf_command(file.get(), SFC_GET_LOOP_INFO, &loop, sizeof loop), SF_TRUE);
        EXPECT_EQ(loop.num_beats, 3);
        EXPECT_EQ(loop.root_key, 57);
        EXPECT_EQ(loop.time_sig_num, 3);
        EXPECT_EQ(loop.time_sig_den, 4);
        // It takes the file type of 'basc' the other way round than its makers did.
        EXPECT_EQ(loop.loop_mode, format.container == Container::kAIFF ? SF_LOOP_NONE : SF_LOOP_FORWARD);
        EXPECT_NEAR(loop.bpm, 120, 0.01);
    }
}

}  // namespace
}  // namespace support
