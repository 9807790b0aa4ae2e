// SPDX-License-Identifier: MIT
/// \file
/// What an index file knows of one audio file: its record. docs/index-file-format.md shows the bytes.
#pragma once

#include <MarlCore/Files/parsing/LoopMetadata.h>
#include <MarlCore/SearchEngine/SearchKey.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>

namespace marl {

/// Measures of a loop beside its keys.
struct AdditionalFileInfo {
    float tempo = 0;                 ///< beats a minute; -1 for a file that is no loop
    std::int32_t midiRootNote = 0;   ///< MIDI note number of the loop's key; 0: none
    std::int32_t numberOfBeats = 0;  ///< length in beats
    bool sourceBeatsDiffer = false;  ///< the file states another number of beats than `numberOfBeats`
    bool lacksTransients = false;    ///< the file had no slice points
    bool lacksSearchTags = false;    ///< the file had no search tags

    friend bool operator==(const AdditionalFileInfo&, const AdditionalFileInfo&) = default;
};

/// The record of one audio file, held as the 1464 bytes that stand in the index file: big-endian on every
/// host, text ends at a zero byte. Any 1464 bytes are a record, without harm. [one thread at a time]
class MARLCORE_EXPORT CFileIndexInfo {
public:
    static constexpr std::size_t kSize = 1464;
    static constexpr std::size_t kLongestFileName = 1024;
    static constexpr int kDescriptorSlots = 10;

    using Image = std::array<std::byte, kSize>;

    /// Nothing yet: to be read before anything else is asked of it.
    struct Unread {};
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): thousands are made to be read into
    explicit CFileIndexInfo(Unread) noexcept {}

    /// The time of a record: seconds since 1970 (UTC), up to the last that it can hold.
    static std::int32_t now() noexcept;

    /// A file without a name, in 4/4, indexed now.
    CFileIndexInfo();

    /// The record of `fileName` with the keys in `tags`. A tag of category instrument, sub-type or genre
    /// replaces an earlier one of the set; descriptors add up. The keys that the file is to be found by go to
    /// `keys`. A name of more than 1024 bytes is cut, and the record has no keys.
    ///
    /// Deliberately, an eleventh descriptor is still taken: it stands behind the tenth, and so over the first
    /// 30 bytes of the name. Later ones are dropped. Existing index files hold such records.
    ///
    /// Throws `CNullPointerException` for a null name.
    CFileIndexInfo(const char* fileName, const std::set<SearchKeyInfo>& tags, std::set<SearchKeyInfo>& keys);

    /// The first 1024 bytes of the path, up to a zero byte; valid while this object lives.
    const char* getFileName() const noexcept;

    /// Positive once the file is in an index; the negated identifier when the file has gone; 0 before.
    std::int32_t getFileID() const noexcept;
    void setFileID(std::int32_t fileID) noexcept;

    /// Seconds since 1970 (UTC) when the record was built.
    std::int32_t getIndexTime() const noexcept;
    void setIndexTime(std::int32_t seconds) noexcept;

    tagging::TimeSignature getTimeSignature() const noexcept;
    void setTimeSignature(const tagging::TimeSignature& timeSignature) noexcept;
    std::int16_t getKeyType() const noexcept;
    void setKeyType(std::int16_t keyType) noexcept;
    /// 0 for a loop, whose tempo and key mean something.
    std::int16_t getContentFileType() const noexcept;
    void setContentFileType(std::int16_t contentFileType) noexcept;
    AdditionalFileInfo getAdditionalInfo() const noexcept;
    void setAdditionalInfo(const AdditionalFileInfo& info) noexcept;

    SearchKey getInstrument() const noexcept;
    SearchKey getInstrumentSubType() const noexcept;
    SearchKey getGenre() const noexcept;
    std::int32_t getDescriptorCount() const noexcept;

    /// Throws `CParamException` when `index` is not less than the count. Deliberately no more is asked of it;
    /// a slot that the record does not have reads as an empty key.
    SearchKey getDescriptorAtIndex(int index) const;

    /// The key fields of the record: instrument, sub-type, genre, then the descriptors.
    /// `visit(const SearchKey&, category)` is called for each that is valid, in this order.
    template <class Visitor>
    void forEachKey(Visitor&& visit) const {
        visitIfValid(visit, getInstrument(), SearchKeyInfo::kInstrument);
        visitIfValid(visit, getInstrumentSubType(), SearchKeyInfo::kInstrumentSubType);
        visitIfValid(visit, getGenre(), SearchKeyInfo::kGenre);
        for (int i = 0; i < readableDescriptors(); ++i)
            visitIfValid(visit, descriptor(i), SearchKeyInfo::kDescriptor);
    }

    /// Whether the file is found by `key`: it is one of `searchKeys`.
    bool carries(const SearchKey& key) const noexcept;

    /// The keys that a file with this record is found by, as the constructor gives them: every descriptor,
    /// and of the other fields those that are valid.
    std::set<SearchKeyInfo> searchKeys() const;

    std::span<const std::byte, kSize> image() const noexcept { return m_image; }

    /// Writes the record at the position of `descriptor`, or reads it there. A file that ends before 1464
    /// bytes leaves this object as it is. Throw `CException` (file error, the code is errno).
    void writeToFile(int descriptor) const;
    void readFromFile(int descriptor);

    /// The same at a byte `offset` from the start of the file. `readAt` returns whether the file held it.
    void writeAt(int descriptor, std::int64_t offset) const;
    bool readAt(int descriptor, std::int64_t offset);
    /// Fills `records`, which lie one behind the other in the file.
    static bool readAllAt(int descriptor, std::int64_t offset, std::span<CFileIndexInfo> records);

private:
    friend class PackedRecords;  // writes records out

    template <class Visitor>
    static void visitIfValid(Visitor& visit, const SearchKey& key, std::int32_t category) {
        if (key.isValid()) visit(key, category);
    }

    /// As many as the count says and there are slots for, the eleventh included.
    int readableDescriptors() const noexcept;
    SearchKey descriptor(int index) const noexcept;
    void addTag(const SearchKeyInfo& tag, std::set<SearchKeyInfo>& keys);
    void addDescriptor(const SearchKeyInfo& tag, std::set<SearchKeyInfo>& keys);
    SearchKey keyAt(std::size_t offset) const noexcept;
    void setKeyAt(std::size_t offset, const SearchKey& key) noexcept;
    void takeImage(const Image& image) noexcept;
    void endName() noexcept;

    Image m_image;
};

}  // namespace marl
