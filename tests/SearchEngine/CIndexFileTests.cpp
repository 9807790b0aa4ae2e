// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"
#include "support/Bytes.h"
#include "support/DocumentedFile.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/foundation/CException.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>

#include <sys/resource.h>
#include <sys/stat.h>

namespace marl {
namespace {

using halyard::CException;
using support::add;
using support::Bytes;
using support::contentsOf;
using support::entriesOf;
using support::makeIndex;
using support::openIndex;
using support::pathsFound;
using support::rewrite;
using Entries = std::vector<std::pair<std::string, std::int32_t>>;
using Paths = std::vector<std::string>;

class IndexFile : public testing::Test {
protected:
    std::string bytes() const { return contentsOf(path); }
    std::string bytes(std::size_t offset, std::size_t count) const { return bytes().substr(offset, count); }

    support::TemporaryFolder folder;
    std::string path = folder.path("Search Index.txt");
};

TEST_F(IndexFile, StartsEmptyAndTakesItsFirstRecordBehindTheHeader) {
    const mode_t mask = ::umask(077);
    CIndexFileRef file(new CIndexFile(halyard::CSTR(path), true));
    ::umask(mask);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0666));
    EXPECT_EQ(file->getFullPath()->getStringRef(), path);
    EXPECT_EQ(file->getVersion(), 2);
    EXPECT_EQ(file->getIntegrityFlag(), 0u);
    EXPECT_TRUE(file->getEnabled());
    EXPECT_EQ(file->getState(), kIndexIsNew);
    EXPECT_EQ(file->getFileCount(), 0);
    EXPECT_EQ(file->getRootDirectory(), "");
    EXPECT_FALSE(file->isUnderMutexControl());
    EXPECT_EQ(bytes(), "") << "nothing is written yet";

    EXPECT_EQ(add(*file, {.path = "/A", .genre = "Funk"}), 1);
    EXPECT_EQ(bytes().size(), 2528u);
    file->flushChanges();
    Bytes header;
    header.big32(2)
        .big32(0xABCDDCBA)
        .big32(1)
        .big32(0)
        .big32(1)
        .big16(1)
        .zeros(2)
        .big64(2528)
        .big32(1)
        .zeros(1028);
    EXPECT_EQ(bytes(0, 1064), header.view());
    EXPECT_EQ(bytes(1064, 4), Bytes().big32(1).view());
    EXPECT_EQ(bytes().substr(2528), Bytes().zeros(4).field("Funk", 30).zeros(2).big32(1).view());

    file->setEnabled(false);
    file->setState(kIndexIsIncomplete);
    file = {};  // flushes
    file = openIndex(path);
    EXPECT_FALSE(file->getEnabled());
    EXPECT_EQ(file->getState(), kIndexIsIncomplete);
    EXPECT_EQ(file->getFileCount(), 1);
    EXPECT_EQ(entriesOf(*file), (Entries{{"Funk", 1}}));
}

TEST_F(IndexFile, IsNothingButARegularFile) {
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    const struct {
        std::string path;
        bool create;
        int code;
    } table[] = {{folder.path(), false, EISDIR},       {folder.path(), true, EISDIR},
                 {folder.path("pipe"), false, EINVAL}, {"/dev/full", false, EINVAL},
                 {folder.path("none"), false, ENOENT}, {folder.path("none/none"), true, ENOENT}};
    for (const auto& [name, create, code] : table) {
        try {
            const CIndexFile file(halyard::CSTR(name), create);
            ADD_FAILURE() << name;
        } catch (const CException& exception) {
            EXPECT_EQ(exception.getMessage(), "failed to open file '" + name + "'");
            EXPECT_EQ(exception.getType(), halyard::kFileIOError);
            EXPECT_EQ(exception.getCode(), code) << name;
        }
    }
    EXPECT_THROW(CIndexFile({}, true), halyard::CNullPointerException);
}

