// SPDX-License-Identifier: MIT
// `marl peaks`: what the program prints and the pictures that it writes, which libpng reads back.
#include <tools/marl/Output.h>
#include <tools/marl/Peaks.h>

#include <MarlCore/Common/MarlColors.h>

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include <png.h>

#include "support/EnvironmentVariable.h"
#include "support/LoopFiles.h"
#include "support/MovieFiles.h"
#include "support/TemporaryFolder.h"
#include "tools/Program.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using support::runMarl;

/// A ramp of 16 bits: frame f of channel c has the value f + 1000 c.
support::Bytes rampFile(int channels, int frames) {
    support::WAVContents contents;
    contents.format = support::WAVFormat{.channels = channels};
    support::Bytes samples;
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel) samples.little16(frame + 1000 * channel);
    contents.samples = samples;
    return support::wavFile(contents);
}

struct Picture {
    unsigned width = 0, height = 0;
    std::vector<std::array<unsigned char, 4>> pixels;  // red, green, blue, alpha

    std::size_t marks(const std::array<unsigned char, 4>& color) const {
        return static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), color));
    }
};

Picture pictureIn(const std::string& bytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Picture picture;
    EXPECT_TRUE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) << image.message;
    image.format = PNG_FORMAT_RGBA;
    picture.width = image.width;
    picture.height = image.height;
    picture.pixels.resize(std::size_t{image.width} * image.height);
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr)) << image.message;
    return picture;
}

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Peaks : public testing::Test {
protected:
    support::TemporaryFolder m_folder, m_home;
    support::EnvironmentVariable m_settings{"XDG_CONFIG_HOME", m_home.path().c_str()};  // nobody's
    std::string m_mono = m_folder.write("mono.wav", rampFile(1, 1000));
    std::string m_stereo = m_folder.write("stereo.wav", rampFile(2, 1000));
    support::Outcome run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "peaks");
        return runMarl(arguments, {.folder = m_folder.path()});
    }
};

TEST_F(Peaks, ArePrintedAsJSON) {
    const auto outcome = run({"--json", "--size", "3x10", "--from", "100", "--to", "399", m_stereo});
    EXPECT_EQ(outcome.status, kDone) << outcome.err;
    const json expected = {{"path", m_stereo},
                           {"channels", 2},
                           {"from", 100},
                           {"to", 399},
                           {"columns", 3},
                           {"interval", 256},
                           {"peaks",
                            {{199 / 32768.0, 100 / 32768.0, 1199 / 32768.0, 1100 / 32768.0},
                             {299 / 32768.0, 200 / 32768.0, 1299 / 32768.0, 1200 / 32768.0},
                             {399 / 32768.0, 300 / 32768.0, 1399 / 32768.0, 1300 / 32768.0}}}};
    EXPECT_EQ(json::parse(outcome.out), expected);
    const json whole = json::parse(run({"--json", "--size", "1x4", m_mono}).out);
    EXPECT_EQ(whole["to"], 999);
    EXPECT_EQ(whole["peaks"], json::parse("[[0.030487060546875, 0.0]]"));
    support::Bytes ramp;
    for (int frame = 0; frame < 1000; ++frame) ramp.big16(frame);
    const support::Bytes movie = support::movieHeader(support::movieTrack(support::plainTrack(8, 1000)));
    const std::string path = m_folder.write("movie.mov", support::atom("mdat", ramp).append(movie));
    EXPECT_EQ(json::parse(run({"--json", "--size", "1x4", path}).out)["peaks"], whole["peaks"]);
}

