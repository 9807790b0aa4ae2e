// SPDX-License-Identifier: MIT
/// \file
/// The first 1064 bytes of an index file.
#pragma once

#include <MarlCore/platform/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace marl {

/// How far the index of a folder has come.
enum IndexFileState : std::int32_t {
    kIndexIsNew = 0,        ///< never indexed
    kIndexIsComplete = 1,   ///< the last pass ran to its end
    kIndexingAnew = 2,      ///< the first pass is under way
    kIndexUpdating = 3,     ///< a later pass is under way
    kIndexIsDamaged = 4,    ///< not closed cleanly, or torn: neither searched nor updated
    kIndexIsIncomplete = 5  ///< the last pass stopped before its end
};

/// The header of an index file, in memory. [one thread at a time]
class MARLCORE_EXPORT CIndexFileHeader {
public:
    static constexpr std::size_t kSize = 1064;
    static constexpr std::size_t kLongestRoot = 1024;
    static constexpr std::int32_t kVersion = 2;
    static constexpr std::uint32_t kClosedCleanly = 0xABCDDCBA;

    std::int32_t getVersion() const noexcept { return m_version; }
    void setVersion(std::int32_t version) noexcept;
    std::uint32_t getIntegrityFlag() const noexcept { return m_integrityFlag; }
    bool getEnabled() const noexcept { return m_enabled != 0; }
    void setEnabled(bool enabled) noexcept;
    std::int32_t getState() const noexcept { return m_state; }
    /// Deliberately does not mark the header as changed: a new state alone is never written.
    void setState(std::int32_t state) noexcept { m_state = state; }
    /// The last file identifier given out.
    std::int32_t getFileCount() const noexcept { return m_fileCount; }
    /// The identifier that is given out next. Throws `CException` (internal error) after 2^31 - 1 of them.
    std::int32_t nextFileIndex() const;
    /// Gives it out.
    std::int32_t incrementFileIndex();
    std::int64_t getSearchKeyIndexLocation() const noexcept { return m_searchKeyIndexLocation; }
    void setSearchKeyIndexLocation(std::int64_t location) noexcept;
    std::int32_t getSearchKeyIndexCount() const noexcept { return m_searchKeyIndexCount; }
    void setSearchKeyIndexCount(std::int32_t count) noexcept;
    const std::string& getRootDirectory() const noexcept { return m_rootDirectory; }
    /// Keeps the first 1024 bytes.
    void setRootDirectory(std::string_view path);

    bool isChanged() const noexcept { return m_headerChanged; }
    void clearChanged() noexcept { m_headerChanged = false; }

    /// Reads the header of the open file; one that ends before 1064 bytes leaves this object as it is. True
    /// exactly when its integrity flag says that it was closed cleanly. These throw `CException` (file error,
    /// the code is errno).
    bool readFromFile(int descriptor);
    void writeToFile(int descriptor) const;
    /// Stores `flag` and writes the whole header.
    void flushIntegrityFlag(int descriptor, std::uint32_t flag);

private:
    using Image = std::array<std::byte, kSize>;

    void takeImage(const Image& image);
    Image image() const noexcept;

    std::int32_t m_version = kVersion;
    std::uint32_t m_integrityFlag = 0;
    std::int32_t m_enabled = 1;
    std::int32_t m_state = kIndexIsNew;
    std::int32_t m_fileCount = 0;
    std::int16_t m_reserved = 1;  // kept as found
    std::int64_t m_searchKeyIndexLocation = 0;
    std::int32_t m_searchKeyIndexCount = 0;
    std::string m_rootDirectory;
    bool m_headerChanged = false;
};

}  // namespace marl