TEST_F(IndexFile, WritesItsHeaderForAChangeButNotForAState) {
    const CIndexFileRef file = makeIndex(path);
    file->flushChanges();
    const struct {
        std::function<void()> change;
        std::size_t offset;
        Bytes written;
    } table[] = {
        {[&] { file->setVersion(3); }, 0, Bytes().big32(3)},
        {[&] { file->setEnabled(false); }, 8, Bytes().big32(0)},
        {[&] { file->incrementFileIndex(); }, 16, Bytes().big32(1)},
        {[&] { file->setRootDirectory("/Else"); }, 36, Bytes().field("/Else", 10)},
    };
    std::int32_t state = 0;
    for (const auto& [change, offset, written] : table) {
        const std::string before = bytes();
        file->setState(++state % 4);
        file->flushChanges();
        EXPECT_TRUE(bytes() == before) << "a state alone is not written";
        change();
        EXPECT_TRUE(bytes() == before) << "nor is anything before a flush";
        file->flushChanges();
        EXPECT_EQ(bytes(offset, written.size()), written.view());
        EXPECT_EQ(bytes(12, 4), Bytes().big32(state % 4).view()) << "but goes with the rest";
    }
    file->setState(kIndexIsIncomplete);
    file->writeHeader();
    EXPECT_EQ(bytes(12, 4), Bytes().big32(5).view());
    file->flushIntegrityFlag(7);
    EXPECT_EQ(bytes(4, 4), Bytes().big32(7).view());
}

TEST_F(IndexFile, KeepsRootDirectoriesOfUpTo1024Bytes) {
    for (const std::size_t length : {0u, 1u, 1023u, 1024u, 1025u}) {
        const std::string root(length, '\xE9');
        makeIndex(path)->setRootDirectory(root);
        const CIndexFileRef file = openIndex(path);
        EXPECT_EQ(file->getState(), kIndexIsComplete);
        EXPECT_EQ(file->getRootDirectory(), root.substr(0, 1024));
    }
}

TEST_F(IndexFile, ReadsAndWritesNothingForIdentifierZero) {
    const CIndexFileRef file = makeIndex(path);
    add(*file, {.path = "/A"});
    file->flushChanges();
    const std::string before = bytes();
    CFileIndexInfo record = support::recordOf({.path = "/Mine"}).first;
    file->readFileInfo(0, record);
    EXPECT_STREQ(record.getFileName(), "/Mine");
    file->writeFileInfo(0, record);
    for (const std::int32_t past : {2, std::numeric_limits<std::int32_t>::max()}) {
        file->readFileInfo(past, record);
        EXPECT_STREQ(record.getFileName(), "/Mine") << "the file does not hold it";
    }
    for (const std::int32_t negative : {-1, std::numeric_limits<std::int32_t>::min()}) {
        for (const bool write : {false, true}) {
            try {
                write ? file->writeFileInfo(negative, record) : file->readFileInfo(negative, record);
                ADD_FAILURE() << negative;
            } catch (const halyard::CParamException& exception) {
                EXPECT_EQ(exception.getMessage(),
                          "fileID must be greater than 0 (received " + std::to_string(negative) + ")");
            }
        }
    }
    file->flushChanges();
    EXPECT_TRUE(bytes() == before);
    file->readFileInfo(1, record);
    EXPECT_STREQ(record.getFileName(), "/A");
}

TEST_F(IndexFile, KeepsEntriesOfOneKeyInTheOrderOfTheirInsertion) {
    CIndexFileRef file = makeIndex(path);
    add(*file, {.path = "/A", .genre = "Funk", .descriptors = {"dry"}});
    add(*file, {.path = "/B", .genre = "funk", .descriptors = {"Dry"}});
    add(*file, {.path = "/C", .genre = "FUNK"});
    EXPECT_EQ(entriesOf(*file), (Entries{{"dry", 1}, {"Dry", 2}, {"Funk", 1}, {"funk", 2}, {"FUNK", 3}}));
    rewrite(*file, 1, {.path = "/A", .genre = "fUNK"});
    const Entries entries{{"Dry", 2}, {"funk", 2}, {"FUNK", 3}, {"fUNK", 1}};
    for (int opened = 0; opened < 3; ++opened) {
        EXPECT_EQ(entriesOf(*file), entries);
        EXPECT_EQ(pathsFound(*file, {"Funk"}), (Paths{"/A", "/B", "/C"}));
        file = {};
        file = openIndex(path);
    }
    const std::vector<std::int32_t> two{1, 3};
    file->removeEntriesFromSearchKeySet(two);
    file->removeEntriesFromSearchKeySet(9);
    EXPECT_EQ(entriesOf(*file), (Entries{{"Dry", 2}, {"funk", 2}}));
}

