// SPDX-License-Identifier: MIT
/// \file
/// The key index in memory: which files carry which key.
#pragma once

#include <MarlCore/SearchEngine/SearchKey.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace marl {

/// One entry of the key index.
class MARLCORE_EXPORT CSearchKeyIndex {
public:
    CSearchKeyIndex() = default;
    CSearchKeyIndex(const SearchKey& searchKey, std::int32_t fileID)
        : m_searchKey(searchKey), m_fileID(fileID) {}
    CSearchKeyIndex(const CSearchKeyIndex&) = default;
    CSearchKeyIndex& operator=(const CSearchKeyIndex&) = default;
    virtual ~CSearchKeyIndex() = default;

    const SearchKey& getSearchKey() const noexcept { return m_searchKey; }
    std::int32_t getFileID() const noexcept { return m_fileID; }

private:
    SearchKey m_searchKey;
    std::int32_t m_fileID = 0;
};

/// Orders entries by their keys alone.
struct CSearchKeyIndexLess {
    bool operator()(const CSearchKeyIndex& a, const CSearchKeyIndex& b) const noexcept {
        return a.getSearchKey() < b.getSearchKey();
    }
};

/// The files of one key, or of keys that differ only in letter case.
class MARLCORE_EXPORT KeyPostings {
public:
    /// Each file that carries the key once, by ascending identifier.
    std::span<const std::int32_t> ascending() const noexcept;

    std::size_t size() const noexcept { return m_fileIDs.size(); }

    /// The spelling that came first.
    const SearchKey& key() const noexcept { return m_spellings.front().key; }

    void add(const SearchKey& spelling, std::int32_t fileID);
    /// Spelled as the last entry, which there must be.
    void addSpelledAlike(std::int32_t fileID);
    /// `fileIDs` ascend.
    void remove(std::span<const std::int32_t> fileIDs);

    /// `visit(const SearchKey&, fileID)` for each entry, in the order in which they came.
    template <class Visitor>
    void forEach(Visitor&& visit) const {
        for (std::size_t run = 0; run < m_spellings.size(); ++run) {
            const std::size_t end =
                run + 1 < m_spellings.size() ? m_spellings[run + 1].first : m_fileIDs.size();
            for (std::size_t i = m_spellings[run].first; i < end; ++i)
                visit(m_spellings[run].key, m_fileIDs[i]);
        }
    }

private:
    /// From entry `first` on the key is spelled this way.
    struct Spelling {
        SearchKey key;
        std::size_t first;
    };

    std::vector<std::int32_t> m_fileIDs;  // in the order in which they came
    std::vector<Spelling> m_spellings;
    bool m_isAscending = true;  // strictly
    // When they do not: the same, the first m_settled of them in order. Sorting waits until somebody looks,
    // so that files in any order cost no more than a sort.
    mutable std::vector<std::int32_t> m_sorted;
    mutable std::size_t m_settled = 0;
};

/// A multiset of `CSearchKeyIndex`, ordered by `CSearchKeyIndexLess`, a new entry behind those of the same
/// key. Few keys have many files, so that it takes 4 bytes an entry. [one thread at a time]: look-ups
/// count too.
class MARLCORE_EXPORT CSearchKeySet {
public:
    CSearchKeySet() = default;
    // It remembers a place of its own.
    CSearchKeySet(const CSearchKeySet&) = delete;
    CSearchKeySet& operator=(const CSearchKeySet&) = delete;

    void insert(const CSearchKeyIndex& entry);
    /// The same key, in the same spelling, as the entry that `insert` took just before.
    void insertForLastKey(std::int32_t fileID);
    void clear() noexcept;

    /// Erases every entry of these files. `fileIDs` ascend.
    void erase(std::span<const std::int32_t> fileIDs);

    /// Entries, not keys.
    std::size_t size() const noexcept { return m_size; }

    /// The files that carry `key`, by ascending identifier, each once; empty when none does. Valid until the
    /// set changes.
    std::span<const std::int32_t> find(const SearchKey& key) const noexcept;

    const std::map<SearchKey, KeyPostings>& postings() const noexcept { return m_postings; }

    /// `visit(const SearchKey&, fileID)` for each entry, in order.
    template <class Visitor>
    void forEach(Visitor&& visit) const {
        for (const auto& [key, postings] : m_postings) postings.forEach(visit);
    }

private:
    std::map<SearchKey, KeyPostings> m_postings;
    /// Where the last entry went: entries mostly come sorted.
    KeyPostings* m_last = nullptr;
    std::size_t m_size = 0;
};

}  // namespace marl
