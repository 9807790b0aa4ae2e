// SPDX-License-Identifier: MIT
// Finding files in an index.
#include <MarlCore/SearchEngine/CIndexFile.h>

#include <MarlCore/SearchEngine/PackedRecordsImpl.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string_view>

namespace marl {

namespace {

char lowerCase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameLetter(char a, char b) noexcept {
    return lowerCase(a) == lowerCase(b);
}

std::size_t charactersIn(std::string_view utf8) noexcept {
    return static_cast<std::size_t>(
        std::ranges::count_if(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// One character names the beginning of file names, more of them any part of a path.
bool nameMatches(std::string_view path, std::string_view filter) noexcept {
    if (filter.empty()) return true;
    if (charactersIn(filter) > 1)
        return std::search(path.begin(), path.end(), filter.begin(), filter.end(), isSameLetter) !=
               path.end();
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.size() >= filter.size() &&
           std::equal(filter.begin(), filter.end(), name.begin(), isSameLetter);
}

/// How many times longer the other list must be for a look-up of each to beat a walk along both.
constexpr std::size_t kWorthLookingUp = 16;

/// Leaves in `fileIDs` what `others` has too. Both ascend.
void intersect(std::vector<std::int32_t>& fileIDs, std::span<const std::int32_t> others) {
    if (others.size() / kWorthLookingUp > fileIDs.size()) {
        auto from = others.begin();
        std::erase_if(fileIDs, [&](std::int32_t fileID) {
            from = std::lower_bound(from, others.end(), fileID);
            return from == others.end() || *from != fileID;
        });
        return;
    }
    // Which of two numbers is less nobody can guess: no branch depends on it.
    std::size_t kept = 0;
    for (std::size_t i = 0, j = 0; i < fileIDs.size() && j < others.size();) {
        const std::int32_t own = fileIDs[i], other = others[j];
        fileIDs[kept] = own;
        kept += own == other;
        i += own <= other;
        j += other <= own;
    }
    fileIDs.resize(kept);
}

/// How many files ahead their fields are fetched into the cache: an access to memory takes as long.
constexpr std::size_t kAhead = 16;

/// The records that a search takes from memory: none, once the file has become another one.
class RecordsInMemory {
public:
    RecordsInMemory(const PackedRecords& records, std::span<const SearchKey> keys, bool isUpToDate)
        : m_records(records), m_isUpToDate(isUpToDate && std::ranges::all_of(keys, &SearchKey::isValid)) {
        for (const SearchKey& key : keys) m_keys.push_back(records.numberOf(key));
    }

    bool holds(std::int32_t fileID) const noexcept { return m_isUpToDate && m_records.holds(fileID); }

    /// False when the record does not carry every key, as after a pass that was killed.
    bool read(std::int32_t fileID, CFileIndexInfo& record) const noexcept {
        const auto isCarried = [&](const auto& key) { return key && m_records.carries(fileID, *key); };
        if (!std::ranges::all_of(m_keys, isCarried)) return false;
        m_records.copyTo(record, fileID);
        return true;
    }

    void prefetchAhead(std::span<const std::int32_t> fileIDs) const noexcept {
        if (!m_isUpToDate || fileIDs.size() <= 2 * kAhead) return;
        m_records.prefetchPosition(fileIDs[2 * kAhead]);
        m_records.prefetch(fileIDs[kAhead]);
    }

private:
    const PackedRecords& m_records;
    bool m_isUpToDate;
    std::vector<std::optional<std::uint16_t>> m_keys;
};

}  // namespace

int CIndexFile::search(std::span<const SearchKey> keys, const SearchFilters& filters,
                       const halyard::CStringRef& nameFilter, int projectKey, OrganizedSearchResults& results,
                       bool organize) {
    const CIndexingMutexHelper lock(*this);
    std::vector<std::int32_t> fileIDs = filesWith(keys);
    keepPassing(fileIDs, filters, projectKey);
    return processSearchResults(fileIDs, keys, filters, nameFilter, projectKey, results, organize);
}

/// The files that carry every key, by ascending identifier.
std::vector<std::int32_t> CIndexFile::filesWith(std::span<const SearchKey> keys) const {
    std::vector<std::int32_t> fileIDs;
    if (keys.empty()) {
        fileIDs.resize(m_filterFields.size());
        std::iota(fileIDs.begin(), fileIDs.end(), 1);
        return fileIDs;
    }
    std::vector<std::span<const std::int32_t>> lists;
    for (const SearchKey& key : keys) lists.push_back(m_keys.find(key));
    std::ranges::sort(lists, {}, &std::span<const std::int32_t>::size);  // the shortest bounds the work
    fileIDs.assign(lists.front().begin(), lists.front().end());
    for (const auto& list : std::span(lists).subspan(1)) intersect(fileIDs, list);
    return fileIDs;
}

/// Leaves the files that pass the filters.
void CIndexFile::keepPassing(std::vector<std::int32_t>& fileIDs, const SearchFilters& filters,
                             int projectKey) const {
    // Anybody may have added keys for files that have no record.
    const auto known = static_cast<std::int32_t>(m_filterFields.size());
    fileIDs.erase(std::ranges::upper_bound(fileIDs, known), fileIDs.end());
    fileIDs.erase(fileIDs.begin(), std::ranges::lower_bound(fileIDs, 1));
    const auto fieldsOf = [&](std::size_t i) {
        return &m_filterFields[static_cast<std::size_t>(fileIDs[i]) - 1];
    };
    std::size_t kept = 0;
    for (std::size_t i = 0; i < fileIDs.size(); ++i) {
        if (i + kAhead < fileIDs.size()) __builtin_prefetch(fieldsOf(i + kAhead));
        fileIDs[kept] = fileIDs[i];
        kept += passes(*fieldsOf(i), filters, projectKey);
    }
    fileIDs.resize(kept);
}

/// `fileIDs` have passed the filters.
int CIndexFile::processSearchResults(std::span<const std::int32_t> fileIDs, std::span<const SearchKey> keys,
                                     const SearchFilters& filters, const halyard::CStringRef& nameFilter,
                                     int projectKey, OrganizedSearchResults& results, bool organize) const {
    const std::string_view name = nameFilter ? nameFilter->getStringRef() : std::string_view();
    // In the file another process may have changed the record since the keys were read.
    const auto readFromFile = [&](std::int32_t fileID, CFileIndexInfo& record) {
        return record.readAt(m_descriptor, placeOf(fileID)) && record.getFileID() == fileID &&
               passes(filterFieldsOf(record), filters, projectKey) &&
               std::ranges::all_of(keys, [&](const SearchKey& key) { return record.carries(key); });
    };
    const RecordsInMemory memory(*m_records, keys, versionOnDisk() == m_version);
    int found = 0;
    for (std::size_t i = 0; i < fileIDs.size(); ++i) {
        const std::int32_t fileID = fileIDs[i];
        memory.prefetchAhead(fileIDs.subspan(i));
        const auto readMatching = [&](CFileIndexInfo& record) {
            const bool isMatch =
                memory.holds(fileID) ? memory.read(fileID, record) : readFromFile(fileID, record);
            return isMatch && nameMatches(record.getFileName(), name);
        };
        if (results.addFilled(readMatching, organize)) ++found;
    }
    return found;
}

CIndexFile::FilterFields CIndexFile::filterFieldsOf(const CFileIndexInfo& record) noexcept {
    return {record.getTimeSignature(), record.getKeyType(), record.getContentFileType(),
            record.getAdditionalInfo().midiRootNote, record.getFileID() > 0};
}

bool CIndexFile::passes(const FilterFields& fields, const SearchFilters& filters, int projectKey) noexcept {
    constexpr tagging::TimeSignature kAny{0, 0};
    if (!fields.isThere) return false;
    const bool hasKey = fields.midiRootNote != 0;
    if (filters.keyType != 0 && hasKey && fields.keyType != filters.keyType) return false;
    if (!(filters.timeSignature == kAny) && !(fields.timeSignature == filters.timeSignature)) return false;
    if (projectKey == 0 || fields.contentFileType != 0 || !hasKey) return true;
    const std::int64_t distance = std::int64_t{fields.midiRootNote} - projectKey;
    return distance >= -std::int64_t{filters.keyTolerance} && distance <= filters.keyTolerance;
}

int CIndexFile::getLivingFileCount() const noexcept {
    return static_cast<int>(std::ranges::count_if(m_filterFields, &FilterFields::isThere));
}

int CIndexFile::getLivingFileCount(const SearchKey& key) const noexcept {
    return static_cast<int>(std::ranges::count_if(m_keys.find(key), [&](std::int32_t fileID) {
        const auto place = static_cast<std::size_t>(fileID) - 1;
        return place < m_filterFields.size() && m_filterFields[place].isThere;
    }));
}

}  // namespace marl