TEST_F(IndexFile, AppendsOverTheKeysAndWritesThemFurtherOn) {
    for (int count = 1; count <= 5; ++count) {  // opened anew for each
        const CIndexFileRef file = count == 1 ? makeIndex(path) : openIndex(path);
        const std::string name = std::to_string(count);
        EXPECT_EQ(add(*file, {.path = name, .genre = "Funk", .descriptors = {"Dry", "Clean"}}), count);
        file->flushChanges();
        const auto location = static_cast<std::size_t>(1064 + 1464 * count);
        EXPECT_EQ(bytes(24, 12), Bytes().big64(location).big32(3 * count).view());
        EXPECT_EQ(bytes().size(), location + static_cast<std::size_t>(120 * count));
        EXPECT_EQ(bytes(location - 1464, 4), Bytes().big32(count).view());
        EXPECT_EQ(bytes(location - 1464 + 436, 3), Bytes().field(name, 3).view());
    }
    const CIndexFileRef file = openIndex(path);
    file->removeEntriesFromSearchKeySet(3);
    const std::size_t length = bytes().size();
    file->flushChanges();
    EXPECT_EQ(bytes().size(), length) << "what lies behind the keys is stale";
    EXPECT_EQ(entriesOf(*openIndex(path)).size(), 12u);
}

TEST_F(IndexFile, IgnoresReservedAndPaddingBytes) {
    support::buildExample(path);
    std::string file = bytes();
    const Entries entries = entriesOf(*openIndex(path));
    const std::size_t keys = 1064 + 3 * 1464;
    for (std::size_t entry = keys; entry < file.size(); entry += 40) {
        file.replace(entry, 4, "\x01\x23\x45\x67");  // an address, as others write there
        file.replace(entry + 34, 2, "xx");
    }
    for (const std::size_t padding : {22u, 1061u, 1062u, 1063u}) file[padding] = 'x';
    file[20] = 9;  // reserved, and kept
    folder.write("Search Index.txt", file);
    const CIndexFileRef index = openIndex(path);
    EXPECT_EQ(index->getState(), kIndexIsComplete);
    EXPECT_EQ(entriesOf(*index), entries);
    index->writeHeader();
    EXPECT_EQ(bytes(20, 2), std::string("\x09\x01"));
}

