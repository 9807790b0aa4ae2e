// SPDX-License-Identifier: MIT
// Opens the bytes as an index file, searches it for its own keys, and brings it up to date.
#include "MemoryFile.h"

#include <MarlCore/SearchEngine/CIndexFile.h>

#include <vector>

namespace fuzz {
namespace {

using marl::CIndexFile;
using marl::CIndexFileRef;
using marl::SearchKey;

constexpr std::size_t kMostSearches = 20;  // so that a run stays short

bool isDamaged(const CIndexFile& file) {
    return file.getState() == marl::kIndexIsDamaged;
}

CIndexFileRef open(const MemoryFile& memory) {
    const CIndexFileRef file(new CIndexFile(halyard::CSTR(memory.path()), false));
    file->readHeader();
    if (!isDamaged(*file)) file->readSearchKeySet();
    return file;
}

int search(CIndexFile& file, const std::vector<SearchKey>& keys, const marl::SearchFilters& filters = {},
           int projectKey = 0) {
    marl::OrganizedSearchResults results;
    const int found = file.search(keys, filters, {}, projectKey, results, true);
    require(found <= file.getLivingFileCount(), "files are found that are there");
    require(results.files().size() <= static_cast<std::size_t>(found), "what is found is counted");
    for (const marl::CFileIndexInfo* const record : results.files())
        for (const SearchKey& key : keys) require(record->carries(key), "what is found carries the keys");
    return found;
}

void searchAll(CIndexFile& file) {
    const int all = search(file, {});
    const marl::SearchFilters narrow{{4, 4}, 3, 2};
    std::vector<SearchKey> keys;
    for (const auto& [key, postings] : file.getSearchKeySet().postings()) {
        if (keys.size() == kMostSearches) break;
        keys.push_back(key);
        const int one = search(file, {key});
        require(one <= all && one <= static_cast<int>(postings.size()), "a key narrows a search");
        require(search(file, {keys.front(), key}) <= one, "another key does so too");
        require(search(file, {key}, narrow, 60) <= one, "and filters");
    }
}

void bringUpToDate(const MemoryFile& memory) {
    const CIndexFileRef file = open(memory);
    file->matchKeysToRecords();
    require(!file->matchKeysToRecords(), "keys match the records once they are made to");
    std::set<marl::SearchKeyInfo> keys;
    const SearchKey added("Added");
    marl::CFileIndexInfo record("/Added.wav", {{added, marl::SearchKeyInfo::kGenre, {}}}, keys);
    const std::int32_t fileID = file->appendFileInfo(record);
    file->updateSearchKeySet(fileID, keys);
    file->flushChanges();
    const CIndexFileRef again = open(memory);
    require(!isDamaged(*again), "what is brought up to date opens");
    require(again->getSearchKeySet().size() == file->getSearchKeySet().size(), "with all keys");
    require(search(*again, {added}) >= 1, "and what was added is found");
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::MemoryFile memory;
    memory.assign(data, size);
    bool isDamaged = true;
    {
        const marl::CIndexFileRef file = fuzz::open(memory);
        fuzz::searchAll(*file);
        isDamaged = fuzz::isDamaged(*file);
        fuzz::require(!isDamaged || file->getSearchKeySet().size() == 0, "a damaged file has no keys");
    }
    if (!isDamaged) fuzz::bringUpToDate(memory);
    return 0;
}
