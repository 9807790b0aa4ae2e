// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/FileUtilities.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string_view>

#include <sys/stat.h>

namespace halyard {
namespace {

std::string folderPath(const CStringRef& folder) {
    if (folder && folder->getLength() > 0) {
        if (folder->getStringRef().find('\0') != std::string::npos)
            throw CParamException(kParameterError, "the path of a folder cannot hold a zero byte");
        return folder->getStringRef();
    }
    const char* const fromEnvironment = std::getenv("TMPDIR");
    return fromEnvironment && *fromEnvironment ? fromEnvironment : "/tmp";
}

std::string asFileName(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    return name;
}

/// 125 bits: enough that two equal draws never happen.
std::string randomLetters() {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz234567";
    std::random_device source;
    std::array<char, 25> letters;
    for (char& letter : letters) letter = kLetters[source() % kLetters.size()];
    return std::string(letters.data(), letters.size());
}

bool exists(const std::string& path) {
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0) return true;
    if (errno == ENOENT) return false;
    const int error = errno;
    CException failure(kFileIOError, error);
    failure.concatMessage("failed to look for a temporary file '%s': %s", path.c_str(), std::strerror(error));
    throw failure;
}

}  // namespace

CStringRef FileUtilities::generateTemporaryFileName(const CStringRef& folder, const CStringRef& baseName) {
    throwIfNull(baseName, "baseName");
    const std::string start = folderPath(folder) + "/" + asFileName(baseName->getStringRef()) + "-";
    std::string path;
    do path = start + randomLetters();
    while (exists(path));
    return CSTR(path);
}

}  // namespace halyard
