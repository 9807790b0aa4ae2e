// SPDX-License-Identifier: MIT
// Index files that are torn, damaged or no index files at all: they open, as damaged or with what is true.
#include "IndexedLoops.h"
#include "support/Bytes.h"
#include "support/DocumentedFile.h"
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include <sys/mman.h>
#include <unistd.h>

namespace marl {
namespace {

using support::Bytes;
using support::opensHonestly;

constexpr std::size_t kHeader = 1064, kRecord = 1464, kEntry = 40;
constexpr std::size_t kKeys = kHeader + 3 * kRecord;  // of the example

/// A file in memory, which opens by its path like any other: thousands are made and closed here, and on a
/// disk each waits until that has it.
class MemoryFile {
public:
    MemoryFile() = default;
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(m_descriptor); }

    void assign(std::string_view contents) const {
        EXPECT_EQ(::ftruncate(m_descriptor, 0), 0);
        EXPECT_EQ(::pwrite(m_descriptor, contents.data(), contents.size(), 0),
                  static_cast<ssize_t>(contents.size()));
    }
    const std::string& path() const { return m_path; }

private:
    int m_descriptor = ::memfd_create("index", MFD_CLOEXEC);
    std::string m_path = "/proc/self/fd/" + std::to_string(m_descriptor);
};

class DamagedIndexFile : public testing::Test {
protected:
    bool opensHonestlyWith(std::string_view contents) const {
        damaged.assign(contents);
        return opensHonestly(damaged.path());
    }

    support::TemporaryFolder folder;
    std::string path = folder.path("Search Index.txt");
    std::string whole = built();
    MemoryFile damaged;

private:
    std::string built() const {
        support::buildExample(path);
        return support::contentsOf(path);
    }
};

TEST_F(DamagedIndexFile, IsSeenWhereverItIsCut) {
    for (std::size_t length = 0; length <= whole.size(); ++length)
        EXPECT_EQ(opensHonestlyWith(std::string_view(whole).substr(0, length)), length == whole.size())
            << length;
    EXPECT_TRUE(opensHonestlyWith(whole + "stale"));
}

TEST_F(DamagedIndexFile, OpensHonestlyWithAnyByteChanged) {
    int seen = 0;
    for (std::size_t offset = 0; offset < whole.size(); ++offset) {
        for (const char flip : {'\x01', '\xFF'}) {
            SCOPED_TRACE(testing::Message() << "byte " << offset << " ^ " << int{flip});
            std::string changed = whole;
            changed[offset] = static_cast<char>(changed[offset] ^ flip);
            const bool isSeen = !opensHonestlyWith(changed);
            seen += isSeen;
            const bool isInIdentifier =
                offset >= kHeader && offset < kKeys && (offset - kHeader) % kRecord < 4;
            const bool isInHeader =
                (offset >= 4 && offset < 8) || (offset >= 16 && offset < 20) || (offset >= 24 && offset < 32);
            EXPECT_TRUE(isSeen || !(isInIdentifier || isInHeader));
        }
    }
    EXPECT_GT(seen, 2 * (4 + 4 + 8 + 3 * 4));
}

TEST_F(DamagedIndexFile, IsNotSearchedOnceAForgedHeaderOrEntryIsSeen) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    const struct {
        const char* fault;
        std::size_t offset;
        Bytes bytes;
    } table[] = {
        {"not closed cleanly", 4, Bytes().big32(0)},
        {"more records than there are", 16, Bytes().big32(4)},
        {"fewer records", 16, Bytes().big32(2)},
        {"no records", 16, Bytes().big32(0)},
        {"fewer than no records", 16, Bytes().big32(-1)},
        {"all the records that can be", 16, Bytes().big32(kMost)},
        {"keys elsewhere", 24, Bytes().big64(kKeys + kEntry)},
        {"keys in the header", 24, Bytes().big64(0)},
        {"keys before the file", 24, Bytes().big64(~std::uint64_t{0})},
        {"keys at the end of numbers", 24, Bytes().big64(0x7FFF'FFFF'FFFF'FFF0)},
        {"one key more", 32, Bytes().big32(8)},
        {"fewer than no keys", 32, Bytes().big32(-1)},
        {"all the keys that can be", 32, Bytes().big32(kMost)},
        {"a file without a number", kKeys + 36, Bytes().big32(0)},
        {"a file that has gone", kKeys + 36, Bytes().big32(-1)},
        {"a file that never was", kKeys + 36, Bytes().big32(4)},
        {"keys out of order", kKeys + 4, Bytes().text("Zoo")},
        {"a record under another number", kHeader + kRecord, Bytes().big32(3)},
        {"a record over the keys", kKeys, Bytes().big32(4)},
    };
    for (const auto& [fault, offset, bytes] : table) {
        EXPECT_FALSE(opensHonestlyWith(Bytes(whole).overwrite(offset, bytes).view())) << fault;
    }
}

TEST_F(DamagedIndexFile, OpensHonestlyWhenItsKeysAreHalfWritten) {
    const CIndexFileRef file = support::openIndex(path);
    support::rewrite(*file, 3,
                     {.path = "/Loops/Hit.wav", .instrument = "Bass", .descriptors = {"Dry", "Wet"}});
    file->flushChanges();
    const std::string after = support::contentsOf(path);
    const std::size_t records = after.size() - kKeys;
    for (std::size_t written = 0; written <= records; ++written) {
        SCOPED_TRACE(written);
        // Header and keys of before, and so much of the new keys; the records are new, or are not.
        for (const std::string& base :
             {whole, whole.substr(0, kHeader) + after.substr(kHeader, kKeys - kHeader) + whole.substr(kKeys)})
            opensHonestlyWith(base.substr(0, kKeys) + after.substr(kKeys, written) +
                              (kKeys + written < whole.size() ? base.substr(kKeys + written) : ""));
    }
}

TEST_F(DamagedIndexFile, MayBeNoIndexFileAtAll) {
    const struct {
        const char* fault;
        std::string contents;
    } table[] = {
        {"empty", ""},
        {"text", "This is not an index file.\n"},
        {"long text", std::string(9000, 'A')},
        {"zeros", std::string(9000, '\0')},
        {"ones", std::string(9000, '\xFF')},
        {"WAV", std::string(support::wavFile({}).view()) + std::string(2000, '\0')},
    };
    for (const auto& [fault, contents] : table) {
        EXPECT_FALSE(opensHonestlyWith(contents)) << fault;
        EXPECT_TRUE(support::contentsOf(damaged.path()) == contents) << "opening it changes nothing";
    }
}

}  // namespace
}  // namespace marl
