// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CFileIndexInfo.h>

#include <MarlCore/SearchEngine/RecordLayoutImpl.h>
#include <MarlCore/SearchEngine/WholeTransfersImpl.h>
#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>

#include <unistd.h>

namespace marl {

using halyard::CException;
using halyard::CNullPointerException;
using halyard::CParamException;
using halyard::kFileIOError;
using halyard::kNullPointerError;
using halyard::kParameterError;
using platform::loadBig16;
using platform::loadBig32;
using platform::storeBig16;
using platform::storeBig32;
using namespace record;

namespace {

constexpr std::int16_t kDefaultKeyType = 3;

std::int32_t loadInt32(std::span<const std::byte> image, std::size_t offset) noexcept {
    return static_cast<std::int32_t>(loadBig32(image.data() + offset));
}

void storeInt32(std::span<std::byte> image, std::size_t offset, std::int32_t value) noexcept {
    storeBig32(image.data() + offset, static_cast<std::uint32_t>(value));
}

std::int16_t loadInt16(std::span<const std::byte> image, std::size_t offset) noexcept {
    return static_cast<std::int16_t>(loadBig16(image.data() + offset));
}

void storeInt16(std::span<std::byte> image, std::size_t offset, std::int16_t value) noexcept {
    storeBig16(image.data() + offset, static_cast<std::uint16_t>(value));
}

[[noreturn]] void throwWriteError(const CFileIndexInfo* record) {
    CException failure(kFileIOError, errno);
    // The identity of the record object, which tells nobody much, is part of the text.
    failure.concatMessage("failed to write file index info of %d bytes at 0x%x",
                          static_cast<int>(CFileIndexInfo::kSize),
                          static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(record)));
    failure.Throw();
}

[[noreturn]] void throwReadError() {
    CException failure(kFileIOError, errno);
    failure.concatMessage("failed to read file index info of %d bytes",
                          static_cast<int>(CFileIndexInfo::kSize));
    failure.Throw();
}

}  // namespace

std::int32_t CFileIndexInfo::now() noexcept {
    constexpr std::time_t kLast = std::numeric_limits<std::int32_t>::max();  // in 2038
    return static_cast<std::int32_t>(std::min(std::time(nullptr), kLast));
}

CFileIndexInfo::CFileIndexInfo() : m_image{} {
    setIndexTime(now());
    setTimeSignature({});
    setKeyType(kDefaultKeyType);
}

CFileIndexInfo::CFileIndexInfo(const char* fileName, const std::set<SearchKeyInfo>& tags,
                               std::set<SearchKeyInfo>& keys)
    : CFileIndexInfo() {
    halyard::throwIfNull(fileName, "fileName");
    const std::size_t length = ::strnlen(fileName, kLongestFileName + 1);
    std::memcpy(m_image.data() + kFileName, fileName, std::min(length, kLongestFileName));
    if (length > kLongestFileName) return;
    for (const SearchKeyInfo& tag : tags) addTag(tag, keys);
    if (getInstrument().isValid()) keys.emplace(getInstrument(), SearchKeyInfo::kInstrument, SearchKey());
    if (getInstrumentSubType().isValid())
        keys.emplace(getInstrumentSubType(), SearchKeyInfo::kInstrumentSubType, getInstrument());
    if (getGenre().isValid()) keys.emplace(getGenre(), SearchKeyInfo::kGenre, SearchKey());
}

void CFileIndexInfo::addTag(const SearchKeyInfo& tag, std::set<SearchKeyInfo>& keys) {
    switch (tag.category) {
        case SearchKeyInfo::kInstrument:
            return setKeyAt(kInstrument, tag.key);
        case SearchKeyInfo::kInstrumentSubType:
            return setKeyAt(kInstrumentSubType, tag.key);
        case SearchKeyInfo::kGenre:
            return setKeyAt(kGenre, tag.key);
        case SearchKeyInfo::kDescriptor:
            return addDescriptor(tag, keys);
        default:
            return;
    }
}

void CFileIndexInfo::addDescriptor(const SearchKeyInfo& tag, std::set<SearchKeyInfo>& keys) {
    const std::int32_t count = getDescriptorCount();
    if (count > kDescriptorSlots) return;  // deliberately not >=: see the constructor
    setKeyAt(kDescriptors + static_cast<std::size_t>(count) * SearchKey::kSize, tag.key);
    storeInt32(m_image, kDescriptorCount, count + 1);
    keys.emplace(tag.key, SearchKeyInfo::kDescriptor, SearchKey());
}

const char* CFileIndexInfo::getFileName() const noexcept {
    return reinterpret_cast<const char*>(m_image.data() + kFileName);
}

std::int32_t CFileIndexInfo::getFileID() const noexcept {
    return loadInt32(m_image, kFileID);
}
void CFileIndexInfo::setFileID(std::int32_t fileID) noexcept {
    storeInt32(m_image, kFileID, fileID);
}

std::int32_t CFileIndexInfo::getIndexTime() const noexcept {
    return loadInt32(m_image, kIndexTime);
}
void CFileIndexInfo::setIndexTime(std::int32_t seconds) noexcept {
    storeInt32(m_image, kIndexTime, seconds);
}

tagging::TimeSignature CFileIndexInfo::getTimeSignature() const noexcept {
    return {loadInt16(m_image, kNumerator), loadInt16(m_image, kDenominator)};
}
void CFileIndexInfo::setTimeSignature(const tagging::TimeSignature& timeSignature) noexcept {
    storeInt16(m_image, kNumerator, timeSignature.numerator);
    storeInt16(m_image, kDenominator, timeSignature.denominator);
}

