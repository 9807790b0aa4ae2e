// SPDX-License-Identifier: MIT
/// What is left of a file when its writer is killed, or the disk is full.
#include "FaultyDisk.h"
#include "Witness.h"
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {
namespace {

using Fault = FaultyDisk::Fault;
using marl::IFileWriterRef;

/// All containers, with an odd number of bytes after every odd block and without.
const WrittenFormat kFormats[] = {{Container::kAIFF, 2, 16},      {Container::kAIFF, 1, 24},
                                  {Container::kWAV, 1, 8},        {Container::kWAV, 2, 24},
                                  {Container::kQuickTime, 1, 24}, {Container::kQuickTime, 2, 32}};

constexpr int kFramesInBlock = 501;

/// A recording in blocks of random samples; the same block is the same in every run.
class Recording {
public:
    Recording(const TemporaryFolder& folder, const WrittenFormat& format)
        : m_format(format), m_path(folder.path(format.fileName())) {}

    const std::string& path() const { return m_path; }

    void open(bool overwrite = true) {
        const LoopDescriptionRef loop = describe(m_format);
        loop->setNumberOfBeats(4);
        m_writer = newWriter(m_format.container, m_path, loop, overwrite);
    }

    std::string block(int index) const {
        return randomSamples(m_format, kFramesInBlock * m_format.channels, static_cast<unsigned>(index));
    }

    void writeBlock(int index) {
        const auto count = static_cast<unsigned long>(kFramesInBlock * m_format.channels);
        m_writer->writeSamples(block(index).data(), static_cast<unsigned long>(index) * count, count);
    }

    /// Checks that the file opens, for us and for libsndfile, and holds `blocks` blocks, or `blocks` + 1 when
    /// `orOneMore`, and nothing but these.
    void expectBlocks(int blocks, bool orOneMore = false) const {
        std::string expected;
        for (int i = 0; i < blocks + orOneMore; ++i) expected += block(i);
        expected = asDelivered(m_format, expected);
        const std::string delivered = deliveredSamples(m_path, m_format);
        const std::size_t least = asDelivered(m_format, block(0)).size() * static_cast<std::size_t>(blocks);
        EXPECT_TRUE(delivered.size() == expected.size() || (orOneMore && delivered.size() == least));
        EXPECT_TRUE(delivered == expected.substr(0, delivered.size()));
        if (m_format.container == Container::kQuickTime) return;  // what is promised in vain was delivered
        expectFrontWithin(delivered.size() / bytesOfDeliveredFrame());
        expectWitnessAgrees(m_path, m_format, delivered.size() / bytesOfDeliveredFrame());
    }

private:
    std::size_t bytesOfDeliveredFrame() const {
        return asDelivered(m_format, silence(m_format, m_format.channels)).size();
    }

    /// The numbers at the front may fall short of the samples, but never promise more.
    void expectFrontWithin(std::size_t frames) const {
        const std::string contents = contentsOf(m_path);
        const bool isAIFF = m_format.container == Container::kAIFF;
        const char* const size = contents.data() + 4;
        EXPECT_LE(isAIFF ? platform::loadBig32(size) : platform::loadLittle32(size), contents.size() - 8);
        if (isAIFF) {
            EXPECT_LE(platform::loadBig32(contents.data() + 22), frames) << "in 'COMM'";
        }
    }

    WrittenFormat m_format;
    std::string m_path;
    IFileWriterRef m_writer;
};

/// Runs `action` in a process of its own and returns that one's id. Errors of the action end it.
pid_t inAnotherProcess(const std::function<void()>& action) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    try {
        action();
    } catch (...) {
        ::_exit(2);
    }
    ::_exit(0);
}

bool wasKilled(pid_t child) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

/// How often pwrite was called when each of `blocks` blocks was written; first, when the file was created.
std::vector<int> callsAfterEachBlock(Recording& recording, int blocks) {
    const FaultyDisk disk(Fault::kNone);
    std::vector<int> calls;
    recording.open();
    calls.push_back(disk.calls());
    for (int i = 0; i < blocks; ++i) {
        recording.writeBlock(i);
        calls.push_back(disk.calls());
    }
    return calls;
}

TEST(WriterCrash, LeavesEveryWrittenBlockWhereverItIsKilled) {
    constexpr int kBlocks = 3;
    for (const WrittenFormat& format : kFormats) {
        const TemporaryFolder folder;
        Recording recording(folder, format);
        const std::vector<int> calls = callsAfterEachBlock(recording, kBlocks);
        for (int killedAt = calls.front() + 1; killedAt <= calls.back(); ++killedAt) {
            SCOPED_TRACE(testing::Message() << format << ", killed at write " << killedAt);
            std::filesystem::remove(recording.path());
            ASSERT_TRUE(wasKilled(inAnotherProcess([&] {
                const FaultyDisk disk(Fault::kKill, killedAt);
                recording.open();
                for (int i = 0; i < kBlocks; ++i) recording.writeBlock(i);
            })));
            const auto unfinished = std::lower_bound(calls.begin(), calls.end(), killedAt);
            recording.expectBlocks(static_cast<int>(unfinished - calls.begin()) - 1, true);
        }
    }
}

TEST(WriterCrash, LeavesThePastOfARecordingThatIsKilledAtAnyMoment) {
    constexpr int kRounds = 8, kMostBlocks = 2000;
    std::mt19937 random(7);
    for (int round = 0; round < kRounds; ++round) {
        const TemporaryFolder folder;
        const WrittenFormat& format = kFormats[static_cast<std::size_t>(round) % std::size(kFormats)];
        Recording recording(folder, format);
        recording.open();
        const auto start = std::filesystem::file_size(recording.path());
        const auto enough = start + random() % 200000;
        const pid_t child = inAnotherProcess([&] {
            for (int i = 0; i < kMostBlocks; ++i) recording.writeBlock(i);
            for (;;) ::pause();
        });
        while (std::filesystem::file_size(recording.path()) < enough &&
               ::waitpid(child, nullptr, WNOHANG) == 0)
            ::usleep(100);
        ::kill(child, SIGKILL);
        ASSERT_TRUE(wasKilled(child));
        SCOPED_TRACE(testing::Message() << format << ", round " << round);
        // Of the bytes that are there, at most one block is not stated, or stated by one number only.
        const auto block = static_cast<std::uintmax_t>(kFramesInBlock * format.bytesPerFrame());
        const auto there = std::filesystem::file_size(recording.path()) - start;
        const int whole = static_cast<int>(there / block);
        recording.expectBlocks(there % block > 1 || whole == 0 ? whole : whole - 1,
                               there % block <= 1 && whole > 0);
    }
}

TEST(WriterCrash, KeepsAllBlocksBeforeTheDiskIsFullAndGoesOnWhenThereIsRoomAgain) {
    for (const WrittenFormat& format : kFormats) {
        SCOPED_TRACE(testing::Message() << format);
        const TemporaryFolder folder;
        Recording recording(folder, format);
        recording.open();
        recording.writeBlock(0);
        const auto fileSize = std::filesystem::file_size(recording.path());
        rlimit before;
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit tight{static_cast<rlim_t>(fileSize + 100), before.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
        int error = 0;
        try {
            recording.writeBlock(1);
        } catch (const halyard::CException& failure) {
            error = failure.getCode();
        }
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        std::signal(SIGXFSZ, handler);
        EXPECT_EQ(error, EFBIG);
        expectTrueHeader(recording.path(), format, kFramesInBlock);
        recording.expectBlocks(1);
        recording.writeBlock(1);
        expectTrueHeader(recording.path(), format, 2 * kFramesInBlock);
        recording.expectBlocks(2);
    }
}

TEST(WriterCrash, SurvivesAFailureOfEveryWrite) {
    constexpr int kBlocks = 3;
    for (const WrittenFormat& format : kFormats) {
        const TemporaryFolder folder;
        Recording recording(folder, format);
        const std::vector<int> calls = callsAfterEachBlock(recording, kBlocks);
        for (const Fault fault : {Fault::kError, Fault::kHalfThenError, Fault::kInterrupted, Fault::kShort}) {
            for (int failing = calls.front() + 1; failing <= calls.back(); ++failing) {
                SCOPED_TRACE(testing::Message()
                             << format << ", fault " << static_cast<int>(fault) << " at write " << failing);
                recording.open();
                int errors = 0;
                const FaultyDisk disk(fault, failing - calls.front());
                for (int i = 0; i < kBlocks; ++i) {
                    try {
                        recording.writeBlock(i);
                    } catch (const halyard::CException& failure) {
                        EXPECT_EQ(failure.getCode(), ENOSPC);
                        EXPECT_NE(failure.getMessage().find(recording.path()), std::string::npos);
                        recording.expectBlocks(i, true);
                        ++errors;
                        --i;  // once more
                    }
                }
                EXPECT_EQ(errors, fault == Fault::kError || fault == Fault::kHalfThenError ? 1 : 0);
                expectTrueHeader(recording.path(), format, kBlocks * kFramesInBlock);
                recording.expectBlocks(kBlocks);
            }
        }
    }
}

TEST(WriterCrash, LeavesNoFileAndTheOldOneAloneWhenTheHeadCannotBeWritten) {
    for (const WrittenFormat& format : kFormats) {
        const TemporaryFolder folder;
        Recording recording(folder, format);
        for (const Fault fault : {Fault::kError, Fault::kHalfThenError}) {
            const FaultyDisk disk(fault, 1);
            EXPECT_THROW(recording.open(), halyard::CException);
        }
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

        folder.write(format.fileName(), "the old one");
        for (const Fault fault : {Fault::kError, Fault::kHalfThenError}) {
            const FaultyDisk disk(fault, 1);
            EXPECT_THROW(recording.open(), halyard::CException);
        }
        EXPECT_EQ(contentsOf(recording.path()), "the old one");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }
}

}  // namespace
}  // namespace support
