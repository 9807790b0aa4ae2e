// SPDX-License-Identifier: MIT
#include <MarlCore/platform/WholeFileImpl.h>

#include <MarlCore/platform/FileDescriptorImpl.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

[[noreturn]] void failWithErrno() {
    throw std::system_error(errno, std::generic_category());
}

/// The owner and permissions that the new file takes over; nothing where there is no old one.
std::optional<struct stat> statusToKeep(const std::string& target) {
    struct stat status;
    if (::stat(target.c_str(), &status) != 0) {
        if (errno != ENOENT) failWithErrno();
        return std::nullopt;
    }
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) failWithErrno();
    return status;
}

/// The owner first: a change of it takes permissions back. EINVAL is for owners that a container does not
/// know.
void keep(const struct stat& status, int fd) {
    const bool isGiven = ::fchown(fd, status.st_uid, status.st_gid) == 0;
    if (!isGiven && errno != EPERM && errno != EINVAL) failWithErrno();
    if (::fchmod(fd, status.st_mode & 0777U) != 0) failWithErrno();
}

void writeAll(int fd, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t count = ::write(fd, contents.data(), contents.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failWithErrno();
        contents.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// A file beside another one, removed unless it takes that one's place.
class Replacement {
public:
    explicit Replacement(const std::string& target)
        : m_target(target), m_path(target + ".new"), m_file(open()) {
        if (m_file.get() < 0) failWithErrno();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (!m_isInPlace) ::unlink(m_path.c_str());
    }

    int descriptor() const noexcept { return m_file.get(); }

    void takePlace() {
        if (::fsync(m_file.get()) != 0) failWithErrno();
        if (::rename(m_path.c_str(), m_target.c_str()) != 0) failWithErrno();
        m_isInPlace = true;
    }

private:
    int open() const {
        ::unlink(m_path.c_str());  // left by a process that was killed, or anything else of that name
        return ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    }

    const std::string& m_target;
    const std::string m_path;
    const FileDescriptor m_file;
    bool m_isInPlace = false;
};

void syncFolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const FileDescriptor descriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() < 0) failWithErrno();
    // Some file systems cannot sync a folder (EINVAL); they have no more to offer.
    if (::fsync(descriptor.get()) != 0 && errno != EINVAL) failWithErrno();
}

}  // namespace

std::string wordsFor(const std::system_error& error) {
    switch (error.code().value()) {
        case EINVAL:
            return "is no regular file";
        case EOVERFLOW:
            return "too large for a property list";
        default:
            return error.code().message();
    }
}

std::string fileBehindLinks(const std::string& path) {
    namespace fs = std::filesystem;
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (resolved) return resolved.get();
    if (errno != ENOENT) failWithErrno();
    // No links in a circle, which is another error: each of them leads on.
    std::error_code isNoLink;
    const fs::path next = fs::read_symlink(path, isNoLink);
    return isNoLink ? path : fileBehindLinks((fs::path(path).parent_path() / next).string());
}

std::string readWholeFile(const std::string& path, std::size_t most) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) failWithErrno();
    if (!S_ISREG(status.st_mode)) throw std::system_error(EINVAL, std::generic_category());
    std::string contents;
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t count = ::read(file.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failWithErrno();
        if (count == 0) return contents;
        contents.append(block.data(), static_cast<std::size_t>(count));
        if (contents.size() > most) throw std::system_error(EOVERFLOW, std::generic_category());
    }
}

void replaceWholeFile(const std::string& path, std::string_view contents) {
    const std::string target = fileBehindLinks(path);
    const auto status = statusToKeep(target);
    Replacement replacement(target);
    if (status) keep(*status, replacement.descriptor());
    writeAll(replacement.descriptor(), contents);
    replacement.takePlace();
    syncFolderOf(target);
}

}  // namespace platform
