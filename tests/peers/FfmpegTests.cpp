// SPDX-License-Identifier: MIT
// Movies that ffmpeg wrote, read here, and movies that were written here, read by ffmpeg: the same samples.
#include "support/MovieFiles.h"
#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/CQTWriter.h>
#include <MarlCore/MediaManager/MarlMovie.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

namespace support {
namespace {

using halyard::CSTR;

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a sample of `bits` bits is called, in this machine's byte order.
std::string hostFormat(unsigned bits) {
    return (bits == 32 ? "f32" : "s" + std::to_string(bits)) +
           (std::endian::native == std::endian::big ? "be" : "le");
}

/// A different tone on each of `channels` channels, and an impulse on each in turn.
std::string tones(int channels, int rate = 44100) {
    std::string tones = "-f lavfi -i \"aevalsrc=";
    for (int i = 0; i < channels; ++i)
        tones += (i ? "|" : "") + ("0." + std::to_string(i + 1)) + "*sin(" + std::to_string(1000 + 777 * i) +
                 "*t)";
    return tones + ":s=" + std::to_string(rate) + ":d=0.4\" ";
}

std::int32_t from24(const char* sample) {
    const bool isBig = std::endian::native == std::endian::big;
    std::uint32_t value = 0;
    for (const int i : {0, 1, 2})
        value |= std::uint32_t{static_cast<unsigned char>(sample[isBig ? i : 2 - i])} << (24 - 8 * i);
    return static_cast<std::int32_t>(value) / 256;
}

/// Samples of 24 bits that differ by at most 1.
bool isWithinOne(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i + 3 <= a.size(); i += 3) {
        if (std::abs(from24(a.data() + i) - from24(b.data() + i)) > 1) return false;
    }
    return true;
}

class Ffmpeg : public testing::Test {
protected:
    void run(const std::string& arguments) const {
        const std::string command = "cd '" + folder.path() + "' && ffmpeg -nostdin -v error -y " + arguments;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    /// What ffmpeg remarks on a movie that it can read.
    std::string complaintsAbout(const std::string& name) const {
        const std::string command =
            "cd '" + folder.path() + "' && ffprobe -v warning " + name + " 2> remarks";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return contentsOf(folder.path("remarks"));
    }

    /// The first sound track in each of `widths`, as ffmpeg decodes it.
    std::vector<std::string> decoded(const std::string& name, const std::vector<unsigned>& widths,
                                     const std::string& filter = "") const {
        std::string outputs;
        for (const unsigned bits : widths)
            outputs +=
                " " + filter + " -map 0:a:0 -f " + hostFormat(bits) + " " + std::to_string(bits) + ".raw";
        run("-i " + name + outputs);
        std::vector<std::string> sounds;
        for (const unsigned bits : widths)
            sounds.push_back(contentsOf(folder.path(std::to_string(bits) + ".raw")));
        return sounds;
    }

    marl::IFileRef open(const std::string& name) const {
        return marl::IFileRef(marl::IFile::New(urlOf(folder.path(name)), false));
    }

    /// Equal samples in every width that both deliver alike: 24 bits have a scale of their own as floats.
    void expectAgreement(const std::string& name, const std::string& filter = "") const {
        const marl::IFileRef file = open(name);
        marl::IFileParser::FormatInfo format;
        file->getFileParserRef()->parse(marl::IFileParser::kParseAll);
        file->getFileParserRef()->getFormatInfo(format);
        std::vector<unsigned> widths{16};
        if (format.mBitsPerChannel >= 24) widths.push_back(24);
        if (format.mBitsPerChannel != 24) widths.push_back(32);
        const std::vector<std::string> references = decoded(name, widths, filter);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const unsigned bits = widths[i];
            const std::string &expected = references[i], sound = deliveredSound(*file, bits);
            EXPECT_FALSE(expected.empty()) << name;
            // ffmpeg truncates floats to 24 bits, which are rounded here.
            const bool mayDiffer = bits == 24 && format.mBitsPerChannel == 32;
            EXPECT_TRUE(mayDiffer ? isWithinOne(sound, expected) : sound == expected)
                << name << " as " << bits << " bits";
        }
    }

