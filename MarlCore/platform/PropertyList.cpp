// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

class FileDescriptor {
public:
    /// Waits for no writer of a pipe.
    explicit FileDescriptor(const std::string& path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    int get() const noexcept { return m_fd; }

private:
    int m_fd;
};

[[noreturn]] void failWithErrno() {
    throw PropertyListError(0, std::generic_category().message(errno));
}

std::string contentsOf(const std::string& path) {
    const FileDescriptor file(path);
    struct stat status;
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) failWithErrno();
    if (!S_ISREG(status.st_mode)) throw PropertyListError(0, "is no regular file");
    std::string contents;
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t count = ::read(file.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failWithErrno();
        if (count == 0) return contents;
        contents.append(block.data(), static_cast<std::size_t>(count));
        if (contents.size() > PropertyList::kLargestFile)
            throw PropertyListError(0, "too large for a property list");
    }
}

std::string placeOf(int line) {
    return line > 0 ? "line " + std::to_string(line) + ": " : "";
}

}  // namespace

PropertyListError::PropertyListError(int line, const std::string& problem)
    : PropertyListError(line, problem, placeOf(line)) {}

PropertyListError::PropertyListError(int line, std::string problem, const std::string& place)
    : Exception("PropertyListError", place + problem), m_line(line), m_problem(std::move(problem)) {}

PropertyListError PropertyListError::inFile(const std::string& path) const {
    return PropertyListError(m_line, m_problem, path + ": " + placeOf(m_line));
}

std::optional<double> PropertyList::asReal() const noexcept {
    if (const auto integer = asInteger()) return static_cast<double>(*integer);
    return copy<double>();
}

const PropertyList* PropertyList::find(std::string_view key) const noexcept {
    const Dictionary* const dictionary = asDictionary();
    if (!dictionary) return nullptr;
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? nullptr : &entry->second;
}

const PropertyList& PropertyList::operator[](std::string_view key) const noexcept {
    static const PropertyList nothing;
    const PropertyList* const entry = find(key);
    return entry ? *entry : nothing;
}

bool operator==(const PropertyList& a, const PropertyList& b) {
    return a.m_value == b.m_value;
}

PropertyList PropertyList::load(const std::string& path) {
    try {
        return parse(contentsOf(path));
    } catch (const PropertyListError& error) {
        throw error.inFile(path);
    }
}

}  // namespace platform
