// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CFileIndexer.h>

#include "support/EnvironmentVariable.h"
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <limits>
#include <optional>

#include <sys/stat.h>

namespace marl {
namespace {

using halyard::CSTR;
using support::AIFFContents;
using support::aiffFile;
using support::Bytes;
using support::EnvironmentVariable;
using support::TemporaryFolder;
using support::WAVContents;
using support::wavFile;
using Outcome = FileIndexResult::Outcome;

/// A mono file of 1000 Hz and 16 bits, so that a frame is a millisecond.
AIFFContents aiffOf(std::size_t milliseconds) {
    AIFFContents contents;
    contents.common = support::CommonChunk{.channels = 1, .sampleRate = 1000};
    contents.samples = Bytes().zeros(2 * milliseconds);
    return contents;
}

/// An indexer with the shipped dictionary alone, or with the user's files in `config`.
class FileIndexer : public testing::Test {
protected:
    FileIndexer() : m_config("XDG_CONFIG_HOME", m_configFolder.path().c_str()) {}

    FileIndexResult examined(std::string_view name, const Bytes& contents) {
        return examined(m_folder.write(name, contents));
    }
    FileIndexResult examined(const std::string& path) {
        if (!m_indexer) m_indexer.emplace();
        FileIndexResult result;
        m_indexer->examineFile(path, result);
        return result;
    }

