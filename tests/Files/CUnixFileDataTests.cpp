// SPDX-License-Identifier: MIT
#include "support/OpenedFile.h"

#include <MarlCore/Files/CMemoryFileData.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <random>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using marl::CMemoryFileData;
using marl::IFileDataRef;
using support::Bytes;
using support::TemporaryFolder;
using support::urlOf;

namespace {

IFileDataRef opened(const std::string& path, bool create = false, bool bigEndian = true) {
    return IFileDataRef(new CMemoryFileData(urlOf(path), create, bigEndian));
}

/// errno of the refusal to open `path`, and its message in `message`.
int refusal(const std::string& path, std::string& message, bool create = false) {
    try {
        opened(path, create);
    } catch (const halyard::CException& exception) {
        EXPECT_EQ(exception.getType(), halyard::kFileIOError);
        message = exception.getMessage();
        return exception.getCode();
    }
    return 0;
}

}  // namespace

TEST(UnixFileData, RefusesWhatIsNoRegularFile) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("loop", folder.path("loop").c_str()), 0);
    const struct {
        const char* name;
        int code;
    } rows[] = {
        {"missing", ENOENT}, {"", EISDIR}, {"pipe", EINVAL}, {"file/below", ENOTDIR}, {"loop", ELOOP}};
    for (const auto& row : rows) {
        std::string message;
        EXPECT_EQ(refusal(folder.path(row.name), message), row.code) << row.name;
        const std::string path = *row.name ? folder.path(row.name) : folder.path();
        EXPECT_EQ(message, "failed to open file '" + path + "'");
    }
    EXPECT_EQ(support::messageThrownBy([] { CMemoryFileData({}, false, true); }), "Error: fileURL is null!");
}

TEST(UnixFileData, CreatesAMissingFileOnlyWhenAsked) {
    const TemporaryFolder folder;
    const IFileDataRef data = opened(folder.path("new"), true);
    EXPECT_EQ(data->getFileLength(), 0);
    EXPECT_TRUE(data->atEOF());
    EXPECT_TRUE(std::filesystem::exists(folder.path("new")));
    std::string message;
    EXPECT_EQ(refusal(folder.path("nowhere/new"), message, true), ENOENT);
}

TEST(UnixFileData, ReadsNumbersInTheOrderOfTheFormat) {
    const TemporaryFolder folder;
    const std::string path = folder.write("f", Bytes().byte(0).byte(0).byte(1).byte(0).byte(7));
    EXPECT_EQ(opened(path, false, true)->readUInt32(), 256u);
    EXPECT_EQ(opened(path, false, false)->readUInt32(), 65536u);
    const IFileDataRef data = opened(path);
    data->seek(4, false);
    EXPECT_EQ(data->readUInt32(), 0x07000000u) << "what the file does not hold is zero";
    EXPECT_EQ(data->read4Char(), "");
    data->seek(-2, true);
    EXPECT_EQ(data->read4Char(), std::string("\0\7", 2));
}

TEST(UnixFileData, MovesItsReadPosition) {
    const TemporaryFolder folder;
    const IFileDataRef data = opened(folder.write("f", "0123456789"));
    EXPECT_EQ(data->seek(4, false), 4);
    EXPECT_EQ(data->read4Char(), "4567");
    EXPECT_EQ(data->currentMark(), 8);
    EXPECT_EQ(data->advance(-3), 5);
    EXPECT_EQ(data->seek(-6, true), -1) << "before the start";
    EXPECT_EQ(data->seek(-1, false), -1);
    EXPECT_EQ(data->currentMark(), 5) << "nothing has moved";
    EXPECT_FALSE(data->atEOF());
    EXPECT_EQ(data->seek(1000, false), 1000) << "behind the end is a position";
    EXPECT_TRUE(data->atEOF());
    EXPECT_EQ(data->seek(std::numeric_limits<long long>::max(), true), -1);
    char byte;
    EXPECT_EQ(data->readBytes(1, &byte), 0);
    data->rewindToStart();
    EXPECT_EQ(data->read4Char(), "0123");
    EXPECT_EQ(support::messageThrownBy([&] { data->readBytes(1, nullptr); }), "Error: buffer is null!");
}

TEST(UnixFileData, ReadsTheSameBytesInWhateverOrderAndPortion) {
    std::string contents(50000, '\0');
    std::mt19937 random(7);
    for (char& byte : contents) byte = static_cast<char>(random());
    const TemporaryFolder folder;
    const IFileDataRef data = opened(folder.write("f", contents));
    for (int i = 0; i < 20000; ++i) {
        const std::size_t start = random() % 51000, count = random() % (i % 10 == 0 ? 20000 : 50);
        std::string read(count + 1, '!');  // one guard byte
        data->seek(static_cast<long long>(start), false);
        const auto done =
            static_cast<std::size_t>(data->readBytes(static_cast<long long>(count), read.data()));
        const std::string expected = start < contents.size() ? contents.substr(start, count) : "";
        ASSERT_EQ(read.substr(0, done), expected) << "seed 7, read " << i;
        ASSERT_EQ(read.back(), '!');
        ASSERT_EQ(data->currentMark(), static_cast<long long>(start + done));
    }
}

TEST(UnixFileData, KeepsLengthAndDateOfTheMomentItWasOpened) {
    const TemporaryFolder folder;
    const std::string path = folder.write("f", std::string(10000, 'x'));
    const timespec times[2] = {{1, 2}, {0x12345678, 999999999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const IFileDataRef data = opened(path);
    ASSERT_EQ(::truncate(path.c_str(), 100), 0);
    EXPECT_EQ(data->getFileLength(), 10000);
    EXPECT_EQ(data->getFileModificationDate(), 0x12345678LL << 32 | 999999999);
    data->seek(50, false);
    std::string read(1000, '!');
    EXPECT_EQ(data->readBytes(1000, read.data()), 50) << "a file that shrinks gives what is left of it";
}

TEST(UnixFileData, LeavesNoDescriptorBehind) {
    const TemporaryFolder folder;
    const std::string path = folder.write("f", "x");
    const int before = ::open(path.c_str(), O_RDONLY);
    ::close(before);
    std::string message;
    for (int i = 0; i < 100; ++i) {
        opened(path);
        refusal(folder.path(), message);
    }
    const int after = ::open(path.c_str(), O_RDONLY);
    ::close(after);
    EXPECT_EQ(after, before);
}
