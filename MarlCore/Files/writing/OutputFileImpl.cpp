// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/OutputFileImpl.h>

#include <MarlCore/foundation/CException.h>
#include <MarlCore/foundation/FileUtilities.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marl {

using halyard::CException;
using halyard::kFileIOError;

namespace {

/// `operation` is the message up to the path.
[[noreturn]] void throwFileError(int error, const char* operation, const std::string& path) {
    CException failure(kFileIOError, error);
    failure.concatMessage("%s file '%s'", operation, path.c_str());
    throw failure;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return path.substr(0, slash == 0 ? 1 : slash);
}

/// The file that `path` leads to: what replaces it must not take the place of a symbolic link.
std::string withoutLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (!resolved) throwFileError(errno, "failed to replace", path);
    return resolved.get();
}

/// Permissions of a file that may be replaced: a regular one that this process may write to.
unsigned permissionsOfReplaceable(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) throwFileError(errno, "failed to replace", path);
    if (S_ISDIR(status.st_mode)) throwFileError(EISDIR, "failed to replace", path);
    if (!S_ISREG(status.st_mode)) throwFileError(EINVAL, "failed to replace", path);
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        throwFileError(errno, "failed to replace", path);
    return status.st_mode & 0777U;
}

}  // namespace

OutputFile::OutputFile(std::string path, std::span<const std::byte> head, bool overwrite)
    : m_path(std::move(path)) {
    try {
        createNew(m_path, head, 0666);
    } catch (const CException& failure) {
        if (!overwrite || failure.getCode() != EEXIST) throw;
        replace(head);
    }
}

OutputFile::~OutputFile() {
    if (m_fd >= 0) ::close(m_fd);
}

/// Leaves nothing behind when it throws.
void OutputFile::createNew(const std::string& path, std::span<const std::byte> head, unsigned permissions) {
    m_fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (m_fd < 0) throwFileError(errno, "failed to create", path);
    try {
        writeAt(0, head);
    } catch (...) {
        ::close(std::exchange(m_fd, -1));
        ::unlink(path.c_str());
        throw;
    }
}

/// The new file is made beside the old one and takes its name when its head is written.
void OutputFile::replace(std::span<const std::byte> head) {
    const std::string target = withoutLinks(m_path);
    const unsigned permissions = permissionsOfReplaceable(target);
    const halyard::CStringRef folder = halyard::CSTR(folderOf(target));
    const std::string beside =
        halyard::FileUtilities::generateTemporaryFileName(folder, halyard::CSTR(".marl"))->getStringRef();
    createNew(beside, head, 0600);
    if (::fchmod(m_fd, permissions) == 0 && ::rename(beside.c_str(), target.c_str()) == 0) return;
    const int error = errno;
    ::close(std::exchange(m_fd, -1));
    ::unlink(beside.c_str());
    throwFileError(error, "failed to replace", m_path);
}

void OutputFile::writeAt(std::int64_t offset, std::span<const std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t step = ::pwrite(m_fd, bytes.data() + done, bytes.size() - done,
                                      static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
        if (step < 0 && errno == EINTR) continue;
        if (step <= 0) {
            CException failure(kFileIOError, step < 0 ? errno : EIO);
            failure.concatMessage("failed to write %zu bytes at byte %lld of file '%s'", bytes.size(),
                                  static_cast<long long>(offset), m_path.c_str());
            throw failure;
        }
        done += static_cast<std::size_t>(step);
    }
}

void OutputFile::cutTo(std::int64_t length) noexcept {
    [[maybe_unused]] const int ignored = ::ftruncate(m_fd, static_cast<off_t>(length));
}

void OutputFile::sync() {
    if (::fdatasync(m_fd) != 0) throwFileError(errno, "failed to flush", m_path);
    if (m_nameIsOnDisk) return;
    const int folder = ::open(folderOf(withoutLinks(m_path)).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) throwFileError(errno, "failed to flush the folder of", m_path);
    // Some file systems cannot sync a folder (EINVAL); they have no more to offer.
    const int error = ::fsync(folder) == 0 || errno == EINVAL ? 0 : errno;
    ::close(folder);
    if (error != 0) throwFileError(error, "failed to flush the folder of", m_path);
    m_nameIsOnDisk = true;
}

void OutputFile::close() {
    // After EINTR the descriptor is closed all the same.
    if (::close(std::exchange(m_fd, -1)) != 0 && errno != EINTR)
        throwFileError(errno, "failed to close", m_path);
}

}  // namespace marl
