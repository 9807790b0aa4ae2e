// SPDX-License-Identifier: MIT
#include <tools/marl/Info.h>
#include <tools/marl/Output.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <locale>
#include <sstream>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using support::Bytes;

struct Outcome {
    int status;
    std::string out, err;
};

Outcome info(const std::vector<std::string>& paths, bool asJSON = false) {
    std::ostringstream out, err;
    const int status = runInfo({asJSON, paths}, out, err);
    return {status, out.str(), err.str()};
}

json infoJSON(const std::string& path) {
    return json::parse(info({path}, true).out).at(0);
}

/// 4 s at 8000 Hz in stereo: 8 beats at 120 a minute.
support::AIFFContents taggedLoop() {
    support::AIFFContents contents;
    contents.common->sampleRate = 8000;
    contents.basicTagging = support::BasicTagging{.beats = 8, .rootNote = 49};
    contents.categories = support::Categories{.instrument = "Drums",
                                              .instrumentSubType = "Drum Kit",
                                              .genre = "Rock/Blues",
                                              .descriptors = {"Single", "Clean"}};
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 12000}, {0, 31999}}};
    contents.name = "Beat";
    contents.author = "Anna";
    contents.copyright = "2024";
    contents.annotation = "caf\x8E";  // Mac Roman
    contents.midi = Bytes().zeros(2);
    contents.samples = Bytes().zeros(128000);
    return contents;
}

/// The text between the path and the end, so that a table of expected values stays independent of folders.
std::string withoutPath(const json& file) {
    json rest = file;
    rest.erase("path");
    return rest.dump();
}

TEST(InfoJSON, HasEveryFieldOfATaggedLoop) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("loop.aif", support::aiffFile(taggedLoop()));
    const json file = infoJSON(path);
    EXPECT_EQ(file.begin().key(), "path");
    EXPECT_EQ(file["path"], path);
    EXPECT_EQ(withoutPath(file),
              R"({"container":"AIFF","sampleRate":8000.0,"channels":2,"bitsPerChannel":16,"frames":32000,)"
              R"("seconds":4.0,"sampleOffset":690,"sampleLengthInBytes":128000,"fileType":"loop",)"
              R"("streamed":false,"numberOfBeats":8,"naturalNumberOfBeats":8,"sourceBeats":8,)"
              R"("tempo":120.0,"rootNote":49,"scaleType":3,"timeSignature":[4,4],"instrument":"Drums",)"
              R"("instrumentSubType":"Drum Kit","genre":"Rock/Blues","descriptors":["Single","Clean"],)"
              R"("transients":[0,12000,31999],"sourceHadTransients":true,"sourceHadSearchTags":true,)"
              R"("name":"Beat","author":"Anna","copyright":"2024","annotation":"café","hasMidi":true})");
}

TEST(InfoJSON, HasEveryFieldOfAOneShot) {
    support::WAVContents contents;
    contents.format = support::WAVFormat{.channels = 1, .sampleRate = 96000, .bitsPerChannel = 24};
    contents.acid = support::AcidChunk{.flags = 3, .rootNote = 60, .beats = 4};
    contents.info = {{"INAM", "Hit"}, {"ICMT", "na\xEFve"}};  // Latin 1
    contents.samples = Bytes().zeros(3 * 48000);
    const support::TemporaryFolder folder;
    EXPECT_EQ(withoutPath(infoJSON(folder.write("hit.WAV", support::wavFile(contents)))),
              R"({"container":"WAV","sampleRate":96000.0,"channels":1,"bitsPerChannel":24,"frames":48000,)"
              R"("seconds":0.5,"sampleOffset":114,"sampleLengthInBytes":144000,"fileType":"one-shot",)"
              R"("streamed":true,"numberOfBeats":4,"naturalNumberOfBeats":4,"sourceBeats":4,"tempo":null,)"
              R"("rootNote":60,"scaleType":3,"timeSignature":[4,4],"instrument":null,)"
              R"("instrumentSubType":null,"genre":null,"descriptors":[],"transients":[],)"
              R"("sourceHadTransients":false,"sourceHadSearchTags":false,"name":"Hit","author":null,)"
              R"("copyright":null,"annotation":"naïve","hasMidi":false})");
}

