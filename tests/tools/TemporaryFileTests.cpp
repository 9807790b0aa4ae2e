// SPDX-License-Identifier: MIT
#include <tools/marl/TemporaryFile.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <sys/wait.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace marl::tool {
namespace {

/// How a child process ends that sends itself `signal` while it has a temporary file: the wait status.
int statusAfter(int signal, const std::string& path, void (*disposition)(int)) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(signal, disposition);
        const TemporaryFile file(path);
        ::raise(signal);
        ::_exit(7);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

TEST(TemporaryFile, GoesWithTheProgram) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        const support::TemporaryFolder folder;
        const std::string path = folder.write("half", "written");
        const int status = statusAfter(signal, path, SIG_DFL);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_FALSE(std::filesystem::exists(path)) << signal;
    }
}

TEST(TemporaryFile, LeavesIgnoredSignalsIgnored) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("half", "written");
    const int status = statusAfter(SIGHUP, path, SIG_IGN);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(TemporaryFile, PutsSignalsBackAsTheyWere) {
    const support::TemporaryFolder folder;
    struct sigaction before {
    }, after{};
    ::sigaction(SIGINT, nullptr, &before);
    { const TemporaryFile file(folder.write("half", "written")); }
    ::sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_FALSE(std::filesystem::exists(folder.path("half")));
}

}  // namespace
}  // namespace marl::tool
