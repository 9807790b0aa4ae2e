// SPDX-License-Identifier: MIT
#include <tools/marl/Browse.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <utility>

#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

struct Outcome {
    int status;
    std::string out, err;
};

Outcome browse(const std::string& folder, int depth = 0) {
    std::ostringstream out, err;
    BrowseOptions options;
    options.folder = folder;
    options.depth = depth;
    const int status = runBrowse(options, out, err);
    return {status, out.str(), err.str()};
}

TEST(Browse, PrintsTheTreeWithTypes) {
    const support::TemporaryFolder folder;
    folder.write("Drums/Kick.aif", "");
    folder.write("Drums/Old/Snare.wav", "");
    folder.write("Host.app/inside", "");
    folder.write("Film.mov", "");
    folder.write("Notes\n\x1B[2J.txt", "");
    fs::create_symlink("Drums", folder.path("Link"));
    fs::create_symlink("gone", folder.path("Lost"));
    const Outcome outcome = browse(folder.path());
    EXPECT_EQ(outcome.out, folder.path() +
                               " [folder]\n"
                               "  Drums [folder]\n"
                               "    Kick.aif [AIFF]\n"
                               "    Old [folder]\n"
                               "      Snare.wav [WAV]\n"
                               "  Film.mov [movie]\n"
                               "  Host.app [other]\n"
                               "  Link -> " +
                               fs::canonical(folder.path("Drums")).string() +
                               " [folder]\n"
                               "  Lost -> nowhere [other]\n"
                               "  Notes\\x0A\\x1B[2J.txt [other]\n"
                               "4 folders, 2 loop files\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Browse, StopsAtTheDepthAskedFor) {
    const support::TemporaryFolder folder;
    folder.write("1/2/3/Kick.aif", "");
    const std::string kLines[] = {folder.path() + " [folder]\n", "  1 [folder]\n", "    2 [folder]\n",
                                  "      3 [folder]\n", "        Kick.aif [AIFF]\n"};
    for (int depth = 1; depth <= 5; ++depth) {
        std::string expected;
        for (int line = 0; line <= std::min(depth, 4); ++line) expected += kLines[line];
        const std::string tree = browse(folder.path(), depth).out;
        EXPECT_TRUE(tree.starts_with(expected)) << depth;
        EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), std::min(depth, 4) + 2) << depth;
    }
}

TEST(Browse, EndsForLinksThatRunInCircles) {
    const support::TemporaryFolder folder;
    fs::create_symlink(".", folder.path("self"));
    fs::create_symlink("circle", folder.path("circle"));
    EXPECT_EQ(browse(folder.path()).out, folder.path() +
                                             " [folder]\n"
                                             "  circle -> nowhere [other]\n"
                                             "  self -> " +
                                             fs::canonical(folder.path()).string() +
                                             " [folder]\n"
                                             "2 folders, 0 loop files\n");
}

TEST(Browse, ReportsWhatItCannotOpen) {
    const support::TemporaryFolder folder;
    folder.write("readme.txt", "");
    const struct {
        std::string folder, said;
    } kRows[] = {
        {folder.path("no\tfolder"),
         folder.path("no\\x09folder") + ": cannot be read: No such file or directory\n"},
        {folder.path("readme.txt"), folder.path("readme.txt") + ": cannot be read: Not a directory\n"},
        {"", "'': cannot be read: No such file or directory\n"}};
    for (const auto& row : kRows) {
        const Outcome outcome = browse(row.folder);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "marl: " + row.said);
    }
}

/// Removes a folder as soon as something is printed.
class RemovingBuffer : public std::stringbuf {
public:
    explicit RemovingBuffer(std::string folder) : m_folder(std::move(folder)) {}

protected:
    std::streamsize xsputn(const char* text, std::streamsize length) override {
        fs::remove_all(m_folder);
        return std::stringbuf::xsputn(text, length);
    }

private:
    const std::string m_folder;
};

TEST(Browse, GoesOnAfterAFolderThatItCannotOpen) {
    const support::TemporaryFolder folder;
    folder.write("Drums/Kick.aif", "");
    folder.write("Loop.aif", "");
    RemovingBuffer buffer(folder.path("Drums"));
    std::ostream out(&buffer);
    std::ostringstream err;
    EXPECT_EQ(runBrowse({folder.path(), 0}, out, err), 1);
    EXPECT_EQ(buffer.str(), folder.path() +
                                " [folder]\n  Drums [folder]\n  Loop.aif [AIFF]\n"
                                "2 folders, 1 loop file\n");
    EXPECT_EQ(err.str(), "marl: " + folder.path("Drums") + ": cannot be read: No such file or directory\n");
}

TEST(Browse, ReportsAFullDisk) {
    const support::TemporaryFolder folder;
    std::ostream broken(nullptr);
    std::ostringstream err;
    EXPECT_EQ(runBrowse({folder.path(), 0}, broken, err), 1);
    EXPECT_EQ(err.str(), "marl: standard output: cannot be written\n");
}

}  // namespace
}  // namespace marl::tool