TEST(InfoJSON, TellsWhatTheFileStatesFromWhatIsDerived) {
    support::WAVContents contents;  // 1 s: 2 beats, and a grid of 16 to the whole note
    contents.format = support::WAVFormat{.channels = 1, .sampleRate = 8000, .bitsPerChannel = 8};
    contents.samples = Bytes().zeros(8000);
    const support::TemporaryFolder folder;
    const json file = infoJSON(folder.write("plain.wav", support::wavFile(contents)));
    EXPECT_EQ(file["sourceBeats"], 0);
    EXPECT_EQ(file["naturalNumberOfBeats"], 2);
    EXPECT_EQ(file["tempo"], 120.0);
    EXPECT_EQ(file["rootNote"], 0);
    EXPECT_EQ(file["transients"], json::parse("[0,1000,2000,3000,4000,5000,6000,7000]"));
    EXPECT_EQ(file["sourceHadTransients"], false);
}

TEST(InfoJSON, CountsBeatsInTheMetersOwnUnit) {
    support::AIFFContents contents = taggedLoop();
    contents.basicTagging = support::BasicTagging{.beats = 7, .numerator = 7, .denominator = 8};
    const support::TemporaryFolder folder;
    const json file = infoJSON(folder.write("seven.aif", support::aiffFile(contents)));
    EXPECT_EQ(file["naturalNumberOfBeats"], 7);
    EXPECT_EQ(file["numberOfBeats"], 3);  // quarter notes, truncated
    EXPECT_EQ(file["timeSignature"], json::parse("[7,8]"));
    EXPECT_EQ(file["tempo"], 52.5);  // 3.5 quarter notes in 4 s
}

TEST(InfoJSON, ErrorsTakeTheirPlaceAmongTheFiles) {
    const support::TemporaryFolder folder;
    const std::string good = folder.write("good.aif", support::aiffFile(taggedLoop()));
    const std::string bad = folder.write("bad.aif", Bytes("RIFF").zeros(8));
    const std::string gone = folder.path("gone.aif");
    const Outcome outcome = info({bad, good, gone}, true);
    EXPECT_EQ(outcome.status, kFailed);
    const json files = json::parse(outcome.out);
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[0],
              json({{"path", bad}, {"error", "not an AIFF file: couldn't find FORM master chunk"}}));
    EXPECT_EQ(files[1]["path"], good);
    EXPECT_EQ(files[2], json({{"path", gone}, {"error", "cannot be read: No such file or directory"}}));
    EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 2);
}

TEST(InfoJSON, PathsThatAreNoTextComeAsURLsToo) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("caf\xE9 1.aif", support::aiffFile(taggedLoop()));
    const json file = infoJSON(path);
    EXPECT_EQ(file["path"], folder.path("caf\xEF\xBF\xBD 1.aif"));
    EXPECT_EQ(std::next(file.begin()).key(), "pathURL");
    EXPECT_TRUE(file["pathURL"].get<std::string>().ends_with("/caf%E9%201.aif")) << file["pathURL"];
    const json error = infoJSON(folder.path("\xFF.aif"));
    EXPECT_TRUE(error.contains("pathURL"));
    EXPECT_FALSE(infoJSON(folder.write("caf\xC3\xA9.aif", "")).contains("pathURL"));
}

/// Numbers with a comma and dots between thousands.
class ContinentalNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Info, WritesNumbersAlikeInEveryLocale) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("loop.aif", support::aiffFile(taggedLoop()));
    for (const bool asJSON : {false, true}) {
        std::ostringstream out, err;
        out.imbue(std::locale(std::locale::classic(), new ContinentalNumbers));
        runInfo({asJSON, {path}}, out, err);
        EXPECT_EQ(out.str(), info({path}, asJSON).out);
    }
}