    TemporaryFolder m_folder, m_configFolder;
    EnvironmentVariable m_config;
    std::optional<CFileIndexer> m_indexer;
};

/// The keys as "1 Kick, 2 808 Kick < Kick", in their order.
std::string text(const std::set<SearchKeyInfo>& keys) {
    std::string all;
    for (const SearchKeyInfo& key : keys) {
        all += (all.empty() ? "" : ", ") + std::to_string(key.category) + ' ';
        all += key.key.view();
        if (key.parent.isValid()) all.append(" < ").append(key.parent.view());
    }
    return all;
}

TEST_F(FileIndexer, RecordsWhatAFileSays) {
    AIFFContents contents = aiffOf(2000);
    contents.basicTagging =
        support::BasicTagging{.beats = 7, .rootNote = 57, .scaleType = 2, .numerator = 7, .denominator = 8};
    contents.categories = support::Categories{.instrument = "drum KIT",
                                              .instrumentSubType = "Own Sort",
                                              .genre = "funk",
                                              .descriptors = {"dry", "Odd"}};
    contents.transients = support::TransientChunk{.records = {{0, 0}, {0, 100}}};
    const std::time_t before = std::time(nullptr);
    const std::string path = m_folder.write("Deep House/Piano Wet.aif", aiffFile(contents));
    const FileIndexResult result = examined(path);
    const CFileIndexInfo& record = result.record;

    EXPECT_EQ(result.outcome, Outcome::kIndexed) << result.reason;
    EXPECT_EQ(record.getFileName(), path);
    EXPECT_EQ(record.getFileID(), 0);
    EXPECT_GE(record.getIndexTime(), before - 1) << "a change in the same second is later";
    EXPECT_LT(record.getIndexTime(), std::time(nullptr));
    EXPECT_EQ(record.getTimeSignature(), (tagging::TimeSignature{7, 8}));
    EXPECT_EQ(record.getKeyType(), 2);
    EXPECT_EQ(record.getContentFileType(), 0);
    const AdditionalFileInfo expected{.tempo = 105, .midiRootNote = 57, .numberOfBeats = 3};
    EXPECT_EQ(record.getAdditionalInfo(), expected);
    EXPECT_EQ(record.getInstrument().view(), "Drum Kit") << "in the dictionary's spelling";
    EXPECT_EQ(record.getInstrumentSubType().view(), "Own Sort") << "unknown, and so as it is";
    EXPECT_EQ(record.getGenre().view(), "Funk");
    EXPECT_EQ(text(result.keys), "4 Deep, 1 Drum Kit, 4 Dry, 3 Funk, 4 Odd, 2 Own Sort < Drum Kit, 4 Wet");
    EXPECT_EQ(text(record.searchKeys()), text(result.keys));
}

TEST_F(FileIndexer, RecordsWhatAFileLacks) {
    const FileIndexResult result = examined("Snare Loops/Kick 01.wav", wavFile([] {
                                                WAVContents contents;
                                                contents.samples = Bytes().zeros(4 * 44100);  // 1 s
                                                return contents;
                                            }()));
    const AdditionalFileInfo expected{.tempo = 120,  // derived from the length
                                      .midiRootNote = 0,
                                      .numberOfBeats = 2,
                                      .sourceBeatsDiffer = true,
                                      .lacksTransients = true,
                                      .lacksSearchTags = true};
    EXPECT_EQ(result.record.getAdditionalInfo(), expected);
    EXPECT_EQ(result.record.getKeyType(), 3);
    EXPECT_EQ(text(result.keys), "1 Kick, 4 Loop");
}

TEST_F(FileIndexer, GivesEveryFileAFiniteTempo) {
    const struct {
        const char* what;
        std::size_t milliseconds;
        int beats, fileType;
        float tempo;
        int contentFileType;
    } cases[] = {
        {"a loop", 2000, 4, 1, 120, 0}, {"a one-shot", 2000, 4, 2, -1, 2},
        {"no beats", 2000, 0, 1, 0, 0}, {"fewer than none", 2000, -4, 1, -1, 0},
        {"no samples", 0, 4, 1, -1, 0}, {"a file type of its own", 2000, 4, 9, 120, 9},
    };
    for (const auto& [what, milliseconds, beats, fileType, tempo, contentFileType] : cases) {
        AIFFContents contents = aiffOf(milliseconds);
        contents.basicTagging = support::BasicTagging{.beats = beats, .fileType = fileType};
        const FileIndexResult result = examined("a.aif", aiffFile(contents));
        EXPECT_FLOAT_EQ(result.record.getAdditionalInfo().tempo, tempo) << what;
        EXPECT_EQ(result.record.getContentFileType(), contentFileType) << what;
    }
}

TEST_F(FileIndexer, GivesFilesOfImpossibleRatesAFiniteTempo) {
    AIFFContents contents = aiffOf(1);
    contents.basicTagging = support::BasicTagging{.beats = std::numeric_limits<std::int32_t>::max()};
    const Bytes file = aiffFile(contents);
    int indexed = 0;
    const std::size_t rateAt = file.offsetOf("COMM") + 16;
    for (int exponent = 1; exponent < 0x7FFF; exponent += 61) {
        const Bytes rate = Bytes().big16(exponent).big32(0x80000000).big32(0);
        const FileIndexResult result = examined("a.aif", Bytes(file).overwrite(rateAt, rate));
        const float tempo = result.record.getAdditionalInfo().tempo;
        EXPECT_TRUE(std::isfinite(tempo)) << exponent;
        indexed += result.outcome == Outcome::kIndexed;
    }
    EXPECT_GT(indexed, 0);
}

TEST_F(FileIndexer, TakesAtMostTenDescriptors) {
    AIFFContents contents = aiffOf(1000);
    contents.categories = support::Categories{};
    for (char c = 'a'; c <= 'z'; ++c) contents.categories->descriptors.emplace_back(1, c);
    const FileIndexResult result = examined("Dry.aif", aiffFile(contents));
    EXPECT_EQ(result.record.getDescriptorCount(), CFileIndexInfo::kDescriptorSlots);
    EXPECT_EQ(text(result.keys), "4 a, 4 b, 4 c, 4 d, 4 e, 4 f, 4 g, 4 h, 4 i, 4 j");
    EXPECT_TRUE(std::string(result.record.getFileName()).ends_with("/Dry.aif"));
}

TEST_F(FileIndexer, CutsLongKeywordsBetweenCharacters) {
    AIFFContents contents = aiffOf(1000);
    contents.categories =
        support::Categories{.instrument = std::string(28, 'x') + "\u00E9",
                            .genre = std::string(40, 'g'),
                            .descriptors = {"\u00E9t\u00E9", std::string(28, 'd') + "\xE9z"}};
    const FileIndexResult result = examined("a.aif", aiffFile(contents));
    EXPECT_EQ(text(result.keys),
              "4 " + std::string(28, 'd') + "\xE9, 3 " + std::string(29, 'g') + ", 1 " + std::string(28, 'x'))
        << "a key does not begin with a byte of 0x80 or above";
}

TEST_F(FileIndexer, RefusesWhatItCannotIndex) {
    const std::string folder = m_folder.path("Folder.aif");
    std::filesystem::create_directory(folder);
    const std::string pipe = m_folder.path("Pipe.wav");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string missing = m_folder.path("Missing.wav");
    const std::pair<std::string, std::string> cases[] = {
        {m_folder.write("Text.txt", "x"), "neither an AIFF nor a WAV file"},
        {m_folder.write("Movie.mov", "x"), "neither an AIFF nor a WAV file"},
        {folder, "neither an AIFF nor a WAV file"},
        {pipe, "neither an AIFF nor a WAV file"},
        {m_folder.path("Kick.wav/../") + std::string(1025 - m_folder.path().size(), 'x') + ".wav",
         "the path is longer than 1024 bytes"},
    };
    for (const auto& [path, reason] : cases) {
        const FileIndexResult result = examined(path);
        EXPECT_EQ(result.outcome, Outcome::kNotIndexable) << path;
        EXPECT_EQ(text(result.keys), "");
        EXPECT_EQ(result.reason, path + ": " + reason);
    }
    for (const std::string& path : {missing, std::string("/Kick\0.wav", 10), m_folder.write("Empty.wav", ""),
                                    m_folder.write("Bad.aif", "FORM")})
        EXPECT_EQ(examined(path).outcome, Outcome::kNotIndexable) << path;
    EXPECT_NE(examined(missing).reason.find("Missing.wav"), std::string::npos);
}

TEST_F(FileIndexer, KeepsAResultFreeOfTheOneBefore) {
    FileIndexResult result = examined("Kick.aif", aiffFile(aiffOf(1000)));
    m_indexer->examineFile(m_folder.path("Missing.wav"), result);
    EXPECT_EQ(result.keys.size(), 0u);
    EXPECT_NE(result.reason, "");
    m_indexer->examineFile(m_folder.path("Kick.aif"), result);
    EXPECT_EQ(text(result.keys), "1 Kick");
    EXPECT_EQ(result.reason, "");
}

TEST_F(FileIndexer, IndexesPathsOfAnyBytes) {
    const std::string name = std::string(245, 'x') + "\xFF_Kick.aif";
    std::string longest = m_folder.path();
    while (longest.size() + 200 < 1024) longest += "/" + std::string(150, 'y');
    std::filesystem::create_directories(longest);
    longest += "/" + std::string(1024 - longest.size() - 1 - 8, 'z') + "Kick.aif";
    ASSERT_EQ(longest.size(), 1024u);
    std::filesystem::copy_file(m_folder.write(name, aiffFile(aiffOf(1000))), longest);
    EXPECT_EQ(text(examined(m_folder.path(name)).keys), "1 Kick");
    const FileIndexResult result = examined(longest);
    EXPECT_EQ(result.outcome, Outcome::kIndexed) << result.reason;
    EXPECT_EQ(result.record.getFileName(), longest);
    EXPECT_EQ(text(result.keys), "1 Kick");
}

TEST_F(FileIndexer, StoresWhatItFound) {
    const std::string kick = m_folder.write("Kick Dry.aif", aiffFile(aiffOf(1000)));
    const std::string text = m_folder.write("Kick.txt", "x"), bad = m_folder.write("Bad.aif", "x");
    const CIndexFileRef index(new CIndexFile(CSTR(m_folder.path("Index.txt")), true));
    CFileIndexer indexer;
    EXPECT_EQ(indexer.indexFile(kick, *index, 0), Outcome::kIndexed);
    EXPECT_EQ(indexer.indexFile(m_folder.write("Snare.aif", aiffFile(aiffOf(1000))), *index, 0),
              Outcome::kIndexed);
    EXPECT_EQ(indexer.indexFile(bad, *index, 0), Outcome::kNotIndexable);
    EXPECT_EQ(index->getFileCount(), 2);
    EXPECT_EQ(index->getSearchKeySet().size(), 3u);

    // The same record again, with other keys.
    std::filesystem::rename(kick, m_folder.path("Snare Dry.aif"));
    EXPECT_EQ(indexer.indexFile(m_folder.path("Snare Dry.aif"), *index, 1), Outcome::kIndexed);
    EXPECT_EQ(index->getFileCount(), 2);
    const auto filesWith = [&](const char* key) {
        const auto files = index->getSearchKeySet().find(SearchKey(key));
        return std::vector<std::int32_t>(files.begin(), files.end());
    };
    EXPECT_EQ(filesWith("Kick"), std::vector<std::int32_t>());
    EXPECT_EQ(filesWith("Snare"), (std::vector<std::int32_t>{1, 2}));
    EXPECT_EQ(filesWith("Dry"), std::vector<std::int32_t>{1});
    CFileIndexInfo record;
    index->readFileInfo(1, record);
    EXPECT_EQ(record.getFileID(), 1);
    EXPECT_TRUE(std::string(record.getFileName()).ends_with("/Snare Dry.aif"));
}

TEST_F(FileIndexer, DeletesOnlyWhatIsNoAudioFile) {
    const std::string other = m_folder.write("Notes.txt", "x"), bad = m_folder.write("Bad.aif", "x");
    const CIndexFileRef index(new CIndexFile(CSTR(m_folder.path("Index.idx")), true));
    CFileIndexer indexer;
    indexer.indexFile(other, *index, 0);
    EXPECT_TRUE(std::filesystem::exists(other));
    indexer.setDeleteNotIndexableFiles(true);
    indexer.indexFile(other, *index, 0);
    indexer.indexFile(bad, *index, 0);
    EXPECT_FALSE(std::filesystem::exists(other));
    EXPECT_TRUE(std::filesystem::exists(bad));
}

TEST_F(FileIndexer, AddsAUsersKeywords) {
    m_configFolder.write("marlcore/Keyword Dictionary.plist", R"(<plist version="1.0"><dict>
<key>Instrument Types</key><dict><key>Kick</key><array><string>Gated Kick</string></array></dict>
<key>Genres</key><array><string>Gabber</string></array></dict></plist>)");
    m_configFolder.write("marlcore/additionalData.dat", R"(<plist version="1.0"><dict>
<key>gk</key><string>Gated Kick</string><key>bd</key><string>Gabber</string><key>x</key><string>y</string>
</dict></plist>)");
    EXPECT_EQ(text(examined("gk Snare gabber.aif", aiffFile(aiffOf(1000))).keys), "3 Gabber, 1 Snare");
    EXPECT_EQ(text(examined("gk.aif", aiffFile(aiffOf(1000))).keys), "2 Gated Kick < Kick, 1 Kick");
    EXPECT_EQ(text(examined("bd.aif", aiffFile(aiffOf(1000))).keys), "3 Gabber, 1 Kick");
    SearchKeyInfo info;
    EXPECT_TRUE(m_indexer->searchKeyToSearchKeyInfo(SearchKey("GATED KICK"), info));
    EXPECT_EQ(text({info}), "2 Gated Kick < Kick");
    EXPECT_FALSE(m_indexer->searchKeyToSearchKeyInfo(SearchKey("gk"), info));
    EXPECT_EQ(m_indexer->getDictionaryProblems(),
              std::vector<std::string>{m_configFolder.path("marlcore/additionalData.dat") +
                                       ": \"x\" is translated to what is no keyword"});
}

TEST_F(FileIndexer, WorksWithoutAUsersMalformedFiles) {
    const std::string keywords =
        m_configFolder.write("marlcore/Keyword Dictionary.plist", "<plist>\n<dict>\n</plist>");
    const std::string words = m_configFolder.path("marlcore/additionalData.dat");
    std::filesystem::create_directory(words);
    EXPECT_EQ(text(examined("kik dry.aif", aiffFile(aiffOf(1000))).keys), "4 Dry, 1 Kick");
    EXPECT_EQ(m_indexer->getDictionaryProblems(),
              (std::vector<std::string>{keywords + ": line 3: expected the end of a <dict>, found </plist>",
                                        words + ": is no regular file"}));
}

TEST_F(FileIndexer, NeedsTheShippedFiles) {
    const TemporaryFolder resources;
    const EnvironmentVariable variable("MARLCORE_RESOURCES", resources.path().c_str());
    const std::string path = resources.write("Keyword Dictionary.plist", "<plist>\n");
    const auto make = [] { const CFileIndexer indexer; };
    EXPECT_EQ(support::messageThrownBy(make), path + ": line 2: the file ends too early");
}

}  // namespace
}  // namespace marl