TEST_F(IndexFile, MakesSureOfRoomBeforeAnythingIsOverwritten) {
    support::buildExample(path);
    const CIndexFileRef file = openIndex(path);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{static_cast<rlim_t>(bytes().size()), before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    int code = 0;
    try {
        file->reserve(1, 0);
    } catch (const CException& exception) {
        code = exception.getCode();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(code, EFBIG);
    EXPECT_EQ(entriesOf(*openIndex(path)), entriesOf(*file));
    file->reserve(2, 7);
    EXPECT_GE(bytes().size(), 1064u + 5 * 1464 + 40 * (7 + entriesOf(*file).size()));
    EXPECT_EQ(entriesOf(*openIndex(path)), entriesOf(*file));
}

TEST_F(IndexFile, GivesOutIdentifiersUpToTheLast) {
    const Bytes count = Bytes().big32(std::numeric_limits<std::int32_t>::max());
    makeIndex(path);
    std::string file = bytes();
    folder.write("Search Index.txt", file.replace(16, 4, count.view()));
    const CIndexFileRef index(new CIndexFile(halyard::CSTR(path), false));
    index->readHeader();
    CFileIndexInfo record;
    EXPECT_THROW(index->incrementFileIndex(), CException);
    EXPECT_THROW(index->appendFileInfo(record), CException);
    EXPECT_EQ(bytes().size(), 1064u);
}

TEST_F(IndexFile, IsRemovedWithAllThatItHeld) {
    support::buildExample(path);
    const CIndexFileRef file = openIndex(path);
    file->removeFile();
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(entriesOf(*file).empty());
    EXPECT_TRUE(pathsFound(*file, {}).empty());
    file->removeFile();
}

TEST_F(IndexFile, MakesItsKeysThoseOfTheRecords) {
    support::buildExample(path);
    CIndexFileRef file = openIndex(path);
    const Entries entries = entriesOf(*file);
    EXPECT_FALSE(file->matchKeysToRecords());
    const std::function<void()> changes[] = {
        [&] { file->removeEntriesFromSearchKeySet(1); },
        [&] {
            file->updateSearchKeySet(3, {{"More", 4, nullptr}});
        },
        [&] {
            file->updateSearchKeySet(3, {{"KICK", 1, nullptr}});
        },
        [&] {  // the keys of two files exchanged
            file->removeEntriesFromSearchKeySet(std::vector<std::int32_t>{2, 3});
            file->updateSearchKeySet(2, {{"Kick", 1, nullptr}});
            file->updateSearchKeySet(3, {{"jazz", 1, nullptr}});
        },
    };
    for (const auto& change : changes) {
        change();
        EXPECT_TRUE(file->matchKeysToRecords());
        EXPECT_EQ(entriesOf(*file), entries);
        file = {};
        file = openIndex(path);
        EXPECT_EQ(entriesOf(*file), entries);
        EXPECT_FALSE(file->matchKeysToRecords());
    }
}

TEST_F(IndexFile, TakesOverWhatAnotherObjectWrites) {
    const CIndexFileRef writer = makeIndex(path);
    add(*writer, {.path = "/A", .genre = "Funk"});
    writer->flushChanges();
    const CIndexFileRef reader = openIndex(path);
    add(*writer, {.path = "/B", .genre = "Funk"});
    writer->flushChanges();
    reader->reloadIfChanged();
    EXPECT_EQ(pathsFound(*reader, {"funk"}), (Paths{"/A", "/B"}));
    add(*reader, {.path = "/Own"});
    std::filesystem::resize_file(path, 100);
    reader->reloadIfChanged();
    EXPECT_EQ(reader->getFileCount(), 3) << "changes of one's own are not lost";
    reader->removeEntriesFromSearchKeySet(1);
    writer->reloadIfChanged();
    EXPECT_EQ(writer->getState(), kIndexIsDamaged);
    EXPECT_TRUE(pathsFound(*writer, {}).empty());
    reader->flushChanges();
    reader->removeFile();
    writer->reloadIfChanged();
    EXPECT_EQ(writer->getState(), kIndexIsNew);
    EXPECT_TRUE(entriesOf(*writer).empty());
}

// As by two writes within one tick of the clock that dates files: neither date nor length tells them apart.
TEST_F(IndexFile, SeesChangesOfOneMoment) {
    const auto now = std::filesystem::file_time_type::clock::now() + std::chrono::hours(1);
    const CIndexFileRef writer = makeIndex(path);
    add(*writer, {.path = "/A", .genre = "Funk"});
    CIndexFileRef reader;
    for (const bool isEnabled : {true, false, true, false}) {
        writer->setEnabled(isEnabled);
        rewrite(*writer, 1, {.path = "/A", .genre = isEnabled ? "Funk" : "Soul"});
        writer->flushChanges();
        std::filesystem::last_write_time(path, now);
        if (reader)
            reader->reloadIfChanged();
        else
            reader = openIndex(path);
        EXPECT_EQ(reader->getEnabled(), isEnabled);
        EXPECT_EQ(pathsFound(*reader, {"Funk"}), isEnabled ? Paths{"/A"} : Paths{});
    }
}

}  // namespace
}  // namespace marl
