// SPDX-License-Identifier: MIT
/// \file
/// What a search has found, by key.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexInfo.h>
#include <MarlCore/foundation/CBuffer.h>

#include <cstddef>
#include <map>
#include <span>
#include <vector>

namespace marl {

/// The records of the files that were found, under each of their keys. A record is kept once, however many
/// keys lead to it. Sorting waits until somebody looks. [one thread at a time]
class MARLCORE_EXPORT OrganizedSearchResults : public halyard::CSharedObject {
public:
    using Records = std::vector<const CFileIndexInfo*>;

    /// Adds a copy of `record` under its instrument, sub-type, genre and descriptors, as far as they are
    /// valid. With `organize` the records of a key stand in the order of their paths, by bytes, and each path
    /// once, those that came before without it included; without, in the order in which they came.
    void addFileToOrganizedResults(const CFileIndexInfo& record, bool organize);

    /// The same for a record that the caller fills in place: `fill(CFileIndexInfo&)` returns whether to keep
    /// it. What the record holds before is not said.
    template <class Fill>
    bool addFilled(Fill&& fill, bool organize) {
        CFileIndexInfo& record = nextRecord();
        if (!fill(record)) return false;
        keep(record, organize);
        return true;
    }

    /// The keys that occur, with the records under each. Valid until the next change.
    const std::map<SearchKey, Records>& recordsByKey() const;

    /// The records under `key`; empty when there are none.
    std::span<const CFileIndexInfo* const> find(const SearchKey& key) const;

    /// Each file once, in the order of paths by bytes, files without any key included.
    const Records& files() const;

    void clear() noexcept;

private:
    struct Entry {
        const CFileIndexInfo* record;
        bool organize;
    };

    /// Room for records, in one piece.
    struct Block {
        halyard::CBufferRef memory;
        std::size_t records;
    };

    CFileIndexInfo& nextRecord();
    void keep(const CFileIndexInfo& record, bool organize);
    void settle() const;
    void addOrganized(Records records) const;
    void addUnorganized(const Records& records) const;

    std::vector<Block> m_blocks;        // kept by `clear` for what is found next
    std::size_t m_block = 0;            // the one that is being filled
    std::size_t m_used = 0;             // records of that one
    std::vector<Entry> m_entries;       // in the order in which they came
    mutable std::size_t m_settled = 0;  // entries that stand below too
    mutable std::map<SearchKey, Records> m_recordsByKey;
    mutable Records m_files;
};

using OrganizedSearchResultsRef = halyard::CSharedObjectRef<OrganizedSearchResults>;

}  // namespace marl
