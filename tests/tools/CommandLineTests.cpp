// SPDX-License-Identifier: MIT
// The program as its users meet it: exit statuses, where the text goes, and outputs that fail.
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"
#include "tools/Program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

using support::Outcome;
using support::runMarl;
using support::StandardOutput;
using support::TemporaryFolder;
using Arguments = std::vector<std::string>;

std::string joined(const Arguments& arguments) {
    std::string text = "marl";
    for (const std::string& argument : arguments) text += " " + argument;
    return text;
}

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A plain recording of `bytes` bytes of silence.
support::Bytes recording(std::size_t bytes = 400) {
    support::WAVContents contents;
    contents.samples = support::Bytes().zeros(bytes);
    return support::wavFile(contents);
}

TEST(CommandLine, HelpAndVersionAreResults) {
    const struct {
        Arguments arguments;
        std::string shown;
    } kRows[] = {{{"--version"}, "marl "},
                 {{"--help"}, "convert"},
                 {{"--help"}, "Examples:"},
                 {{"info", "--help"}, "--json"},
                 {{"convert", "--help"}, "--channels"},
                 {{"stream", "--help"}, "--from"},
                 {{"browse", "--help"}, "--depth"},
                 {{"index", "--help"}, "--watch"},
                 {{"search", "--help"}, "--tolerance"},
                 {{"keywords", "--help"}, "--index-dir"},
                 {{"peaks", "--help"}, "--size"},
                 {{"prefs", "--help"}, "reset"},
                 {{"prefs", "set", "--help"}, "VALUE"}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(joined(row.arguments));
        const Outcome outcome = runMarl(row.arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find(row.shown), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(runMarl(row.arguments, {.standardOutput = StandardOutput::kFullDevice}).status, 1);
    }
}

TEST(CommandLine, HelpFitsATerminal) {
    for (const Arguments& arguments : {Arguments{"--help"},
                                       {"info", "--help"},
                                       {"convert", "--help"},
                                       {"stream", "--help"},
                                       {"index", "--help"},
                                       {"peaks", "--help"},
                                       {"search", "--help"}}) {
        std::istringstream help(runMarl(arguments).out);
        for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 100U) << line;
    }
}

