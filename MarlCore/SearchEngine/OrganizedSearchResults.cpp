// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/OrganizedSearchResults.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>

namespace marl {

namespace {

using Records = OrganizedSearchResults::Records;

// Blocks of records begin small, for the many searches that find little, and grow until their making costs
// nothing beside the reading.
constexpr std::size_t kFirstBlock = 16;
constexpr std::size_t kLargestBlock = 8192;  // 12 MB

static_assert(std::is_trivially_destructible_v<CFileIndexInfo>, "blocks are let go as memory");
static_assert(alignof(CFileIndexInfo) == 1);

bool pathIsLess(const CFileIndexInfo* a, const CFileIndexInfo* b) noexcept {
    return std::strcmp(a->getFileName(), b->getFileName()) < 0;
}

bool pathIsSame(const CFileIndexInfo* a, const CFileIndexInfo* b) noexcept {
    return std::strcmp(a->getFileName(), b->getFileName()) == 0;
}

/// Bytes at the front that all paths share: the folder of the library, mostly.
std::size_t commonPrefix(const Records& records) noexcept {
    const char* const first = records.front()->getFileName();
    std::size_t length = std::strlen(first);
    for (const CFileIndexInfo* const record : records)
        length = static_cast<std::size_t>(std::mismatch(first, first + length, record->getFileName()).first -
                                          first);
    return length;
}

/// Up to 8 bytes of text as a number of the same order.
std::uint64_t head(const char* text) noexcept {
    std::array<char, 8> bytes{};
    std::memcpy(bytes.data(), text, ::strnlen(text, bytes.size()));
    return platform::loadBig64(bytes.data());
}

/// Sorts by path and leaves each path once, the first that came.
void sortByPath(Records& records) {
    if (records.empty()) return;
    struct Keyed {
        std::uint64_t head;
        const CFileIndexInfo* record;
    };
    const std::size_t prefix = commonPrefix(records);
    std::vector<Keyed> keyed;
    keyed.reserve(records.size());
    for (const CFileIndexInfo* const record : records)
        keyed.push_back({head(record->getFileName() + prefix), record});
    std::ranges::stable_sort(keyed, [](const Keyed& a, const Keyed& b) {
        return a.head != b.head ? a.head < b.head : pathIsLess(a.record, b.record);
    });
    std::ranges::transform(keyed, records.begin(), &Keyed::record);
    records.erase(std::unique(records.begin(), records.end(), pathIsSame), records.end());
}

/// Merges what stands from `tail` on into what stands before, each path once.
void mergeTail(Records& records, std::size_t tail) {
    if (tail == 0 || tail == records.size()) return;
    const auto middle = records.begin() + static_cast<std::ptrdiff_t>(tail);
    if (!std::is_sorted(records.begin(), middle, pathIsLess)) return sortByPath(records);
    std::inplace_merge(records.begin(), middle, records.end(), pathIsLess);
    records.erase(std::unique(records.begin(), records.end(), pathIsSame), records.end());
}

}  // namespace

void OrganizedSearchResults::addFileToOrganizedResults(const CFileIndexInfo& record, bool organize) {
    const auto copy = [&](CFileIndexInfo& own) {
        own = record;
        return true;
    };
    addFilled(copy, organize);
}

CFileIndexInfo& OrganizedSearchResults::nextRecord() {
    if (m_block < m_blocks.size() && m_used == m_blocks[m_block].records) {
        ++m_block;
        m_used = 0;
    }
    if (m_block == m_blocks.size()) {
        const std::size_t records =
            m_blocks.empty() ? kFirstBlock : std::min(2 * m_blocks.back().records, kLargestBlock);
        const std::uint64_t bytes = std::uint64_t{records} * sizeof(CFileIndexInfo);
        m_blocks.push_back({halyard::CBufferRef(new halyard::CBuffer(bytes, false)), records});
    }
    std::byte* const place = m_blocks[m_block].memory->getPtr() + m_used * sizeof(CFileIndexInfo);
    return *new (place) CFileIndexInfo(CFileIndexInfo::Unread{});
}

void OrganizedSearchResults::keep(const CFileIndexInfo& record, bool organize) {
    ++m_used;
    m_entries.push_back({&record, organize});
}

const std::map<SearchKey, Records>& OrganizedSearchResults::recordsByKey() const {
    settle();
    return m_recordsByKey;
}

std::span<const CFileIndexInfo* const> OrganizedSearchResults::find(const SearchKey& key) const {
    const auto place = recordsByKey().find(key);
    if (place == m_recordsByKey.end()) return {};
    return place->second;
}

const Records& OrganizedSearchResults::files() const {
    settle();
    return m_files;
}

void OrganizedSearchResults::clear() noexcept {
    m_block = m_used = m_settled = 0;
    m_entries.clear();
    m_recordsByKey.clear();
    m_files.clear();
}

/// Takes over the entries since the last time, a run with the same wish for order at a time.
void OrganizedSearchResults::settle() const {
    while (m_settled < m_entries.size()) {
        const bool organize = m_entries[m_settled].organize;
        Records run;
        for (; m_settled < m_entries.size() && m_entries[m_settled].organize == organize; ++m_settled)
            run.push_back(m_entries[m_settled].record);
        if (!organize) addUnorganized(run);
        sortByPath(run);
        const std::size_t before = m_files.size();
        m_files.insert(m_files.end(), run.begin(), run.end());
        mergeTail(m_files, before);
        if (organize) addOrganized(std::move(run));
    }
}

/// `records` are sorted by path, each path once.
void OrganizedSearchResults::addOrganized(Records records) const {
    struct Tail {
        Records* records;
        std::size_t begin;
    };
    std::map<SearchKey, Tail> tails;
    for (const CFileIndexInfo* const record : records) {
        record->forEachKey([&](const SearchKey& key, std::int32_t) {
            const auto [place, isNew] = tails.try_emplace(key);
            if (isNew) {
                Records& under = m_recordsByKey[key];
                place->second = {&under, under.size()};
            }
            Records& under = *place->second.records;
            // A record may carry a key twice, as genre and as descriptor.
            if (under.size() == place->second.begin || under.back() != record) under.push_back(record);
        });
    }
    for (const auto& [key, tail] : tails) mergeTail(*tail.records, tail.begin);
}

void OrganizedSearchResults::addUnorganized(const Records& records) const {
    for (const CFileIndexInfo* const record : records)
        record->forEachKey(
            [&](const SearchKey& key, std::int32_t) { m_recordsByKey[key].push_back(record); });
}

}  // namespace marl
