// SPDX-License-Identifier: MIT
#include "marl/IndexDirectory.h"

#include "marl/Output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <system_error>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> variable(const char* name) {
    const char* const value = std::getenv(name);
    if (!value || *value == '\0') return std::nullopt;
    return value;
}

std::optional<fs::path> absolutePathIn(const char* name) {
    const auto value = variable(name);
    if (!value || !value->starts_with('/')) return std::nullopt;
    return *value;
}

fs::path chosenDirectory(const std::string& option) {
    constexpr char kBelow[] = "marlcore/indexes";
    if (!option.empty()) return option;
    if (const auto own = variable("MARL_INDEX_DIR")) return *own;
    if (const auto data = absolutePathIn("XDG_DATA_HOME")) return *data / kBelow;
    if (const auto home = absolutePathIn("HOME")) return *home / ".local/share" / kBelow;
    throw std::runtime_error("where? Neither --index-dir nor MARL_INDEX_DIR nor HOME says");
}

std::string withoutSlashAtEnd(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

}  // namespace

std::string indexDirectoryOf(const std::string& option) {
    return withoutSlashAtEnd(fs::absolute(chosenDirectory(option)).lexically_normal().string());
}

CSearchEngineRef openIndexes(const std::string& option, std::ostream& err) {
    std::string directory = "the indexes";
    try {
        directory = indexDirectoryOf(option);
        const fs::file_status status = fs::status(directory);
        if (fs::exists(status) && !fs::is_directory(status))
            throw std::system_error(ENOTDIR, std::generic_category());
        MCsetIndexDirectoryWithNSString(directory);
        const CSearchEngineRef engine = CSearchEngine::New();
        engine->loadIndexFiles();
        for (const PathProblem& problem : engine->getLoadProblems())
            reportError(err, problem.path, problem.reason);
        return engine;
    } catch (const std::exception& exception) {
        reportError(err, directory, messageOf(exception, "cannot be used"));
        return {};
    }
}

CSearchEngineRef openIndexesToSearch(const std::string& option, std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(option, err);
    if (!engine || engine->indexFileCount() > 0) return engine;
    reportError(err, CSearchEngine::getIndexDirectory(), "no index yet: 'marl index FOLDER' makes one");
    return {};
}

std::string indexRootOf(const std::string& folder) {
    const fs::path path = fs::absolute(folder);
    const bool hasParents = std::ranges::find(path, fs::path("..")) != path.end();
    return withoutSlashAtEnd((hasParents ? fs::weakly_canonical(path) : path.lexically_normal()).string());
}

}  // namespace marl::tool
