// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <unistd.h>

namespace support {

using marl::CFileIndexInfo;
using marl::CIndexFile;
using marl::CIndexFileRef;
using marl::SearchKey;
using marl::SearchKeyInfo;

Keys tagsOf(const IndexedLoop& loop) {
    Keys tags;
    const auto addTag = [&](const std::string& text, std::int32_t category) {
        if (!text.empty()) tags.emplace(text, category, nullptr);
    };
    addTag(loop.instrument, SearchKeyInfo::kInstrument);
    addTag(loop.subType, SearchKeyInfo::kInstrumentSubType);
    addTag(loop.genre, SearchKeyInfo::kGenre);
    for (const std::string& descriptor : loop.descriptors) addTag(descriptor, SearchKeyInfo::kDescriptor);
    return tags;
}

std::pair<CFileIndexInfo, Keys> recordOf(const IndexedLoop& loop) {
    Keys keys;
    CFileIndexInfo record(loop.path.c_str(), tagsOf(loop), keys);
    record.setIndexTime(1'000'000'000);
    record.setTimeSignature(loop.timeSignature);
    record.setKeyType(loop.keyType);
    record.setContentFileType(loop.contentFileType);
    record.setAdditionalInfo({.midiRootNote = loop.rootNote});
    return {record, keys};
}

CFileIndexInfo recordFromBytes(std::string_view bytes) {
    CFileIndexInfo record;
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), 1464);
    record.readFromFile(ends[0]);
    for (const int end : ends) ::close(end);
    return record;
}

std::string bytesOf(const CFileIndexInfo& record) {
    return {reinterpret_cast<const char*>(record.image().data()), record.image().size()};
}

std::int32_t add(CIndexFile& file, const IndexedLoop& loop) {
    auto [record, keys] = recordOf(loop);
    const std::int32_t fileID = file.appendFileInfo(record);
    EXPECT_EQ(record.getFileID(), fileID);
    file.updateSearchKeySet(fileID, keys);
    return fileID;
}

void rewrite(CIndexFile& file, std::int32_t fileID, const IndexedLoop& loop) {
    auto [record, keys] = recordOf(loop);
    record.setFileID(fileID);
    file.writeFileInfo(fileID, record);
    file.removeEntriesFromSearchKeySet(fileID);
    file.updateSearchKeySet(fileID, keys);
}

void setThere(CIndexFile& file, std::int32_t fileID, bool isThere) {
    CFileIndexInfo record;
    file.readFileInfo(fileID, record);
    record.setFileID(isThere ? fileID : -fileID);
    file.writeFileInfo(fileID, record);
}

CIndexFileRef makeIndex(const std::string& path) {
    const CIndexFileRef file(new CIndexFile(halyard::CSTR(path), true));
    file->setRootDirectory("/Loops");
    file->setState(marl::kIndexIsComplete);
    return file;
}

CIndexFileRef openIndex(const std::string& path) {
    const CIndexFileRef file(new CIndexFile(halyard::CSTR(path), false));
    file->readHeader();
    if (file->getState() != marl::kIndexIsDamaged) file->readSearchKeySet();
    return file;
}

void buildExample(const std::string& path) {
    const CIndexFileRef file = makeIndex(path);
    add(*file, {.path = "/Loops/Walk.aif",
                .instrument = "Bass",
                .subType = "Synthetic Bass",
                .genre = "Jazz",
                .descriptors = {"Clean", "Single"},
                .timeSignature = {3, 4},
                .rootNote = 57});
    add(*file, {.path = "/Loops/Gone.wav", .genre = "jazz"});
    add(*file, {.path = "/Loops/Hit.wav", .instrument = "Kick", .contentFileType = 2});
    setThere(*file, 2, false);
}

std::vector<std::pair<std::string, std::int32_t>> entriesOf(const CIndexFile& file) {
    std::vector<std::pair<std::string, std::int32_t>> entries;
    file.getSearchKeySet().forEach(
        [&](const SearchKey& key, std::int32_t fileID) { entries.emplace_back(key.view(), fileID); });
    EXPECT_EQ(entries.size(), file.getSearchKeySet().size());
    return entries;
}

std::vector<std::string> pathsFound(CIndexFile& file, const std::vector<std::string>& keys,
                                    const marl::SearchFilters& filters, const std::string& name,
                                    int projectKey) {
    const std::vector<SearchKey> searchKeys(keys.begin(), keys.end());
    marl::OrganizedSearchResults results;
    const int count = file.search(searchKeys, filters, halyard::CSTR(name), projectKey, results, true);
    std::vector<std::string> paths;
    for (const CFileIndexInfo* const record : results.files()) {
        paths.emplace_back(record->getFileName());
        for (const SearchKey& key : searchKeys) EXPECT_TRUE(record->searchKeys().contains({key, 0, {}}));
        EXPECT_GT(record->getFileID(), 0);
    }
    EXPECT_EQ(static_cast<std::size_t>(count), paths.size());
    return paths;
}

bool opensHonestly(const std::string& path) {
    const CIndexFileRef file = openIndex(path);
    const auto entries = entriesOf(*file);
    if (file->getState() == marl::kIndexIsDamaged) {
        EXPECT_TRUE(entries.empty());
        EXPECT_TRUE(pathsFound(*file, {}).empty());
        return false;
    }
    const auto length = static_cast<std::int64_t>(std::filesystem::file_size(path));
    const auto records = std::int64_t{file->getFileCount()};
    EXPECT_LE(1464 * records + 40 * static_cast<std::int64_t>(entries.size()), length);
    // No path is asked for here: damage may have given two records the same one.
    for (const auto& [key, fileID] : entries) {
        marl::OrganizedSearchResults results;
        const SearchKey searchKey(key);
        const int count = file->search({&searchKey, 1}, {}, {}, 0, results, false);
        EXPECT_LE(count, records);
        for (const CFileIndexInfo* const record : results.files())
            EXPECT_TRUE(record->searchKeys().contains({searchKey, 0, {}})) << key;
    }
    return true;
}

}  // namespace support
