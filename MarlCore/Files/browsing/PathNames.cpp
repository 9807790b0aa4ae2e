// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/PathNames.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>

namespace marl {
namespace {

unsigned char folded(char c) noexcept {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

bool isSymbolicLink(const std::string& path) noexcept {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// Turns a standardised absolute path into its parent's. False when that takes a link that leads nowhere.
bool goUp(std::string& path) {
    if (lastPathComponent(path) == "..") return false;
    if (isSymbolicLink(path)) {
        const std::optional<std::string> target = pathWithoutAliases(path);
        if (!target) return false;
        path = *target;
    }
    path.resize(std::max<std::size_t>(path.rfind('/'), 1));
    return true;
}

}  // namespace

std::string_view lastPathComponent(std::string_view path) noexcept {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    if (path == "/") return path;
    return path.substr(path.rfind('/') + 1);  // no slash: npos + 1 is 0
}

std::string_view pathExtension(std::string_view path) noexcept {
    const std::string_view name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string appendingPathComponent(std::string path, std::string_view component) {
    if (!path.empty() && !path.ends_with('/')) path += '/';
    path += component;
    return path;
}

std::string standardizedPath(std::string_view path) {
    const bool isAbsolute = path.starts_with('/');
    std::string result = isAbsolute ? "/" : "";
    for (std::string_view rest = path; !rest.empty();) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
        if (component.empty() || component == ".") continue;
        if (component == ".." && isAbsolute && goUp(result)) continue;
        result = appendingPathComponent(std::move(result), component);
    }
    return result.empty() && !path.empty() ? "." : result;
}

std::optional<std::string> pathWithoutAliases(const std::string& path) {
    if (path.find('\0') != std::string::npos) return std::nullopt;
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (!resolved) return std::nullopt;
    return resolved.get();
}

int compareIgnoringCase(std::string_view a, std::string_view b) noexcept {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i)
        if (const int difference = folded(a[i]) - folded(b[i])) return difference;
    return (a.size() > common) - (b.size() > common);
}

}  // namespace marl
