// SPDX-License-Identifier: MIT
#include <MarlCore/Files/CUnixFileData.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marl {

using halyard::CException;
using halyard::kFileIOError;

namespace {

/// More than the system reads in one call, and a std::size_t on every host.
constexpr long long kMostAtOnce = 0x7FFFFFFF;

/// `operation` is the message up to the path.
[[noreturn]] void throwFileError(int error, const char* operation, const std::string& path) {
    CException failure(kFileIOError, error);
    failure.concatMessage("%s file '%s'", operation, path.c_str());
    throw failure;
}

std::string pathOf(const CURLRef& url) {
    halyard::throwIfNull(url, "fileURL");
    const halyard::CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    halyard::throwIfNull(path, "path");
    return path->getStringRef();
}

std::int64_t modificationDate(const struct stat& status) noexcept {
    const auto seconds = static_cast<std::uint64_t>(status.st_mtim.tv_sec);
    const auto nanoseconds = static_cast<std::uint32_t>(status.st_mtim.tv_nsec);
    return static_cast<std::int64_t>(seconds << 32 | nanoseconds);
}

}  // namespace

CUnixFileData::CUnixFileData(const CURLRef& url, bool create, bool dataIsBigEndian)
    : IFileData(dataIsBigEndian) {
    const std::string path = pathOf(url);
    // O_NONBLOCK: a pipe without a writer would hold the caller until one comes. Regular files ignore it.
    m_fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (create ? O_CREAT : 0), 0666);
    if (m_fd < 0) throwFileError(errno, "failed to open", path);
    struct stat status;
    const bool known = ::fstat(m_fd, &status) == 0;
    if (!known || !S_ISREG(status.st_mode)) {
        const int error = !known ? errno : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        ::close(m_fd);
        throwFileError(error, known ? "failed to open" : "failed to call ::fstat successfully for", path);
    }
    m_stat.length = status.st_size;
    m_stat.modificationDate = modificationDate(status);
}

CUnixFileData::~CUnixFileData() {
    ::close(m_fd);
}

std::string CUnixFileData::read4Char() {
    char bytes[4];
    return std::string(bytes, static_cast<std::size_t>(readBytes(sizeof bytes, bytes)));
}

std::uint32_t CUnixFileData::readUInt32() {
    char bytes[4] = {};
    readBytes(sizeof bytes, bytes);
    return dataIsBigEndian() ? platform::loadBig32(bytes) : platform::loadLittle32(bytes);
}

long long CUnixFileData::readBytes(long long count, char* buffer) {
    halyard::throwIfNull(buffer, "buffer");
    long long done = 0;
    while (done < count) {
        const auto wanted = static_cast<std::size_t>(std::min(count - done, kMostAtOnce));
        const std::size_t step = readSome({reinterpret_cast<std::byte*>(buffer + done), wanted});
        if (step == 0) break;
        done += static_cast<long long>(step);
        m_position += static_cast<long long>(step);
    }
    return done;
}

/// As many bytes from the read position on as one window holds, or all of a request that is larger than a
/// window; 0 only at the end of the file.
std::size_t CUnixFileData::readSome(std::span<std::byte> bytes) {
    if (bytes.size() >= Window::kSize) return readAt(m_position, bytes);
    const Window& window = windowAt(m_position);
    const auto start = static_cast<std::size_t>(m_position - window.start);
    const std::size_t count = std::min(bytes.size(), window.size - start);
    std::memcpy(bytes.data(), window.bytes.data() + start, count);
    return count;
}

long long CUnixFileData::seek(long long offset, bool relative) {
    long long position = offset;
    if (relative && __builtin_add_overflow(m_position, offset, &position)) return -1;
    if (position < 0) return -1;
    return m_position = position;
}

const CUnixFileData::Window& CUnixFileData::windowAt(long long offset) {
    if (m_windows[m_lastWindow].holds(offset)) return m_windows[m_lastWindow];
    m_lastWindow = 1 - m_lastWindow;
    Window& window = m_windows[m_lastWindow];
    if (!window.holds(offset)) {
        window.size = 0;
        window.start = offset;
        window.size = readAt(offset, window.bytes);
    }
    return window;
}

std::size_t CUnixFileData::readAt(long long offset, std::span<std::byte> bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t step = ::pread(m_fd, bytes.data() + done, bytes.size() - done,
                                     static_cast<off_t>(offset + static_cast<long long>(done)));
        if (step < 0 && errno == EINTR) continue;
        if (step < 0) throw CException(kFileIOError, errno, "failed reading file");
        if (step == 0) break;
        done += static_cast<std::size_t>(step);
    }
    return done;
}

}  // namespace marl