    TemporaryFolder folder;
};

TEST_F(Ffmpeg, AgreesOnEveryUncompressedCodec) {
    for (const char* codec : {"pcm_u8", "pcm_s8", "pcm_s16be", "pcm_s16le", "pcm_s24be", "pcm_s24le",
                              "pcm_s32be", "pcm_s32le", "pcm_f32be", "pcm_f32le", "pcm_f64be", "pcm_f64le"}) {
        for (const int channels : {1, 2, 6}) {
            SCOPED_TRACE(std::string(codec) + ", channels: " + std::to_string(channels));
            run(tones(channels) + "-c:a " + codec + " a.mov");
            expectAgreement("a.mov");
        }
        run(tones(2, 96000) + "-c:a " + codec + " fast.mov");
        expectAgreement("fast.mov");
    }
}

TEST_F(Ffmpeg, AgreesOnMoviesOfEveryBuild) {
    const std::string picture = "-f lavfi -i testsrc=s=64x48:d=0.4:r=25 ";
    const struct {
        const char* what;
        std::string arguments;
        std::string filter;
    } rows[] = {
        {"fragments", tones(2) + "-c:a pcm_s16le -frag_duration 50000 -movflags empty_moov", ""},
        {"fragments with a base of their own",
         tones(2) + "-c:a pcm_s24be -frag_duration 50000 -movflags empty_moov+default_base_moof", ""},
        {"fragments behind a movie", tones(1) + "-c:a pcm_s16le -frag_duration 50000 -movflags frag_keyframe",
         ""},
        {"fragments beside a picture",
         picture + tones(2) +
             "-c:v rawvideo -pix_fmt gray -c:a pcm_s16le -g 3 -movflags frag_keyframe+empty_moov",
         ""},
        {"chunks between pictures", picture + tones(2) + "-c:v rawvideo -pix_fmt gray -c:a pcm_s24le", ""},
        {"several sound tracks", tones(1) + tones(2) + "-map 1 -map 0 -c:a pcm_s16be", ""},
        {"the header in front", tones(2) + "-c:a pcm_s16le -movflags faststart", ""},
        {"silence in front", "-itsoffset 0.25 " + tones(2) + "-c:a pcm_s16le",
         "-copyts -af aresample=async=1:first_pts=0"},
        {"silence in front, and a picture",
         picture + "-itsoffset 0.1 " + tones(1) + "-c:v rawvideo -pix_fmt gray -c:a pcm_f32le",
         "-copyts -af aresample=async=1:first_pts=0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        run(row.arguments + " a.mov");
        expectAgreement("a.mov", row.filter);
    }
}

TEST_F(Ffmpeg, KnowsWhatIsRefusedByName) {
    for (const auto& [codec, name] : {std::pair("pcm_alaw", "alaw"),
                                      {"pcm_mulaw", "ulaw"},
                                      {"aac", "mp4a"},
                                      {"alac", "alac"},
                                      {"adpcm_ima_qt", "ima4"}}) {
        run(tones(1) + "-c:a " + codec + " a.mov");
        EXPECT_EQ(
            messageThrownBy([&] { open("a.mov")->getFileParserRef()->parse(marl::IFileParser::kNoFlags); }),
            "unsupported sound codec '" + std::string(name) + "': only uncompressed sound is read");
    }
}

TEST_F(Ffmpeg, TellsTheSameOfAMovie) {
    run("-f lavfi -i testsrc=s=64x48:d=1:r=30000/1001 -timecode '01:00:00;00' -c:v rawvideo -pix_fmt gray "
        "-metadata title=T\xC3\xA9 -metadata artist=A -metadata copyright=C -metadata comment=K a.mov");
    const marl::MarlMovie movie(folder.path("a.mov"));
    EXPECT_TRUE(movie.hasVideo());
    EXPECT_EQ(movie.pictureSize(), (platform::Size{64, 48}));
    EXPECT_NEAR(movie.duration(), 1, 0.04);
    EXPECT_EQ(movie.timeCodeForTimeValue(0), "01:00:00;00");
    for (const char* flags : {"", "-movflags use_metadata_tags "}) {
        run(tones(1) +
            "-c:a pcm_s16le -metadata title=T\xC3\xA9 -metadata artist=A -metadata copyright=C "
            "-metadata comment=K " +
            flags + "b.mov");
        const marl::IFileRef file = open("b.mov");
        file->getFileParserRef()->parse(marl::IFileParser::kFileInfo);
        const marl::IFileParser::FileInfo& info = file->getFileParserRef()->getFileInfo();
        ASSERT_TRUE(info.name && info.author) << flags;
        EXPECT_EQ(info.name->getStringRef(), "T\xC3\xA9");
        EXPECT_EQ(info.author->getStringRef(), "A");
    }
}

/// After every block: the header of the file is true at all times.
TEST_F(Ffmpeg, ReadsWhatIsWritten) {
    const struct {
        double rate;
        int channels, bits;
    } rows[] = {{44100, 1, 16}, {48000, 2, 16},  {44100, 2, 24}, {22050, 1, 32}, {96000, 2, 16},
                {44100, 6, 24}, {192000, 6, 32}, {65535, 2, 32}, {48000, 3, 16}};
    std::minstd_rand random(7);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.rate << " Hz, " << row.channels << " x " << row.bits);
        const auto description = new marl::CLoopDescription(row.rate, row.channels, row.bits);
        const marl::IFileParserRef loop(description);
        description->setFileInfo({CSTR("stts"), CSTR("Zo\xC3\xAB"), {}, CSTR("comment")});
        const marl::IFileWriterRef writer(new marl::CQTWriter(CSTR(folder.path("a.mov")), loop, true));
        std::string written;
        EXPECT_EQ(complaintsAbout("a.mov"), "");
        for (int block = 0; block < 3; ++block) {
            std::string samples(static_cast<std::size_t>(1000 * row.channels * row.bits / 8), '\0');
            // Bytes below 64 make every float a small number.
            for (char& byte : samples) byte = static_cast<char>(random() % 64);
            const auto count = static_cast<unsigned long>(1000 * row.channels);
            writer->writeSamples(samples.data(), static_cast<unsigned long>(block) * count, count);
            written += samples;
            EXPECT_TRUE(deliveredSound(*open("a.mov"), static_cast<unsigned>(row.bits)) == written);
            EXPECT_TRUE(decoded("a.mov", {static_cast<unsigned>(row.bits)}).front() == written);
        }
        run("-i a.mov -f ffmetadata texts");
        EXPECT_NE(contentsOf(folder.path("texts")).find("artist=Zo\xC3\xAB\n"), std::string::npos);
        const marl::IFileRef file = open("a.mov");
        file->getFileParserRef()->parse(marl::IFileParser::kParseAll);
        EXPECT_EQ(file->getFileParserRef()->getFileInfo().name->getStringRef(), "stts");
        EXPECT_EQ(file->getFileParserRef()->getFileInfo().author->getStringRef(), "Zo\xC3\xAB");
        EXPECT_FALSE(file->getFileParserRef()->getFileInfo().copyright);
        EXPECT_EQ(file->getFileParserRef()->getLengthInSeconds(), 3000 / row.rate);
    }
}

}  // namespace
}  // namespace support
