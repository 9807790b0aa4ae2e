// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/FileUtilities.h>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace halyard {
namespace {

std::string temporaryName(const std::string& folder, const std::string& baseName) {
    return FileUtilities::generateTemporaryFileName(CSTR(folder), CSTR(baseName))->getStringRef();
}

TEST(TemporaryFileName, NamesNoFileYetInItsFolder) {
    const support::TemporaryFolder folder;
    const std::string path = temporaryName(folder.path(), "Take 1");
    EXPECT_TRUE(path.starts_with(folder.path("Take 1-"))) << path;
    EXPECT_EQ(std::filesystem::path(path).parent_path(), folder.path());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "the file is not made here";
    std::filesystem::create_symlink("nowhere", path);
    EXPECT_NE(temporaryName(folder.path(), "Take 1"), path);
}

constexpr int kNames = 2000;

/// Writes names to a pipe, in a process that was forked after the parent had drawn one.
void writeNames(int descriptor, const std::string& folder) {
    for (int i = 0; i < kNames; ++i) {
        const std::string line = temporaryName(folder, "Take") + "\n";
        if (::write(descriptor, line.data(), line.size()) != static_cast<ssize_t>(line.size())) ::_exit(1);
    }
    ::_exit(0);
}

TEST(TemporaryFileName, IsNeverTheSameInOneProcessOrInTwo) {
    const support::TemporaryFolder folder;
    std::set<std::string> names{temporaryName(folder.path(), "Take")};
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) writeNames(ends[1], folder.path());
    ::close(ends[1]);
    for (int i = 0; i < kNames; ++i) names.insert(temporaryName(folder.path(), "Take"));

    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::fdopen(ends[0], "r"), &std::fclose);
    std::string name;
    for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) {
        if (c != '\n') {
            name += static_cast<char>(c);
        } else {
            names.insert(name);
            name.clear();
        }
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(names.size(), 1u + 2 * kNames);
}

TEST(TemporaryFileName, HoldsOnlyWhatAFileNameCanHold) {
    const support::TemporaryFolder folder;
    const std::pair<std::string, std::string> cases[] = {
        {"AC/DC", "AC_DC-"}, {"../../etc/passwd", ".._.._etc_passwd-"},     {std::string("a\0b", 3), "a_b-"},
        {"", "-"},           {"\u00C9t\u00E9 \xC9", "\u00C9t\u00E9 \xC9-"},
    };
    for (const auto& [baseName, start] : cases) {
        const std::string path = temporaryName(folder.path(), baseName);
        EXPECT_TRUE(path.starts_with(folder.path(start))) << path;
        EXPECT_EQ(path.find('/', folder.path().size() + 1), std::string::npos) << path;
    }
}

TEST(TemporaryFileName, LiesInTheSystemsFolderWithoutOne) {
    const auto nameInNoFolder = [](const CStringRef& folder) {
        return FileUtilities::generateTemporaryFileName(folder, CSTR("Take"))->getStringRef();
    };
    for (const CStringRef& none : {CStringRef(), CSTR("")}) {
        {
            const support::TemporaryFolder folder;
            const support::EnvironmentVariable variable("TMPDIR", folder.path().c_str());
            EXPECT_TRUE(nameInNoFolder(none).starts_with(folder.path("Take-")));
        }
        for (const char* unset : {static_cast<const char*>(nullptr), ""}) {
            const support::EnvironmentVariable variable("TMPDIR", unset);
            EXPECT_TRUE(nameInNoFolder(none).starts_with("/tmp/Take-"));
        }
    }
}

TEST(TemporaryFileName, ReportsAFolderThatCannotBeUsed) {
    const support::TemporaryFolder folder;
    const std::pair<std::string, int> refused[] = {
        {folder.write("file", ""), ENOTDIR},
        {folder.path(std::string(300, 'x')), ENAMETOOLONG},
    };
    for (const auto& [path, code] : refused) {
        try {
            temporaryName(path, "Take");
            ADD_FAILURE() << "nothing was thrown for " << path;
        } catch (const CException& exception) {
            EXPECT_EQ(exception.getType(), kFileIOError);
            EXPECT_EQ(exception.getCode(), code);
            EXPECT_NE(exception.getMessage().find(path), std::string::npos) << exception.getMessage();
        }
    }
    EXPECT_THROW(temporaryName(std::string("/tmp\0x", 6), "Take"), CParamException);
    EXPECT_THROW(FileUtilities::generateTemporaryFileName(CSTR("/tmp"), nullptr), CNullPointerException);
}

}  // namespace
}  // namespace halyard
