// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CSearchKeySet.h>

#include <algorithm>
#include <utility>

namespace marl {

void KeyPostings::add(const SearchKey& spelling, std::int32_t fileID) {
    if (m_spellings.empty() || m_spellings.back().key.bytes() != spelling.bytes())
        m_spellings.push_back({spelling, m_fileIDs.size()});
    addSpelledAlike(fileID);
}

void KeyPostings::addSpelledAlike(std::int32_t fileID) {
    const bool ascends = m_fileIDs.empty() || fileID > m_fileIDs.back();
    if (m_isAscending && !ascends) {
        m_isAscending = false;
        m_sorted = m_fileIDs;
        m_settled = m_sorted.size();
    }
    m_fileIDs.push_back(fileID);
    if (!m_isAscending) m_sorted.push_back(fileID);
}

std::span<const std::int32_t> KeyPostings::ascending() const noexcept {
    if (m_isAscending) return m_fileIDs;
    if (m_settled < m_sorted.size()) {
        const auto middle = m_sorted.begin() + static_cast<std::ptrdiff_t>(m_settled);
        std::sort(middle, m_sorted.end());
        std::inplace_merge(m_sorted.begin(), middle, m_sorted.end());
        m_sorted.erase(std::unique(m_sorted.begin(), m_sorted.end()), m_sorted.end());
        m_settled = m_sorted.size();
    }
    return m_sorted;
}

void KeyPostings::remove(std::span<const std::int32_t> fileIDs) {
    const auto isRemoved = [&](std::int32_t fileID) { return std::ranges::binary_search(fileIDs, fileID); };
    if (std::ranges::none_of(m_fileIDs, isRemoved)) return;
    KeyPostings kept;
    forEach([&](const SearchKey& key, std::int32_t fileID) {
        if (!isRemoved(fileID)) kept.add(key, fileID);
    });
    *this = std::move(kept);
}

void CSearchKeySet::insert(const CSearchKeyIndex& entry) {
    const SearchKey& key = entry.getSearchKey();
    if (!m_last || !(m_last->key() == key)) m_last = &m_postings[key];
    m_last->add(key, entry.getFileID());
    ++m_size;
}

void CSearchKeySet::insertForLastKey(std::int32_t fileID) {
    m_last->addSpelledAlike(fileID);
    ++m_size;
}

void CSearchKeySet::clear() noexcept {
    m_postings.clear();
    m_last = nullptr;
    m_size = 0;
}

void CSearchKeySet::erase(std::span<const std::int32_t> fileIDs) {
    m_last = nullptr;
    for (auto place = m_postings.begin(); place != m_postings.end();) {
        KeyPostings& postings = place->second;
        const std::size_t before = postings.size();
        postings.remove(fileIDs);
        m_size -= before - postings.size();
        place = postings.size() == 0 ? m_postings.erase(place) : std::next(place);
    }
}

std::span<const std::int32_t> CSearchKeySet::find(const SearchKey& key) const noexcept {
    const auto place = m_postings.find(key);
    return place == m_postings.end() ? std::span<const std::int32_t>() : place->second.ascending();
}

}  // namespace marl
