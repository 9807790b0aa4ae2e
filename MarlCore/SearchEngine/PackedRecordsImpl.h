// SPDX-License-Identifier: MIT
/// \file
/// The records of an index in memory, at a fifteenth of their size.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexInfo.h>
#include <MarlCore/foundation/CBuffer.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace marl {

/// Numbers for texts, from 0 on, in the order in which they come.
class TextNumbers {
public:
    explicit TextNumbers(std::size_t most) : m_most(most) {}

    /// The number of the text; nothing when it is a new one and there are `most` already.
    std::optional<std::uint32_t> add(std::string_view text);
    std::string_view operator[](std::uint32_t number) const noexcept { return m_texts[number]; }
    void clear() noexcept;

private:
    struct Hash {
        using is_transparent = void;
        // Deliberately not noexcept: the map keeps the hashes then, instead of making them again to find the
        // end of a bucket.
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };

    std::size_t m_most;
    std::unordered_map<std::string, std::uint32_t, Hash, std::equal_to<>> m_numbers;
    std::vector<std::string_view> m_texts;  // owned by m_numbers
};

/// Copies of records, by file identifier. A record of 1464 bytes takes about 90: keys and folders, which many
/// records share, are stored once, and bytes behind the end of a text are not. To write a record out takes a
/// fraction of the time of a read from the file, be it in the cache of the system.
///
/// Keeps what comes out byte for byte, at most 512 MiB of it, and as many folders and keys as are seen in
/// practice: not every record. [one thread at a time]
class PackedRecords {
public:
    /// Takes a copy in place of an earlier one; drops that when this record cannot be kept.
    void keep(std::int32_t fileID, const CFileIndexInfo& record);
    void clear() noexcept;

    bool holds(std::int32_t fileID) const noexcept { return positionOf(fileID) != kNowhere; }

    /// The number of a key, for `carries`; nothing when no record has it.
    std::optional<std::uint16_t> numberOf(const SearchKey& key) const;

    // Of records that are held:

    void copyTo(CFileIndexInfo& record, std::int32_t fileID) const noexcept;
    /// Whether a key field of the record is the key of this number.
    bool carries(std::int32_t fileID, std::uint16_t key) const noexcept;

    /// Fetch what says where the record lies, and then the record, into the cache of the processor. They may
    /// be asked for any file.
    void prefetchPosition(std::int32_t fileID) const noexcept;
    void prefetch(std::int32_t fileID) const noexcept;

private:
    static constexpr std::uint32_t kNowhere = 0;

    std::uint32_t positionOf(std::int32_t fileID) const noexcept;
    std::byte* at(std::uint32_t position) const noexcept;
    std::uint32_t roomFor(std::size_t size);
    std::size_t pack(std::span<const std::byte, CFileIndexInfo::kSize> image, std::span<std::byte> packed);
    void unpack(const std::byte* packed, std::int32_t fileID,
                std::span<std::byte, CFileIndexInfo::kSize> image) const noexcept;
    std::optional<std::uint16_t> spellingOf(const std::byte* field);

    std::vector<std::uint32_t> m_positions;  // of file n at n - 1
    std::vector<halyard::CBufferRef> m_blocks;
    std::size_t m_used = 0;  // bytes of the last block

    static constexpr std::size_t kMostFolders = std::size_t{1} << 18;
    static constexpr std::size_t kMostSpellings = std::size_t{1} << 16;

    TextNumbers m_folders{kMostFolders};        // with the slash at their end
    TextNumbers m_spellings{kMostSpellings};    // all bytes of key fields
    std::vector<std::uint16_t> m_keyNumbers;    // of the keys that they spell
    std::map<SearchKey, std::uint16_t> m_keys;  // the number of the first spelling of each
};

}  // namespace marl
