// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"
#include "support/Bytes.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/foundation/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>
#include <random>

#include <fcntl.h>
#include <unistd.h>

namespace marl {
namespace {

using support::Bytes;
using support::bytesOf;
using support::IndexedLoop;
using support::Keys;

/// An open file, with these bytes.
class OpenFile {
public:
    explicit OpenFile(const std::string& contents, int flags = O_RDWR)
        : m_descriptor(::open(m_folder.write("record", contents).c_str(), flags)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { ::close(m_descriptor); }
    int descriptor() const { return m_descriptor; }

private:
    support::TemporaryFolder m_folder;
    int m_descriptor;
};

TEST(CFileIndexInfo, StartsWithTheDefaults) {
    const auto before = static_cast<std::int32_t>(std::time(nullptr));
    const CFileIndexInfo record;
    EXPECT_GE(record.getIndexTime(), before);
    EXPECT_LE(record.getIndexTime(), std::time(nullptr));
    const Bytes expected =
        Bytes().big32(0).big32(record.getIndexTime()).big16(4).big16(4).big16(3).zeros(1450);
    EXPECT_EQ(bytesOf(record), expected.view());
}

TEST(CFileIndexInfo, HoldsEveryFieldAtItsPlace) {
    CFileIndexInfo record = support::recordOf({.path = "/Loops/A.aif",
                                               .instrument = "Bass",
                                               .subType = "Synthetic Bass",
                                               .genre = "Jazz",
                                               .descriptors = {"Dry", "Clean"}})
                                .first;
    record.setFileID(-0x01020304);
    record.setTimeSignature({-7, 0x0102});
    record.setKeyType(-2);
    record.setContentFileType(0x0304);
    const AdditionalFileInfo info{-1.0f, 57, -6, true, false, true};
    record.setAdditionalInfo(info);
    Bytes expected;
    expected.big32(-0x01020304).big32(1'000'000'000).big16(-7).big16(0x0102).big16(-2).zeros(2);
    expected.big32(0xBF800000).big32(57).big32(-6).big32(1).big32(0).big32(1);
    expected.field("Bass", 30).field("Synthetic Bass", 30).field("Jazz", 30).zeros(2);
    expected.big32(2).field("Clean", 30).field("Dry", 30).zeros(240);
    expected.field("/Loops/A.aif", 1025).zeros(1).big16(0x0304);
    EXPECT_EQ(bytesOf(record), expected.view());

    EXPECT_EQ(record.getFileID(), -0x01020304);
    EXPECT_EQ(record.getTimeSignature(), (tagging::TimeSignature{-7, 0x0102}));
    EXPECT_EQ(record.getKeyType(), -2);
    EXPECT_EQ(record.getContentFileType(), 0x0304);
    EXPECT_EQ(record.getAdditionalInfo(), info);
}

TEST(CFileIndexInfo, CutsLongNamesAndLeavesTheirKeysOut) {
    for (const std::size_t length : {0u, 1u, 1023u, 1024u, 1025u, 1026u, 5000u}) {
        const std::string name(length, 'n');
        const auto [record, keys] =
            support::recordOf({.path = name, .instrument = "Bass", .descriptors = {"Dry"}});
        const bool isWhole = length <= 1024;
        EXPECT_EQ(record.getFileName(), name.substr(0, 1024)) << length;
        EXPECT_EQ(keys.size(), isWhole ? 2u : 0u) << length;
        EXPECT_EQ(record.getInstrument().view(), isWhole ? "Bass" : "") << length;
        EXPECT_EQ(record.getDescriptorCount(), isWhole) << length;
    }
    for (const char* const name : {"/Loops/\xFF\xFE\x80.aif", "/Loops/two\nlines\r.aif", "/Loops/\x01.aif"})
        EXPECT_STREQ(support::recordOf({.path = name}).first.getFileName(), name);
    Keys keys;
    try {
        const CFileIndexInfo record(nullptr, {}, keys);
        ADD_FAILURE() << "a null name is refused";
    } catch (const halyard::CNullPointerException& exception) {
        EXPECT_EQ(exception.getMessage(), "Error: fileName is null!");
    }
}

TEST(CFileIndexInfo, TakesKeysFromTagsByCategory) {
    // In the order of a set, a later tag of a category replaces an earlier one.
    const Keys tags{{"Kick", 1, nullptr}, {"Bass", 1, nullptr}, {"Synth", 2, nullptr}, {"Funk", 3, nullptr},
                    {"Dry", 4, nullptr},  {"Odd", 0, nullptr},  {"Odder", 5, nullptr}};
    Keys keys{{"Before", 0, nullptr}};
    const CFileIndexInfo record("/A", tags, keys);
    EXPECT_EQ(record.getInstrument().view(), "Kick");
    EXPECT_EQ(record.getInstrumentSubType().view(), "Synth");
    EXPECT_EQ(record.getGenre().view(), "Funk");
    EXPECT_EQ(record.getDescriptorAtIndex(0).view(), "Dry");
    std::string text;
    for (const SearchKeyInfo& key : keys)
        text.append(key.key.view()) += ' ' + std::to_string(key.category) + key.parent.getCharPtr() + ", ";
    EXPECT_EQ(text, "Before 0, Dry 4, Funk 3, Kick 1, Synth 2Kick, ");
}

TEST(CFileIndexInfo, IsNotFoundByFieldsThatAreNoValidKeys) {
    const auto [record, keys] = support::recordOf({.path = "/A",
                                                   .instrument = "\x80"
                                                                 "ass",
                                                   .subType = "\xC3\xA9",
                                                   .genre = "\xFF",
                                                   .descriptors = {"\xC3\xA9t\xC3\xA9", "Dry"}});
    ASSERT_EQ(keys.size(), 2u) << "descriptors are taken whatever they are";
    std::vector<std::string> visited;
    record.forEachKey([&](const SearchKey& key, std::int32_t) { visited.emplace_back(key.view()); });
    EXPECT_EQ(visited, std::vector<std::string>{"Dry"});
    EXPECT_FALSE(
        record.carries(SearchKey("\x80"
                                 "ass")));
    EXPECT_TRUE(record.carries(SearchKey("DRY")));
    EXPECT_TRUE(record.carries(SearchKey("\xC3\xA9t\xC3\xA9"))) << "or no search could find it";
    EXPECT_FALSE(record.carries(SearchKey()));
}

TEST(CFileIndexInfo, WritesAnEleventhDescriptorOverTheName) {
    const std::string path = "/Loops/A name longer than the thirty bytes of a key.aif";
    for (int count = 0; count <= 13; ++count) {
        SCOPED_TRACE(count);
        IndexedLoop loop{.path = path};
        for (int i = 0; i < count; ++i)
            loop.descriptors.push_back(std::string("Word ").append(1, static_cast<char>('A' + i)));
        const auto [record, keys] = support::recordOf(loop);
        const int taken = std::min(count, 11);
        EXPECT_EQ(record.getDescriptorCount(), taken);
        EXPECT_EQ(keys.size(), static_cast<std::size_t>(taken));
        for (int i = 0; i < taken; ++i)
            EXPECT_EQ(record.getDescriptorAtIndex(i).view(), loop.descriptors[static_cast<std::size_t>(i)]);
        const std::string image = bytesOf(record);
        EXPECT_EQ(image.substr(436, 30),
                  count <= 10 ? path.substr(0, 30) : Bytes().field("Word K", 30).view());
        EXPECT_EQ(image.substr(466, 25), path.substr(30, 25)) << "the rest of the name stays";
        EXPECT_EQ(record.searchKeys().size(), keys.size());
    }
}

TEST(CFileIndexInfo, RefusesDescriptorsFromItsCountOn) {
    const CFileIndexInfo record = support::recordOf({.path = "/A", .descriptors = {"Dry", "Clean"}}).first;
    for (const int index : {2, 3, 11, std::numeric_limits<int>::max()}) {
        try {
            record.getDescriptorAtIndex(index);
            ADD_FAILURE() << index;
        } catch (const halyard::CParamException& exception) {
            EXPECT_EQ(exception.getMessage(), "index out of range (got " + std::to_string(index) +
                                                  ", but there are only 2 descriptors)");
        }
    }
    for (const int index : {-1, std::numeric_limits<int>::min()})
        EXPECT_EQ(record.getDescriptorAtIndex(index).view(), "") << "not checked, without harm";
}

TEST(CFileIndexInfo, TakesAnyBytesWithoutHarm) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t count : {-kMost - 1, -1, 0, 10, 11, 12, kMost}) {
        Bytes bytes(std::string(1464, '\x41'));
        const CFileIndexInfo record =
            support::recordFromBytes(bytes.overwrite(132, Bytes().big32(count)).view());
        EXPECT_EQ(std::string_view(record.getFileName()).size(), 1024u);
        EXPECT_EQ(record.getInstrument().view(), std::string(29, 'A'));
        EXPECT_EQ(record.getDescriptorCount(), count);
        int visited = 0;
        record.forEachKey([&](const SearchKey&, std::int32_t) { ++visited; });
        EXPECT_EQ(visited, 3 + std::clamp(count, 0, 11));
        if (count > 11) {
            EXPECT_EQ(record.getDescriptorAtIndex(count - 1).view(), "");
        }
    }
    std::mt19937 random(7);
    std::string noise(1464, '\0');
    for (int round = 0; round < 200; ++round) {
        for (char& byte : noise) byte = static_cast<char>(random());
        const CFileIndexInfo record = support::recordFromBytes(noise);
        for (const SearchKeyInfo& info : record.searchKeys()) EXPECT_TRUE(record.carries(info.key));
        EXPECT_EQ(record.searchKeys().contains({SearchKey("none"), 0, {}}),
                  record.carries(SearchKey("none")));
    }
}

TEST(CFileIndexInfo, IsWrittenAndReadAtThePositionOfTheFile) {
    const CFileIndexInfo first = support::recordOf({.path = "/First", .genre = "Funk"}).first;
    const CFileIndexInfo second = support::recordOf({.path = "/Second"}).first;
    const OpenFile file("");
    first.writeToFile(file.descriptor());
    second.writeToFile(file.descriptor());
    EXPECT_EQ(::lseek(file.descriptor(), 0, SEEK_SET), 0);
    CFileIndexInfo record;
    for (const CFileIndexInfo& expected : {first, second, second}) {  // what is short leaves it as it is
        record.readFromFile(file.descriptor());
        EXPECT_EQ(bytesOf(record), bytesOf(expected));
    }
    EXPECT_EQ(::ftruncate(file.descriptor(), 1463), 0);
    EXPECT_EQ(::lseek(file.descriptor(), 0, SEEK_SET), 0);
    record.readFromFile(file.descriptor());
    EXPECT_EQ(bytesOf(record), bytesOf(second));
}

TEST(CFileIndexInfo, SaysWhatTheSystemRefused) {
    CFileIndexInfo record;
    char written[80];
    std::snprintf(written, sizeof written, "failed to write file index info of 1464 bytes at 0x%x",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(&record)));
    const OpenFile readOnly(std::string(2000, 'x'), O_RDONLY), writeOnly(std::string(2000, 'x'), O_WRONLY);
    const int full = ::open("/dev/full", O_WRONLY);
    const struct {
        std::function<void()> action;
        std::string message;
        int code;
    } table[] = {
        {[&] { record.writeToFile(readOnly.descriptor()); }, written, EBADF},
        {[&] { record.writeAt(readOnly.descriptor(), 0); }, written, EBADF},
        {[&] { record.writeToFile(full); }, written, ENOSPC},
        {[&] { record.readFromFile(writeOnly.descriptor()); }, "failed to read file index info of 1464 bytes",
         EBADF},
        {[&] { record.readAt(writeOnly.descriptor(), 0); }, "failed to read file index info of 1464 bytes",
         EBADF},
    };
    for (const auto& [action, message, code] : table) {
        try {
            action();
            ADD_FAILURE() << message;
        } catch (const halyard::CException& exception) {
            EXPECT_EQ(exception.getMessage(), message);
            EXPECT_EQ(exception.getType(), halyard::kFileIOError);
            EXPECT_EQ(exception.getCode(), code);
        }
    }
    ::close(full);
}

}  // namespace
}  // namespace marl