TEST_F(Peaks, AreDrawnUnderTheNameOfTheFile) {
    const auto outcome = run({m_mono});
    EXPECT_EQ(outcome.status, kDone) << outcome.err;
    EXPECT_EQ(outcome.out, "mono.png: 1000 x 200 pixels, frames 0 to 999 (0.023 s)\n");
    const Picture picture = pictureIn(contentsOf(m_folder.path("mono.png")));
    EXPECT_EQ(picture.width, 1000u);
    EXPECT_EQ(picture.height, 200u);
    const auto pixel = std::bit_cast<std::array<unsigned char, 4>>(MarlWaveformColor.pixel());
    EXPECT_GE(picture.marks(pixel), 1000u);
    EXPECT_EQ(picture.marks(pixel) + picture.marks({0, 0, 0, 0}), 200'000u);
}

TEST_F(Peaks, HaveTheColorThatIsAskedFor) {
    for (int value = 0; value < 256; ++value) {
        std::optional<platform::Color> color;
        char text[9];
        std::snprintf(text, sizeof text, "%02X%02x%02X%02x", value, 255 - value, value / 2, 255 - value / 2);
        EXPECT_EQ(wrongWithColor(text, color), "");
        const auto pixel = std::bit_cast<std::array<unsigned char, 4>>(color->pixel());
        const auto byte = [](int part) { return static_cast<unsigned char>(part); };
        EXPECT_EQ(pixel,
                  (std::array{byte(value), byte(255 - value), byte(value / 2), byte(255 - value / 2)}));
    }
    const auto outcome = run({"--size", "20x30", "--color", "FF800040", "-o", "-", m_stereo});
    EXPECT_EQ(outcome.status, kDone) << outcome.err;
    EXPECT_GE(pictureIn(outcome.out).marks({255, 128, 0, 64}), 40u);
}

TEST_F(Peaks, FillTheNarrowestAndTheWidestPictures) {
    const std::string click = m_folder.write("click.wav", rampFile(1, 1));
    for (const auto& [path, width] :
         {std::pair{click, 5u}, std::pair{m_stereo, 1u}, std::pair{m_mono, 30'000u}}) {
        const auto outcome = run({"--size", std::to_string(width) + "x4", "-o", "-", path});
        EXPECT_EQ(outcome.status, kDone) << outcome.err;
        const Picture picture = pictureIn(outcome.out);
        EXPECT_EQ(picture.width, width);
        EXPECT_GE(4 * width - picture.marks({0, 0, 0, 0}), width) << "a pixel a column";
    }
}

TEST_F(Peaks, ShowProgressWithLongFilesOnATerminalOnly) {
    constexpr int kFrames = 12'000'000;
    support::WAVContents contents;
    contents.format = support::WAVFormat{.channels = 1};
    contents.samples = support::Bytes().zeros(2 * kFrames);
    const std::string path = m_folder.write("long.wav", support::wavFile(contents));
    const auto shown = [this](const std::string& file, bool isTerminal) {
        std::ostringstream terminal;  // both streams, in their order
        const PeaksOptions options{
            .path = file, .output = m_folder.path("x.png"), .isProgressShown = isTerminal};
        EXPECT_EQ(runPeaks(options, terminal, terminal), kDone);
        return terminal.str();
    };
    const std::string result =
        m_folder.path("x.png") + ": 1000 x 200 pixels, frames 0 to 11999999 (272.109 s)\n";
    EXPECT_EQ(shown(path, false), result);
    const std::string progress = shown(path, true);
    EXPECT_NE(progress.find(" of 272\033[?7h"), std::string::npos) << "seconds, and lines wrap again";
    EXPECT_TRUE(progress.ends_with("\r\033[K" + result)) << "nothing of it stays";
    EXPECT_EQ(shown(m_mono, true).find("mono.wav"), std::string::npos);
}

TEST_F(Peaks, AreRefusedInOneLine) {
    const std::string empty = m_folder.write("empty.wav", rampFile(1, 0));
    fs::create_symlink(m_mono, m_folder.path("link.PNG"));
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string said;
    } kRows[] = {
        {{"gone.wav"}, kFailed, "marl: gone.wav: cannot be read: No such file or directory\n"},
        {{empty}, kFailed, "there are no samples in this file"},
        {{m_mono, "--from", "1000"}, kFailed, "its frames are 0 to 999: there is no frame 1000"},
        {{m_mono, "--to", "4294967295"}, kFailed, "there is no frame 4294967295"},
        {{m_mono, "-o", "none/x.png"},
         kFailed,
         "marl: none/x.png: cannot be written: No such file or directory\n"},
        {{m_mono, "-o", "link.PNG"}, kFailed, "is the loop itself"},
        {{m_mono, "-o", m_mono}, kWrongUsage, "must end in .png, or be -"},
        {{m_mono, "-o", "cut.jpg"}, kWrongUsage, "-o: 'cut.jpg' must end in .png, or be -"},
        {{m_mono, "-o", ""}, kWrongUsage, "'' must end in .png, or be -"},
        {{m_mono, "--from", "5", "--to", "4"}, kWrongUsage, "frame 4 lies before --from"},
        {{m_mono, "--from", "-1"}, kWrongUsage, "'-1' is not a frame"},
        {{m_mono, "--size", "1000"}, kWrongUsage, "'1000' is not a size"},
        {{m_mono, "--size", "30001x200"}, kWrongUsage, "from 1x4 to 30000x10000"},
        {{m_mono, "--size", "0x200"}, kWrongUsage, "'0x200' is not a size"},
        {{m_mono, "--size", "10x20x30"}, kWrongUsage, "'10x20x30' is not a size"},
        {{m_mono, "--size", "nan"}, kWrongUsage, "'nan' is not a size"},
        {{m_mono, "--color", "red"}, kWrongUsage, "'red' is not a colour"},
        {{m_mono, "--color", "1234567G"}, kWrongUsage, "'1234567G' is not a colour"},
        {{m_mono, "--json", "-o", "x.png"}, kWrongUsage, "--json"},
    };
    for (const auto& row : kRows) {
        const auto outcome = run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_NE(outcome.err.find(row.said), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.path()), {}), 4) << "nothing is left behind";
    EXPECT_EQ(contentsOf(m_mono), rampFile(1, 1000).view());
}

TEST_F(Peaks, LeaveAnOldPictureWhereTheNewOneFails) {
    m_folder.write("mono.png", "old");
    const auto outcome = runMarl({"peaks", m_mono}, {.mostFileBytes = 100, .folder = m_folder.path()});
    EXPECT_EQ(outcome.status, kFailed);
    EXPECT_EQ(contentsOf(m_folder.path("mono.png")), "old");
    EXPECT_EQ(run({m_mono}).status, kDone);
    EXPECT_GT(contentsOf(m_folder.path("mono.png")).size(), 3u);
}

}  // namespace
}  // namespace marl::tool
