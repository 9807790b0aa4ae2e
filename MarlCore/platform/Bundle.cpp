// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Bundle.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <dlfcn.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string environmentValue(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

/// The absolute path that an environment variable holds, or nothing: relative ones would mean another folder
/// with every change of the current one, and the rules for XDG folders have them ignored.
std::optional<fs::path> absolutePathIn(const char* variable) {
    fs::path path(environmentValue(variable));
    return path.is_absolute() ? std::optional(std::move(path)) : std::nullopt;
}

/// The folder of the shared library that holds this code, or of the program where it is linked in.
std::optional<fs::path> folderOfThisLibrary() {
    static const char anchor = 0;
    Dl_info info{};
    if (::dladdr(&anchor, &info) == 0 || !info.dli_fname) return std::nullopt;
    fs::path path(info.dli_fname);
    // A program is known by the name that it was started with.
    if (path.is_relative()) path = "/proc/self/exe";
    // The loader may come by a link, such as /lib for /usr/lib, from where ".." is another folder.
    std::error_code error;
    path = fs::canonical(path, error);
    return error ? std::nullopt : std::optional(path.parent_path());
}

bool isFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

}  // namespace

std::vector<std::string> Bundle::resourceFolders() {
    std::vector<std::string> folders;
    const std::string named = environmentValue("MARLCORE_RESOURCES");
    if (!named.empty()) folders.push_back(named);
    if (const auto folder = folderOfThisLibrary())
        folders.push_back((*folder / MARL_DATA_FROM_LIBRARY).lexically_normal().string());
    folders.emplace_back(MARL_RESOURCES);
    return folders;
}

std::optional<std::string> Bundle::pathForResource(std::string_view name, std::string_view type) {
    const std::string fileName = std::string(name) + '.' + std::string(type);
    for (const std::string& folder : resourceFolders()) {
        const fs::path path = fs::path(folder) / fileName;
        if (isFile(path)) return path.string();
    }
    return std::nullopt;
}

std::optional<std::string> Bundle::userFolder() {
    if (const auto folder = absolutePathIn("XDG_CONFIG_HOME")) return (*folder / "marlcore").string();
    if (const auto home = absolutePathIn("HOME")) return (*home / ".config" / "marlcore").string();
    return std::nullopt;
}

}  // namespace platform