std::int16_t CFileIndexInfo::getKeyType() const noexcept {
    return loadInt16(m_image, kKeyType);
}
void CFileIndexInfo::setKeyType(std::int16_t keyType) noexcept {
    storeInt16(m_image, kKeyType, keyType);
}

std::int16_t CFileIndexInfo::getContentFileType() const noexcept {
    return loadInt16(m_image, kContentFileType);
}
void CFileIndexInfo::setContentFileType(std::int16_t contentFileType) noexcept {
    storeInt16(m_image, kContentFileType, contentFileType);
}

AdditionalFileInfo CFileIndexInfo::getAdditionalInfo() const noexcept {
    return {std::bit_cast<float>(loadBig32(m_image.data() + kTempo)),
            loadInt32(m_image, kMIDIRootNote),
            loadInt32(m_image, kNumberOfBeats),
            loadInt32(m_image, kSourceBeatsDiffer) != 0,
            loadInt32(m_image, kLacksTransients) != 0,
            loadInt32(m_image, kLacksSearchTags) != 0};
}

void CFileIndexInfo::setAdditionalInfo(const AdditionalFileInfo& info) noexcept {
    storeBig32(m_image.data() + kTempo, std::bit_cast<std::uint32_t>(info.tempo));
    storeInt32(m_image, kMIDIRootNote, info.midiRootNote);
    storeInt32(m_image, kNumberOfBeats, info.numberOfBeats);
    storeInt32(m_image, kSourceBeatsDiffer, info.sourceBeatsDiffer);
    storeInt32(m_image, kLacksTransients, info.lacksTransients);
    storeInt32(m_image, kLacksSearchTags, info.lacksSearchTags);
}

SearchKey CFileIndexInfo::getInstrument() const noexcept {
    return keyAt(kInstrument);
}
SearchKey CFileIndexInfo::getInstrumentSubType() const noexcept {
    return keyAt(kInstrumentSubType);
}
SearchKey CFileIndexInfo::getGenre() const noexcept {
    return keyAt(kGenre);
}

std::int32_t CFileIndexInfo::getDescriptorCount() const noexcept {
    return loadInt32(m_image, kDescriptorCount);
}

SearchKey CFileIndexInfo::getDescriptorAtIndex(int index) const {
    const std::int32_t count = getDescriptorCount();
    if (index >= count)
        throw CParamException(kParameterError,
                              "index out of range (got %ld, but there are only %ld descriptors)",
                              static_cast<long>(index), static_cast<long>(count));
    return index >= 0 && index < readableDescriptors() ? descriptor(index) : SearchKey();
}

int CFileIndexInfo::readableDescriptors() const noexcept {
    return std::clamp(getDescriptorCount(), 0, kDescriptorSlots + 1);
}

SearchKey CFileIndexInfo::descriptor(int index) const noexcept {
    return keyAt(kDescriptors + static_cast<std::size_t>(index) * SearchKey::kSize);
}

bool CFileIndexInfo::carries(const SearchKey& key) const noexcept {
    for (int i = 0; i < readableDescriptors(); ++i)
        if (descriptor(i) == key) return true;  // valid or not
    bool found = false;
    forEachKey([&](const SearchKey& own, std::int32_t) { found = found || own == key; });
    return found;
}

std::set<SearchKeyInfo> CFileIndexInfo::searchKeys() const {
    std::set<SearchKeyInfo> keys;
    for (int i = 0; i < readableDescriptors(); ++i)
        keys.emplace(descriptor(i), SearchKeyInfo::kDescriptor, SearchKey());
    forEachKey([&](const SearchKey& key, std::int32_t category) {
        const bool isSubType = category == SearchKeyInfo::kInstrumentSubType;
        keys.emplace(key, category, isSubType ? getInstrument() : SearchKey());
    });
    return keys;
}

void CFileIndexInfo::writeToFile(int descriptor) const {
    if (::write(descriptor, m_image.data(), kSize) < 0) throwWriteError(this);
}

void CFileIndexInfo::readFromFile(int descriptor) {
    Image image;
    const ssize_t count = ::read(descriptor, image.data(), kSize);
    if (count < 0) throwReadError();
    if (count == static_cast<ssize_t>(kSize)) takeImage(image);
}

void CFileIndexInfo::writeAt(int descriptor, std::int64_t offset) const {
    if (!writeWholeAt(descriptor, m_image, offset)) throwWriteError(this);
}

bool CFileIndexInfo::readAt(int descriptor, std::int64_t offset) {
    Image image;
    const std::int64_t count = readWholeAt(descriptor, image, offset);
    if (count < 0) throwReadError();
    if (count < static_cast<std::int64_t>(kSize)) return false;
    takeImage(image);
    return true;
}

void CFileIndexInfo::takeImage(const Image& image) noexcept {
    m_image = image;
    endName();
}

/// A foreign record may have no end of its name.
void CFileIndexInfo::endName() noexcept {
    m_image[kFileName + kLongestFileName] = std::byte{0};
}

bool CFileIndexInfo::readAllAt(int descriptor, std::int64_t offset, std::span<CFileIndexInfo> records) {
    static_assert(sizeof(CFileIndexInfo) == kSize);
    const std::int64_t count = readWholeAt(descriptor, std::as_writable_bytes(records), offset);
    if (count < 0) throwReadError();
    for (CFileIndexInfo& record : records) record.endName();
    return count == static_cast<std::int64_t>(records.size_bytes());
}

SearchKey CFileIndexInfo::keyAt(std::size_t offset) const noexcept {
    return SearchKey::fromBytes(m_image.data() + offset);
}

void CFileIndexInfo::setKeyAt(std::size_t offset, const SearchKey& key) noexcept {
    std::memcpy(m_image.data() + offset, key.getCharPtr(), SearchKey::kSize);
}

}  // namespace marl