TEST(CommandLine, WrongUsageIsStatus2AndDoesNothing) {
    const TemporaryFolder folder;
    folder.write("in.wav", recording());
    const struct {
        Arguments arguments;
        std::string named;  // in the first line of the message
    } kRows[] = {{{}, "which command?"},
                 {{"frobnicate"}, "there is no command 'frobnicate'\n"},
                 {{"serach"}, "there is no command 'serach'; did you mean 'search'?\n"},
                 {{"pref"}, "there is no command 'pref'; did you mean 'prefs'?\n"},
                 {{"info"}, "FILE"},
                 {{"info", "--jsn", "in.wav"}, "--jsn"},
                 {{"convert", "in.wav"}, "OUT"},
                 {{"convert", "in.wav", "out.wav", "more.wav"}, "more.wav"},
                 {{"convert", "in.wav", "out.mp3"}, "out.mp3"},
                 {{"convert", "in.wav", "out"}, "out"},
                 {{"convert", "--format", "f32", "in.wav", "out.wav"}, "f32"},
                 {{"convert", "--format", "f32", "in.wav", "out.aif"}, "f32"},
                 {{"convert", "--format", "u8", "in.wav", "out.wav"}, "u8"},
                 {{"convert", "--rate", "nan", "in.wav", "out.wav"}, "nan"},
                 {{"convert", "--rate", "inf", "in.wav", "out.wav"}, "inf"},
                 {{"convert", "--rate", "0", "in.wav", "out.wav"}, "--rate"},
                 {{"convert", "--rate", "-48000", "in.wav", "out.wav"}, "-48000"},
                 {{"convert", "--rate", "1e10", "in.wav", "out.wav"}, "1e10"},
                 {{"convert", "--rate", "48k", "in.wav", "out.wav"}, "48k"},
                 {{"convert", "--channels", "0", "in.wav", "out.wav"}, "--channels"},
                 {{"convert", "--channels", "3", "in.wav", "out.wav"}, "--channels"},
                 {{"stream"}, "FILE"},
                 {{"stream", "--from", "nan", "in.wav"}, "nan"},
                 {{"stream", "--from", "-1", "in.wav"}, "-1"},
                 {{"stream", "--to", "1e999", "in.wav"}, "1e999"},
                 {{"stream", "--to", "1:30", "in.wav"}, "1:30"},
                 {{"stream", "--from", "2", "--to", "2", "in.wav"}, "later than the start"},
                 {{"browse", "--depth", "-1"}, "--depth"},
                 {{"index"}, "FOLDER"},
                 {{"index", "--list", "."}, "--list"},
                 {{"index", "--list", "--watch"}, "--list"},
                 {{"index", "--remove", ".", "--rebuild"}, "--remove"},
                 {{"index", "--remove"}, "--remove"},
                 {{"search", "--time-signature", "4"}, "'4'"},
                 {{"search", "--time-signature", "4/"}, "'4/'"},
                 {{"search", "--time-signature", "0/4"}, "'0/4'"},
                 {{"search", "--time-signature", "4/4/4"}, "4/4/4"},
                 {{"search", "--time-signature", "70000/4"}, "70000/4"},
                 {{"search", "--time-signature", ""}, "--time-signature"},
                 {{"search", "--tolerance", "1"}, "--tolerance"},
                 {{"search", "--key", "0"}, "--key"},
                 {{"search", "--key", "128"}, "'128' is no root note: a name such as F# or Bb, or"},
                 {{"search", "--key", "none"}, "'none' is no root note"},
                 {{"search", "--key", ""}, "'' is no root note"},
                 {{"search", "--key", "60", "--tolerance", "-1"}, "--tolerance"},
                 {{"search", "--key-type", "0"}, "'0' is no type of scale: minor, major or 1 to 32767\n"},
                 {{"search", "--key-type", "32768"}, "'32768' is no type of scale"},
                 {{"search", "--key-type", "minority"}, "'minority' is no type of scale"},
                 {{"search", "--key-type", ""}, "'' is no type of scale"},
                 {{"search", "--limit", "-1"}, "--limit: '-1' is not a number of loops: 0 or more\n"},
                 {{"search", "--limit", "abc"}, "--limit: 'abc' is not a number of loops: 0 or more\n"},
                 {{"search", "Bass", ""}, "KEY: '' is no key\n"},
                 {{"index", "--remove", ""}, "--remove: '' is no folder\n"},
                 {{"keywords", "Bass"}, "Bass"},
                 {{"prefs"}, "subcommand"},
                 {{"prefs", "list", "Tempo"}, "Tempo"},
                 {{"prefs", "set", "Default Tempo"}, "VALUE"},
                 {{"prefs", "get", "Default Temp"}, "Default Tempo"}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(joined(row.arguments));
        const Outcome outcome = runMarl(row.arguments, {.folder = folder.path()});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("marl: ")) << outcome.err;
        EXPECT_NE(outcome.err.substr(0, outcome.err.find('\n') + 1).find(row.named), std::string::npos)
            << outcome.err;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }
}

TEST(CommandLine, ReportsABadFileAndDoesTheOthers) {
    const TemporaryFolder folder;
    folder.write("a.wav", recording());
    folder.write("bad.wav", "RIFF");
    folder.write("c.wav", recording());
    for (const bool json : {false, true}) {
        Arguments arguments{"info", "a.wav", "bad.wav", "c.wav"};
        if (json) arguments.insert(arguments.begin() + 1, "--json");
        const Outcome outcome = runMarl(arguments, {.folder = folder.path()});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "marl: bad.wav: not a WAV file: couldn't find RIFF tag\n");
        EXPECT_NE(outcome.out.find("a.wav"), std::string::npos);
        EXPECT_NE(outcome.out.find("c.wav"), std::string::npos);
    }
}

TEST(CommandLine, AFullOutputIsAnErrorThatSaysSo) {
    const TemporaryFolder folder;
    folder.write("in.wav", recording(100000));
    for (const Arguments& arguments : {Arguments{"info", "in.wav"},
                                       {"info", "--json", "in.wav"},
                                       {"info", "in.wav", "in.wav"},
                                       {"convert", "in.wav", "-"},
                                       {"stream", "in.wav"},
                                       {"browse"}}) {
        SCOPED_TRACE(joined(arguments));
        const Outcome outcome =
            runMarl(arguments, {.standardOutput = StandardOutput::kFullDevice, .folder = folder.path()});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "marl: standard output: cannot be written: No space left on device\n");
    }
}

