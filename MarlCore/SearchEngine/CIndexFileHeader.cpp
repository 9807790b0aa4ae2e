// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CIndexFileHeader.h>

#include <MarlCore/SearchEngine/WholeTransfersImpl.h>
#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <cerrno>
#include <cstring>
#include <limits>

namespace marl {

using halyard::CException;
using halyard::kFileIOError;
using platform::loadBig16;
using platform::loadBig32;
using platform::loadBig64;
using platform::storeBig16;
using platform::storeBig32;
using platform::storeBig64;

namespace {

// Offsets of the fields.
constexpr std::size_t kVersionAt = 0, kIntegrityFlagAt = 4, kEnabledAt = 8, kStateAt = 12, kFileCountAt = 16;
constexpr std::size_t kReservedAt = 20, kLocationAt = 24, kCountAt = 32, kRootDirectoryAt = 36;
static_assert(kRootDirectoryAt + CIndexFileHeader::kLongestRoot + 1 + 3 == CIndexFileHeader::kSize);

/// What the texts of errors give as the size of a header: with its state in memory, not the bytes on disk.
constexpr int kSizeInMessages = 1072;

}  // namespace

void CIndexFileHeader::setVersion(std::int32_t version) noexcept {
    m_version = version;
    m_headerChanged = true;
}

void CIndexFileHeader::setEnabled(bool enabled) noexcept {
    m_enabled = enabled;
    m_headerChanged = true;
}

std::int32_t CIndexFileHeader::nextFileIndex() const {
    if (m_fileCount == std::numeric_limits<std::int32_t>::max())
        throw CException(halyard::kInternalError, "the index is full (%d files)", m_fileCount);
    return m_fileCount + 1;
}

std::int32_t CIndexFileHeader::incrementFileIndex() {
    m_fileCount = nextFileIndex();
    m_headerChanged = true;
    return m_fileCount;
}

void CIndexFileHeader::setSearchKeyIndexLocation(std::int64_t location) noexcept {
    m_searchKeyIndexLocation = location;
    m_headerChanged = true;
}

void CIndexFileHeader::setSearchKeyIndexCount(std::int32_t count) noexcept {
    m_searchKeyIndexCount = count;
    m_headerChanged = true;
}

void CIndexFileHeader::setRootDirectory(std::string_view path) {
    m_rootDirectory = path.substr(0, kLongestRoot);
    m_headerChanged = true;
}

bool CIndexFileHeader::readFromFile(int descriptor) {
    Image image;
    const std::int64_t count = readWholeAt(descriptor, image, 0);
    if (count < 0) {
        CException failure(kFileIOError, errno);
        failure.concatMessage("failed to read data of %d bytes from header", kSizeInMessages);
        failure.Throw();
    }
    if (count == static_cast<std::int64_t>(kSize)) takeImage(image);
    return m_integrityFlag == kClosedCleanly;
}

void CIndexFileHeader::writeToFile(int descriptor) const {
    if (writeWholeAt(descriptor, image(), 0)) return;
    CException failure(kFileIOError, errno);
    // The identity of the header object stands where one would look for a place in the file.
    failure.concatMessage("failed to write data at 0x%x of %d bytes",
                          static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this)), kSizeInMessages);
    failure.Throw();
}

void CIndexFileHeader::flushIntegrityFlag(int descriptor, std::uint32_t flag) {
    m_integrityFlag = flag;
    writeToFile(descriptor);
}

void CIndexFileHeader::takeImage(const Image& image) {
    const auto int32At = [&](std::size_t offset) {
        return static_cast<std::int32_t>(loadBig32(image.data() + offset));
    };
    m_version = int32At(kVersionAt);
    m_integrityFlag = loadBig32(image.data() + kIntegrityFlagAt);
    m_enabled = int32At(kEnabledAt);
    m_state = int32At(kStateAt);
    m_fileCount = int32At(kFileCountAt);
    m_reserved = static_cast<std::int16_t>(loadBig16(image.data() + kReservedAt));
    m_searchKeyIndexLocation = static_cast<std::int64_t>(loadBig64(image.data() + kLocationAt));
    m_searchKeyIndexCount = int32At(kCountAt);
    const auto* const root = reinterpret_cast<const char*>(image.data() + kRootDirectoryAt);
    m_rootDirectory.assign(root, ::strnlen(root, kLongestRoot));
    m_headerChanged = false;
}

CIndexFileHeader::Image CIndexFileHeader::image() const noexcept {
    Image image{};
    const auto storeInt32 = [&](std::size_t offset, std::int32_t value) {
        storeBig32(image.data() + offset, static_cast<std::uint32_t>(value));
    };
    storeInt32(kVersionAt, m_version);
    storeBig32(image.data() + kIntegrityFlagAt, m_integrityFlag);
    storeInt32(kEnabledAt, m_enabled);
    storeInt32(kStateAt, m_state);
    storeInt32(kFileCountAt, m_fileCount);
    storeBig16(image.data() + kReservedAt, static_cast<std::uint16_t>(m_reserved));
    storeBig64(image.data() + kLocationAt, static_cast<std::uint64_t>(m_searchKeyIndexLocation));
    storeInt32(kCountAt, m_searchKeyIndexCount);
    std::memcpy(image.data() + kRootDirectoryAt, m_rootDirectory.data(), m_rootDirectory.size());
    return image;
}

}  // namespace marl
