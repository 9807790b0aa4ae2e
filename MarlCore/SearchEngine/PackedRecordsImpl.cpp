// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/PackedRecordsImpl.h>

#include <MarlCore/SearchEngine/RecordLayoutImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace marl {

namespace {

using namespace record;

// A packed record, in host order, not aligned: its room in bytes (16 bits), the number of its key fields (8
// bits), the fields before the keys as they stand in the record, the type of its contents, the number of its
// folder (32 bits), the numbers of its key fields (16 bits each), and its name with a zero byte.
constexpr std::size_t kPlainBegin = kIndexTime, kPlainSize = kInstrument - kPlainBegin;
constexpr std::size_t kRoomAt = 0, kFieldCountAt = 2, kPlainAt = 3, kContentTypeAt = kPlainAt + kPlainSize;
constexpr std::size_t kFolderAt = kContentTypeAt + 2, kFieldsAt = kFolderAt + 4;

/// Instrument, sub-type and genre, which stand one behind the other, before the descriptors.
constexpr std::size_t kSingleFields = 3;
constexpr std::size_t kMostFields = kSingleFields + CFileIndexInfo::kDescriptorSlots;
static_assert(kGenre == kInstrument + 2 * SearchKey::kSize);

constexpr std::size_t kMostPacked = kFieldsAt + 2 * kMostFields + CFileIndexInfo::kLongestFileName + 1;

// Positions: the number of a block, and a place in it. Blocks begin small, for small indexes, and soon are
// large enough for huge pages. The first byte of the first block is nobody's.
constexpr int kPlaceBits = 23;
constexpr std::size_t kLargestBlock = std::size_t{1} << kPlaceBits;
constexpr std::size_t kFirstBlock = std::size_t{1} << 16;
constexpr std::size_t kMostBlocks = 64;
static_assert(kFirstBlock > kMostPacked);

template <class Number>
Number load(const std::byte* bytes) noexcept {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <class Number>
void store(std::byte* bytes, Number number) noexcept {
    std::memcpy(bytes, &number, sizeof number);
}

std::size_t fieldCountOf(const std::byte* packed) noexcept {
    return std::to_integer<std::size_t>(packed[kFieldCountAt]);
}

/// Where key field `i` stands in a record.
std::size_t placeOfField(std::size_t i) noexcept {
    return i < kSingleFields ? kInstrument + i * SearchKey::kSize
                             : kDescriptors + (i - kSingleFields) * SearchKey::kSize;
}

std::string_view nameIn(std::span<const std::byte, CFileIndexInfo::kSize> image) noexcept {
    const auto* const name = reinterpret_cast<const char*>(image.data() + kFileName);
    return {name, ::strnlen(name, CFileIndexInfo::kLongestFileName)};
}

void zero(std::span<std::byte> image, std::size_t begin, std::size_t end) noexcept {
    std::memset(image.data() + begin, 0, end - begin);
}

}  // namespace

// ---- Texts ----

std::optional<std::uint32_t> TextNumbers::add(std::string_view text) {
    if (const auto known = m_numbers.find(text); known != m_numbers.end()) return known->second;
    if (m_texts.size() == m_most) return {};
    const auto number = static_cast<std::uint32_t>(m_texts.size());
    m_texts.push_back(m_numbers.emplace(text, number).first->first);
    return number;
}

void TextNumbers::clear() noexcept {
    m_numbers.clear();
    m_texts.clear();
}

// ---- Keeping records ----

void PackedRecords::keep(std::int32_t fileID, const CFileIndexInfo& record) {
    if (fileID < 1) return;
    const auto place = static_cast<std::size_t>(fileID) - 1;
    if (m_positions.size() <= place) m_positions.resize(place + 1, kNowhere);
    std::uint32_t& position = m_positions[place];

    std::array<std::byte, kMostPacked> packed;
    const std::size_t size = pack(record.image(), packed);
    if (size != 0 && position != kNowhere && load<std::uint16_t>(at(position)) >= size)
        store(packed.data() + kRoomAt, load<std::uint16_t>(at(position)));
    else
        position = size == 0 ? kNowhere : roomFor(size);
    if (position == kNowhere) return;
    std::memcpy(at(position), packed.data(), size);

    std::array<std::byte, CFileIndexInfo::kSize> unpacked;
    unpack(packed.data(), fileID, unpacked);
    if (std::memcmp(unpacked.data(), record.image().data(), unpacked.size()) != 0) position = kNowhere;
}

void PackedRecords::clear() noexcept {
    m_positions = {};
    m_blocks.clear();
    m_used = 0;
    m_folders.clear();
    m_spellings.clear();
    m_keyNumbers.clear();
    m_keys.clear();
}

/// Returns the bytes that it takes; 0 when it cannot be packed.
std::size_t PackedRecords::pack(std::span<const std::byte, CFileIndexInfo::kSize> image,
                                std::span<std::byte> packed) {
    const std::uint32_t descriptors = platform::loadBig32(image.data() + kDescriptorCount);
    if (descriptors > CFileIndexInfo::kDescriptorSlots) return 0;
    const std::size_t fields = kSingleFields + descriptors;
    packed[kFieldCountAt] = static_cast<std::byte>(fields);
    std::memcpy(packed.data() + kPlainAt, image.data() + kPlainBegin, kPlainSize);
    std::memcpy(packed.data() + kContentTypeAt, image.data() + kContentFileType, 2);
    for (std::size_t i = 0; i < fields; ++i) {
        const auto spelling = spellingOf(image.data() + placeOfField(i));
        if (!spelling) return 0;
        store(packed.data() + kFieldsAt + 2 * i, *spelling);
    }
    const std::string_view path = nameIn(image);
    const std::size_t nameAt = path.rfind('/') + 1;  // 0 without a folder
    const auto folder = m_folders.add(path.substr(0, nameAt));
    if (!folder) return 0;
    store(packed.data() + kFolderAt, *folder);
    const std::string_view name = path.substr(nameAt);
    std::byte* const end =
        std::ranges::copy(std::as_bytes(std::span(name)), &packed[kFieldsAt + 2 * fields]).out;
    *end = std::byte{0};
    const auto size = static_cast<std::size_t>(end + 1 - packed.data());
    store(packed.data() + kRoomAt, static_cast<std::uint16_t>(size));
    return size;
}

/// Nothing when there are too many.
std::optional<std::uint16_t> PackedRecords::spellingOf(const std::byte* field) {
    const auto number = m_spellings.add({reinterpret_cast<const char*>(field), SearchKey::kSize});
    if (!number) return {};
    const auto spelling = static_cast<std::uint16_t>(*number);
    if (*number == m_keyNumbers.size())
        m_keyNumbers.push_back(m_keys.try_emplace(SearchKey::fromBytes(field), spelling).first->second);
    return spelling;
}

std::uint32_t PackedRecords::roomFor(std::size_t size) {
    if (m_blocks.empty() || m_blocks.back()->getSize() - m_used < size) {
        if (m_blocks.size() == kMostBlocks) return kNowhere;
        const std::size_t bytes = m_blocks.empty() ? kFirstBlock : 2 * m_blocks.back()->getSize();
        m_used = m_blocks.empty() ? 1 : 0;
        m_blocks.emplace_back(new halyard::CBuffer(std::min(bytes, kLargestBlock), false));
    }
    const std::size_t position = (m_blocks.size() - 1) << kPlaceBits | m_used;
    m_used += size;
    return static_cast<std::uint32_t>(position);
}

// ---- Getting at records ----

std::uint32_t PackedRecords::positionOf(std::int32_t fileID) const noexcept {
    const auto place = static_cast<std::size_t>(fileID) - 1;
    return place < m_positions.size() ? m_positions[place] : kNowhere;
}

std::byte* PackedRecords::at(std::uint32_t position) const noexcept {
    return m_blocks[position >> kPlaceBits]->getPtr() + (position & (kLargestBlock - 1));
}

void PackedRecords::prefetchPosition(std::int32_t fileID) const noexcept {
    const auto place = static_cast<std::size_t>(fileID) - 1;
    if (place < m_positions.size()) __builtin_prefetch(&m_positions[place]);
}

void PackedRecords::prefetch(std::int32_t fileID) const noexcept {
    constexpr std::size_t kCacheLine = 64, kMostlyEnough = 3;
    const std::uint32_t position = positionOf(fileID);
    if (position == kNowhere) return;
    for (std::size_t line = 0; line < kMostlyEnough; ++line)
        __builtin_prefetch(at(position) + line * kCacheLine);
}

std::optional<std::uint16_t> PackedRecords::numberOf(const SearchKey& key) const {
    const auto place = m_keys.find(key);
    if (place == m_keys.end()) return {};
    return place->second;
}

bool PackedRecords::carries(std::int32_t fileID, std::uint16_t key) const noexcept {
    const std::byte* const packed = at(positionOf(fileID));
    for (std::size_t i = 0; i < fieldCountOf(packed); ++i)
        if (m_keyNumbers[load<std::uint16_t>(packed + kFieldsAt + 2 * i)] == key) return true;
    return false;
}

void PackedRecords::copyTo(CFileIndexInfo& record, std::int32_t fileID) const noexcept {
    unpack(at(positionOf(fileID)), fileID, record.m_image);
}

void PackedRecords::unpack(const std::byte* packed, std::int32_t fileID,
                           std::span<std::byte, CFileIndexInfo::kSize> image) const noexcept {
    const std::size_t fields = fieldCountOf(packed);
    platform::storeBig32(image.data() + kFileID, static_cast<std::uint32_t>(fileID));
    std::memcpy(image.data() + kPlainBegin, packed + kPlainAt, kPlainSize);
    for (std::size_t i = 0; i < fields; ++i) {
        const auto spelling = load<std::uint16_t>(packed + kFieldsAt + 2 * i);
        std::memcpy(image.data() + placeOfField(i), m_spellings[spelling].data(), SearchKey::kSize);
    }
    zero(image, kGenre + SearchKey::kSize, kDescriptorCount);
    platform::storeBig32(image.data() + kDescriptorCount, static_cast<std::uint32_t>(fields - kSingleFields));
    zero(image, placeOfField(fields), kFileName);

    const std::string_view folder = m_folders[load<std::uint32_t>(packed + kFolderAt)];
    const auto* const name = reinterpret_cast<const char*>(packed + kFieldsAt + 2 * fields);
    const std::size_t length = std::strlen(name);
    std::memcpy(image.data() + kFileName, folder.data(), folder.size());
    std::memcpy(image.data() + kFileName + folder.size(), name, length);
    zero(image, kFileName + folder.size() + length, kContentFileType);
    std::memcpy(image.data() + kContentFileType, packed + kContentTypeAt, 2);
}

}  // namespace marl
