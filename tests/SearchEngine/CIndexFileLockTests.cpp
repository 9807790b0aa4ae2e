// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace marl {
namespace {

using support::makeIndex;
using support::openIndex;

class IndexFileLocks : public testing::Test {
protected:
    support::TemporaryFolder folder;
    std::string path = folder.path("Search Index.txt");
};

/// Whether somebody else holds a lock on a byte of the file that keeps `type` away.
bool isLocked(const std::string& path, std::int64_t byte, short type) {
    const int descriptor = ::open(path.c_str(), O_RDWR);
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    EXPECT_EQ(::fcntl(descriptor, F_OFD_GETLK, &lock), 0);
    ::close(descriptor);
    return lock.l_type != F_UNLCK;
}

constexpr std::int64_t kUpdateByte = std::int64_t{1} << 62;
constexpr std::int64_t kContentsByte = kUpdateByte + 1;

TEST_F(IndexFileLocks, RemovesNoFileThatTookItsName) {
    const CIndexFileRef first = makeIndex(path), second = openIndex(path);
    first->removeFile();
    const CIndexFileRef other = makeIndex(path);
    second->removeFile();
    EXPECT_FALSE(other->isDeleted());
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(IndexFileLocks, HasOneUpdater) {
    const CIndexFileRef first = makeIndex(path), second = openIndex(path);
    EXPECT_TRUE(first->lockForUpdate());
    EXPECT_FALSE(first->lockForUpdate()) << "not twice";
    EXPECT_FALSE(second->lockForUpdate());
    EXPECT_TRUE(isLocked(path, kUpdateByte, F_RDLCK));
    EXPECT_FALSE(isLocked(path, kUpdateByte - 1, F_WRLCK));
    EXPECT_FALSE(isLocked(path, kContentsByte, F_WRLCK));
    first->unlockAfterUpdate();
    EXPECT_TRUE(second->lockForUpdate());
    EXPECT_FALSE(first->lockForUpdate());
    second->unlockAfterUpdate();
    EXPECT_FALSE(isLocked(path, kUpdateByte, F_WRLCK));
    EXPECT_TRUE(openIndex(path)->lockForUpdate()) << "and goes with its holder";
    EXPECT_TRUE(first->lockForUpdate());
}

TEST_F(IndexFileLocks, HasManyReadersOrOneWriter) {
    const CIndexFileRef first = makeIndex(path), second = openIndex(path);
    {
        const CIndexFile::ContentsScope one(*first, false), other(*second, false);
        EXPECT_FALSE(isLocked(path, kContentsByte, F_RDLCK));
        EXPECT_TRUE(isLocked(path, kContentsByte, F_WRLCK));
        EXPECT_FALSE(isLocked(path, kUpdateByte, F_WRLCK));
    }
    EXPECT_FALSE(isLocked(path, kContentsByte, F_WRLCK));
    std::atomic<bool> isReleased = false;
    std::thread reader;
    {
        const CIndexFile::ContentsScope writer(*first, true);
        EXPECT_TRUE(isLocked(path, kContentsByte, F_RDLCK));
        reader = std::thread([&] {
            const CIndexFile::ContentsScope waiting(*second, false);
            EXPECT_TRUE(isReleased);
        });
        isReleased = true;
    }
    reader.join();
}

/// Runs `action` in a process of its own, which ends with what it returns.
pid_t inAnotherProcess(const std::function<int()>& action) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(action());
    return child;
}

int resultOf(pid_t child) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(IndexFileLocks, ExcludesOtherProcesses) {
    const CIndexFileRef file = makeIndex(path);
    const auto opened = [&] { return static_cast<int>(openIndex(path)->lockForUpdate()); };
    EXPECT_EQ(resultOf(inAnotherProcess(opened)), 1);
    EXPECT_TRUE(file->lockForUpdate());
    EXPECT_EQ(resultOf(inAnotherProcess(opened)), 0);
    EXPECT_EQ(resultOf(inAnotherProcess([&] { return static_cast<int>(file->lockForUpdate()); })), 0)
        << "nor by who inherits the object";
    EXPECT_EQ(resultOf(inAnotherProcess(opened)), 0) << "whose end does not release it";
    file->unlockAfterUpdate();

    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t holder = inAnotherProcess([&] {
        const CIndexFileRef own = openIndex(path);
        const char isHeld = own->lockForUpdate();
        if (::write(ends[1], &isHeld, 1) == 1) ::pause();
        return 0;
    });
    char isHeld = 0;
    EXPECT_EQ(::read(ends[0], &isHeld, 1), 1);
    EXPECT_EQ(isHeld, 1);
    EXPECT_FALSE(file->lockForUpdate());
    ::kill(holder, SIGKILL);
    EXPECT_EQ(resultOf(holder), -1);
    EXPECT_TRUE(file->lockForUpdate()) << "a lock goes with its holder when that is killed";
    for (const int end : ends) ::close(end);
}

}  // namespace
}  // namespace marl
