// SPDX-License-Identifier: MIT
/// Every host writes the same index file for the same loops: PortableIndex.md shows it byte for byte.
#include "IndexFilePlaces.h"
#include "SearchLibrary.h"
#include "support/DocumentedFile.h"
#include "support/EnvironmentVariable.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace support {
namespace {

using namespace std::string_literals;

constexpr std::size_t kHeaderSize = 1064, kRecordSize = 1464, kPathSize = 1025;
constexpr std::size_t kRecords = 6;  // that of the file that has gone included
constexpr std::size_t kRootOffset = 36, kTimeOffset = 4, kFileNameOffset = 436;  // in header, record, record

/// A tempo that no float holds, words in UTF-8, spellings other than the dictionary's, a key that is cut.
Bytes taggedLoop(const std::string& genre) {
    AIFFContents contents;
    contents.common = CommonChunk{.channels = 1, .bitsPerChannel = 8, .sampleRate = 11127.5};
    contents.basicTagging =
        BasicTagging{.beats = 7, .rootNote = 57, .scaleType = 2, .numerator = 7, .denominator = 8};
    contents.categories =
        Categories{.instrument = "drum KIT",
                   .instrumentSubType = "Own Sort",
                   .genre = genre,
                   .descriptors = {"dry", "Zäh", "älter", "_odd", "A key of twenty-eight bytes ö"}};
    contents.transients = TransientChunk{.records = {{0, 0}, {0, 1000}}};
    contents.samples = Bytes().zeros(20011);
    return aiffFile(contents);
}

Bytes bareLoop(std::size_t frames) {
    AIFFContents contents;
    contents.common = CommonChunk{.channels = 2, .bitsPerChannel = 24, .sampleRate = 8000};
    contents.samples = Bytes().zeros(6 * frames);
    return aiffFile(contents);
}

Bytes acidLoop(const AcidChunk& acid) {
    WAVContents contents;
    contents.format = WAVFormat{.channels = 1, .sampleRate = 8000, .bitsPerChannel = 8};
    contents.acid = acid;
    contents.stretch = StretchChunk{.positions = {0, 700, 1400}};
    contents.samples = Bytes().zeros(9001);
    return wavFile(contents);
}

/// Puts "/Loops" in the place of the folder in which the path at `offset` begins.
void moveToLoops(std::string& bytes, std::size_t offset, const std::string& folder) {
    ASSERT_EQ(bytes.substr(offset, folder.size()), folder);
    std::string path = bytes.substr(offset, kPathSize).replace(0, folder.size(), "/Loops");
    path.resize(kPathSize);
    bytes.replace(offset, kPathSize, path);
}

/// The index file with what differs from run to run made the same: its folder is "/Loops", and all files were
/// examined at second 1000000000.
std::string settled(std::string bytes, const std::string& folder) {
    moveToLoops(bytes, kRootOffset, folder);
    for (std::size_t record = 0; record < kRecords; ++record) {
        const std::size_t offset = kHeaderSize + record * kRecordSize;
        bytes.replace(offset + kTimeOffset, 4, "\x3B\x9A\xCA\x00"s);
        moveToLoops(bytes, offset + kFileNameOffset, folder);
    }
    return bytes;
}

TEST(PortableIndex, IsTheSameOnEveryHost) {
    const TemporaryFolder config, loops, indexes;
    const EnvironmentVariable noDictionaryOfAUser("XDG_CONFIG_HOME", config.path().c_str());
    marl::MCsetIndexDirectoryWithNSString(indexes.path());
    const auto write = [&](const std::string& name, const Bytes& contents) {
        SearchLibrary::setAge(loops.write(name, contents), 100);  // not changed between the passes
    };
    write("Deep House/Bässe.aif", taggedLoop("funk"));
    write("ähnlich Wet.aif", bareLoop(10007));
    write("Zebra/_808 Kick 93.wav", acidLoop({.flags = 1, .rootNote = 36, .beats = 1}));
    write("a/gone.wav", acidLoop({.beats = 5, .numerator = 5, .tempo = 93.7F}));
    write("Z.wav", acidLoop({.beats = -1, .tempo = 0.1F}));

    const marl::CSearchEngineRef engine = marl::CSearchEngine::New();
    engine->index1Directory(loops.path());
    std::filesystem::remove(loops.path("a/gone.wav"));
    write("a/later.aif", taggedLoop("Größe"));
    engine->index1Directory(loops.path());

    const std::string path = engine->getIndexFile(0)->getFullPath()->getStringRef();
    EXPECT_EQ(indexDifference("tests/SearchEngine/PortableIndex.md", settled(contentsOf(path), loops.path())),
              "");
}

}  // namespace
}  // namespace support