TEST(Info, ShowsOneFileInFull) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("loop.aif", support::aiffFile(taggedLoop()));
    EXPECT_EQ(info({path}).out, path +
                                    "\n"
                                    "  format       AIFF, 8000 Hz, 16 bits, 2 channels\n"
                                    "  length       4.000 s, 32000 frames\n"
                                    "  type         loop of 8 beats in 4/4 at 120.00 bpm\n"
                                    "  root note    C# (MIDI 49)\n"
                                    "  instrument   Drums\n"
                                    "  sub-type     Drum Kit\n"
                                    "  genre        Rock/Blues\n"
                                    "  descriptors  Single, Clean\n"
                                    "  transients   3 in the file\n"
                                    "  name         Beat\n"
                                    "  author       Anna\n"
                                    "  copyright    2024\n"
                                    "  annotation   café\n"
                                    "  midi         embedded\n");
}

TEST(Info, EscapesWhatATerminalCouldObey) {
    support::AIFFContents contents = taggedLoop();
    contents.name = "a\x1B[2Jb\n";
    contents.categories->instrument =
        "\x07"
        "bell";
    const support::TemporaryFolder folder;
    const std::string path = folder.write("a\nb.aif", support::aiffFile(contents));
    for (const auto& paths : {std::vector{path}, {path, path}}) {
        const std::string out = info(paths).out;
        EXPECT_TRUE(std::ranges::none_of(
            out, [](char c) { return c != '\n' && static_cast<unsigned char>(c) < 32; }));
        EXPECT_NE(out.find("a\\x0Ab.aif\n"), std::string::npos) << out;
        EXPECT_NE(out.find("\\x07bell"), std::string::npos) << out;
    }
    EXPECT_NE(info({path}).out.find("a\\x1B[2Jb\\x0A\n"), std::string::npos);
}

TEST(Info, LinesUpATable) {
    const support::TemporaryFolder folder;
    support::AIFFContents loop = taggedLoop();
    folder.write("1.aif", support::aiffFile(loop));
    loop.categories->instrument = "Glockenspiel, großes, aus Böhmen";
    folder.write("2.aif", support::aiffFile(loop));
    loop.categories->instrument = std::string(49, '\x01');  // 4 characters each on a terminal
    folder.write("3.aif", support::aiffFile(loop));
    support::WAVContents oneShot;
    oneShot.format = support::WAVFormat{.channels = 1, .sampleRate = 192000, .bitsPerChannel = 24};
    oneShot.samples = Bytes().zeros(3 * 48000);
    folder.write("4.wav", support::wavFile(oneShot));
    const std::string end = " " + folder.path() + "/";
    EXPECT_EQ(info({folder.path()}).out,
              "file   rate bits ch  seconds type         bpm meter root instrument           path\n"
              "AIFF   8000   16  2    4.000 loop      120.00 4/4   C#   Drums               " +
                  end +
                  "1.aif\n"
                  "AIFF   8000   16  2    4.000 loop      120.00 4/4   C#   Glockenspiel, große…" +
                  end +
                  "2.aif\n"
                  "AIFF   8000   16  2    4.000 loop      120.00 4/4   C#   \\x01\\x01\\x01\\x01\\x0…" +
                  end +
                  "3.aif\n"
                  "WAV  192000   24  1    0.250 one-shot       - -     -    -                   " +
                  end + "4.wav\n");
}

std::vector<std::string> pathsIn(const std::string& output) {
    std::vector<std::string> paths;
    for (const json& file : json::parse(output)) paths.push_back(file["path"]);
    return paths;
}

TEST(Info, FoldersStandForTheLoopFilesBelowThem) {
    const support::TemporaryFolder folder;
    const Bytes loop = support::aiffFile(taggedLoop());
    for (const char* name :
         {"b/2.aif", "b/1.AIFF", "b/c/x.aif", "Z.aif", "a.aif", "b/notes.txt", "b/film.mov"})
        folder.write(name, loop);
    fs::create_directory(folder.path("empty"));
    fs::create_symlink(".", folder.path("circle"));
    fs::create_symlink("b/2.aif", folder.path("y.aif"));
    const Outcome outcome = info({folder.path()}, true);
    EXPECT_EQ(outcome.status, kDone);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> expected;
    for (const char* name : {"a.aif", "b/1.AIFF", "b/2.aif", "b/c/x.aif", "y.aif", "Z.aif"})
        expected.push_back(folder.path(name));
    EXPECT_EQ(pathsIn(outcome.out), expected);
    EXPECT_EQ(info({folder.path() + "/"}, true).out, outcome.out);
}