TEST(CommandLine, EndsWhenItsReaderLeaves) {
    const TemporaryFolder folder;
    folder.write("in.wav", recording(4 << 20));  // more than any pipe holds
    for (const Arguments& arguments : {Arguments{"convert", "in.wav", "-"}, {"stream", "in.wav"}}) {
        SCOPED_TRACE(joined(arguments));
        support::Surroundings surroundings{.standardOutput = StandardOutput::kClosedEarly,
                                           .folder = folder.path()};
        const Outcome killed = runMarl(arguments, surroundings);
        EXPECT_EQ(killed.signal, SIGPIPE);
        EXPECT_EQ(killed.out.size(), 10U);
        surroundings.ignoresBrokenPipes = true;
        const Outcome failed = runMarl(arguments, surroundings);
        EXPECT_EQ(failed.status, 1);
        EXPECT_EQ(failed.err, "marl: standard output: cannot be written: Broken pipe\n");
    }
}

TEST(CommandLine, SamplesDoNotGoToATerminal) {
    const TemporaryFolder folder;
    folder.write("in.wav", recording());
    for (const Arguments& arguments : {Arguments{"convert", "in.wav", "-"}, {"stream", "in.wav"}}) {
        const Outcome outcome =
            runMarl(arguments, {.standardOutput = StandardOutput::kTerminal, .folder = folder.path()});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_TRUE(outcome.err.starts_with("marl: standard output: is a terminal")) << outcome.err;
    }
}

TEST(CommandLine, AFailedWriteLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    folder.write("in.wav", recording(100000));
    for (const std::string output : {"out.wav", "out.aif", "out.raw"}) {
        for (const unsigned long limit : {0UL, 10UL, 5000UL, 99999UL}) {
            SCOPED_TRACE(output + " up to " + std::to_string(limit) + " bytes");
            folder.write(output, "what was there before");
            const Outcome outcome =
                runMarl({"convert", "in.wav", output}, {.mostFileBytes = limit, .folder = folder.path()});
            EXPECT_EQ(outcome.status, 1);
            // The messages are under the limit too, where standard error is a file.
            if (limit >= 5000) {
                EXPECT_EQ(outcome.err, "marl: " + output + ": cannot be written: File too large\n");
            }
            EXPECT_EQ(contentsOf(folder.path(output)), "what was there before");
            std::filesystem::remove(folder.path(output));
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
        }
    }
}

TEST(CommandLine, TakesKeysByNameAndByNumber) {
    const TemporaryFolder folder;
    const auto addLoop = [&](const std::string& name, int rootNote, int scaleType) {
        support::AIFFContents contents;
        contents.basicTagging = support::BasicTagging{.rootNote = rootNote, .scaleType = scaleType};
        folder.write(name, support::aiffFile(contents));
    };
    addLoop("low.aif", 43, 1);
    addLoop("high.aif", 67, 2);
    addLoop("other.aif", 70, 1);
    ASSERT_EQ(runMarl({"index", "--index-dir", ".indexes", "."}, {.folder = folder.path()}).status, 0);
    const struct {
        Arguments filters;
        std::vector<std::string> names;
    } kRows[] = {{{"--key", "67"}, {"high"}},
                 {{"--key", "G"}, {"high", "low"}},
                 {{"--key", "a#"}, {"other"}},
                 {{"--key", "A", "--tolerance", "1"}, {"other"}},
                 {{"--key-type", "1"}, {"low", "other"}},
                 {{"--key-type", "minor"}, {"low", "other"}},
                 {{"--key-type", "Major"}, {"high"}},
                 {{"--key", "G", "--key-type", "minor"}, {"low"}}};
    for (const auto& row : kRows) {
        Arguments arguments{"search", "--index-dir", ".indexes"};
        arguments.insert(arguments.end(), row.filters.begin(), row.filters.end());
        SCOPED_TRACE(joined(arguments));
        const Outcome outcome = runMarl(arguments, {.folder = folder.path()});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        std::vector<std::string> names;
        for (const std::string name : {"high", "low", "other"})
            if (outcome.out.find("/" + name + ".aif\n") != std::string::npos) names.push_back(name);
        EXPECT_EQ(names, row.names) << outcome.out;
    }
}

TEST(CommandLine, TakesNamesThatBeginWithAHyphen) {
    const TemporaryFolder folder;
    folder.write("-loop.wav", recording());
    const Outcome outcome = runMarl({"info", "--", "-loop.wav"}, {.folder = folder.path()});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("-loop.wav\n")) << outcome.out;
}

}  // namespace
