// SPDX-License-Identifier: MIT
#include "Library.h"

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace browser {
namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

/// Every part of a key is stated by a file, and may be any number.
std::string keyOf(const marl::CFileIndexInfo& record) {
    constexpr std::array kNotes{"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    constexpr std::array kScales{"", " minor", " major"};  // by the type that files state
    const int rootNote = record.getAdditionalInfo().midiRootNote;
    const auto scale = static_cast<std::size_t>(record.getKeyType());
    if (rootNote <= 0) return {};
    return std::string(kNotes[static_cast<std::size_t>(rootNote) % kNotes.size()]) +
           (scale < kScales.size() ? kScales[scale] : "");
}

std::string tempoOf(const marl::CFileIndexInfo& record) {
    std::array<char, 32> text{};
    const float tempo = record.getAdditionalInfo().tempo;
    if (tempo > 0) std::snprintf(text.data(), text.size(), "%.5g", static_cast<double>(tempo));
    return text.data();
}

std::string meterOf(const marl::CFileIndexInfo& record) {
    const marl::tagging::TimeSignature meter = record.getTimeSignature();
    return std::to_string(meter.numerator) + "/" + std::to_string(meter.denominator);
}

/// `path` without the longest of `roots` that it lies in.
std::string nameOf(std::string_view path, const std::vector<std::string>& roots) {
    std::size_t skipped = 0;
    for (const std::string& root : roots)
        if (path.starts_with(root) && path.substr(root.size()).starts_with('/'))
            skipped = std::max(skipped, root.size() + 1);
    return std::string(path.substr(skipped));
}

Loop loopOf(const marl::CFileIndexInfo& record, const std::vector<std::string>& roots) {
    Loop loop;
    loop.path = record.getFileName();
    loop.name = nameOf(loop.path, roots);
    loop.instrument = record.getInstrument().view();
    record.forEachKey([&](const marl::SearchKey& key, std::int32_t) {
        loop.words += key.view();
        loop.words += '\n';
    });
    loop.key = keyOf(record);
    if (record.getContentFileType() == 0) {
        loop.tempo = tempoOf(record);
        loop.meter = meterOf(record);
    }
    return loop;
}

}  // namespace

std::string indexFolder(const std::string& option) {
    const std::string own = variable("MARL_INDEX_DIR");
    const std::string data = variable("XDG_DATA_HOME"), home = variable("HOME");
    if (!option.empty()) return option;
    if (!own.empty()) return own;
    if (data.starts_with('/')) return data + "/marlcore/indexes";
    if (home.starts_with('/')) return home + "/.local/share/marlcore/indexes";
    throw std::runtime_error("where? Neither --index-dir nor MARL_INDEX_DIR nor HOME says");
}

std::vector<Loop> loadLoops(const std::string& folder, const std::function<void(const std::string&)>& tell) {
    marl::MCsetIndexDirectoryWithNSString(folder);
    const marl::CSearchEngineRef engine = marl::CSearchEngine::New();
    engine->loadIndexFiles();
    for (const marl::PathProblem& problem : engine->getLoadProblems())
        tell(problem.path + ": " + problem.reason);
    std::vector<std::string> roots;
    for (int i = 0; i < engine->indexFileCount(); ++i) {
        const marl::CIndexFileRef index = engine->getIndexFile(i);
        roots.push_back(index->getRootDirectory());
        if (index->getState() == marl::kIndexIsDamaged)
            tell(roots.back() + ": its index is damaged: 'marl index' makes it again");
    }
    if (roots.empty()) throw std::runtime_error(folder + ": no index yet: 'marl index FOLDER' makes one");
    marl::OrganizedSearchResults results;
    engine->search({}, {}, {}, 0, results, false);
    std::vector<Loop> loops;
    if (results.files().empty()) throw std::runtime_error(folder + ": its indexes have no loops");
    loops.reserve(results.files().size());
    for (const marl::CFileIndexInfo* const record : results.files()) loops.push_back(loopOf(*record, roots));
    return loops;
}

}  // namespace browser