TEST(Info, SaysThatAFolderHasNoLoops) {
    const support::TemporaryFolder folder;
    folder.write("notes.txt", "");
    for (const bool asJSON : {false, true}) {
        const Outcome outcome = info({folder.path()}, asJSON);
        EXPECT_EQ(outcome.status, kDone);
        EXPECT_EQ(outcome.out, asJSON ? "[]\n" : "");
        EXPECT_EQ(outcome.err, "marl: " + folder.path() + ": note: no loop files in this folder\n");
    }
}

/// While it lives, this process can open nothing more.
class NoDescriptorsLeft {
public:
    NoDescriptorsLeft() {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = 0;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoDescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

#ifndef __SANITIZE_ADDRESS__  // which takes descriptors itself, to look at memory
TEST(Info, ReportsAFolderThatCannotBeRead) {
    const support::TemporaryFolder folder;
    Outcome outcome;
    {
        const NoDescriptorsLeft scope;
        outcome = info({folder.path()}, true);
    }
    EXPECT_EQ(outcome.status, kFailed);
    const json files = json::parse(outcome.out);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0]["path"], folder.path());
    EXPECT_EQ(files[0]["error"], "cannot be read: Too many open files");
    EXPECT_EQ(outcome.err, "marl: " + folder.path() + ": cannot be read: Too many open files\n");
}
#endif

TEST(Info, EndsWhenNobodyReadsOn) {
    const support::TemporaryFolder folder;
    std::ostream broken(nullptr);
    std::ostringstream err;
    EXPECT_EQ(runInfo({false, {folder.path("1.aif"), folder.path("2.aif")}}, broken, err), kFailed);
    EXPECT_EQ(err.str(), "marl: standard output: cannot be written\n");
}

TEST(Info, SaysWhyAPathIsNoLoopFile) {
    const support::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe.wav").c_str(), 0600), 0);
    fs::create_symlink("nowhere", folder.path("dangling.wav"));
    fs::create_symlink("circle.wav", folder.path("circle.wav"));
    fs::create_directory(folder.path("Host.app"));
    folder.write("notes.txt", "");
    folder.write("empty.wav", "");
    folder.write("empty.mov", "");
    for (const char* name : {"text.wav", "text.aif", "text.mov"}) folder.write(name, "Once upon a time");
    folder.write("film.wav", support::Bytes().text("RIFF").little32(4).text("AVI "));
    folder.write("sound.mov", support::wavFile({}));
    folder.write("cut.mov", support::Bytes().big32(1000).text("mdat").zeros(92));
    const struct {
        std::string name, reason;
    } kRows[] = {
        {"pipe.wav", "pipes and devices cannot be read"},
        {"dangling.wav", "cannot be read: No such file or directory"},
        {"circle.wav", "cannot be read: Too many levels of symbolic links"},
        {"Host.app", "cannot be read: Is a directory"},
        {"empty.wav/x.wav", "cannot be read: No such file or directory"},
        {"notes.txt", "not a loop file: its name must end in .aif, .aiff, .wav, .wave or .mov"},
        {"empty.wav", "is empty"},
        {"empty.mov", "is empty"},
        {"text.wav", "not a WAV file: couldn't find RIFF tag"},
        {"film.wav", "not a WAV file: WAVE is not in the RIFF tag!"},
        {"text.aif", "not an AIFF file: couldn't find FORM master chunk"},
        {"text.mov", "not a QuickTime file: there is no atom at byte 0"},
        {"sound.mov", "not a QuickTime file: at byte 0 begins a WAV file"},
        {"cut.mov", "couldn't find the movie atom ('moov') in the 100 bytes of the file"},
        {"-", "cannot be read: No such file or directory"},
    };
    EXPECT_EQ(info({""}).err, "marl: '': cannot be read: No such file or directory\n");
    for (const auto& row : kRows) {
        const std::string path = row.name == "-" ? row.name : folder.path(row.name);
        const Outcome outcome = info({path});
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_EQ(outcome.err, "marl: " + path + ": " + row.reason + "\n");
        EXPECT_EQ(outcome.out, "");
    }
}

}  // namespace
}  // namespace marl::tool
