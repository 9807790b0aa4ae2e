// SPDX-License-Identifier: MIT
#include "marl/Index.h"

#include "marl/IndexDirectory.h"
#include "marl/IndexPass.h"
#include "marl/Output.h"
#include "marl/StopSignals.h"
#include "marl/TerminalText.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>
#include <set>
#include <span>
#include <system_error>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

bool isWithin(const fs::path& inner, const fs::path& outer) {
    return std::ranges::mismatch(outer, inner).in1 == outer.end();
}

/// Tells of the roots that lie in a folder with an index of its own, or have one in them.
void reportOverlaps(const std::vector<std::string>& roots, const CSearchEngine& engine, std::ostream& err) {
    std::map<std::string, fs::path> places;  // of the folders with an index, links resolved
    for (int i = 0; i < engine.indexFileCount(); ++i) {
        const std::string root = engine.getIndexFile(i)->getRootDirectory();
        std::error_code error;
        const fs::path place = fs::weakly_canonical(root, error);
        if (!error) places[root] = place;
    }
    const auto isNamed = [&](const std::string& root) {
        return std::ranges::find(roots, root) != roots.end();
    };
    for (const auto& [inner, place] : places)
        for (const auto& [outer, outerPlace] : places)
            if (inner != outer && (isNamed(inner) || isNamed(outer)) && isWithin(place, outerPlace))
                reportError(err, inner, "note: is in " + outer + ", which is indexed too");
}

/// One run of `marl index FOLDER…`.
class IndexRun {
public:
    IndexRun(const IndexOptions& options, CSearchEngine& engine, std::ostream& out, std::ostream& err)
        : m_options(options), m_engine(engine), m_out(out), m_err(err), m_passes(engine, out, err) {
        for (const std::string& folder : options.folders) addRoot(folder);
        m_passes.setOptions({.isProgressShown = options.isProgressShown});
    }

    int indexOnce() {
        int status = m_isWrong ? kFailed : kDone;
        for (const std::string& root : m_roots) {
            const PassEnd end = m_passes.run(root, m_options.rebuild);
            if (m_signals.received() != 0) return statusOfSignal(m_signals.received());
            if (end != PassEnd::kComplete) status = kFailed;
        }
        reportOverlaps(m_roots, m_engine, m_err);
        return flushed(m_out, m_err) ? status : kFailed;
    }

    int indexAndWatch() {
        // From before the first pass on, so that what changes during it is seen.
        FolderWatch watch(m_roots, CSearchEngine::getIndexDirectory(), m_options.timing);
        for (const std::string& root : m_roots) passInWatch(watch, root, m_options.rebuild);
        dropHopelessRoots(watch);
        if (m_roots.empty()) return kFailed;
        m_passes.setOptions({.isProgressShown = m_options.isProgressShown, .isQuiet = true});
        reportOverlaps(m_roots, m_engine, m_err);
        if (m_signals.received() == 0)
            m_err << "marl: watching " << counted(static_cast<long long>(m_roots.size()), "folder")
                  << std::endl;
        while (m_signals.received() == 0) {
            tellBlindTrees(watch);
            for (const std::string& root : watch.wait(m_signals.descriptor()))
                passInWatch(watch, root, false);
            if (!flushed(m_out, m_err)) return kFailed;
        }
        return m_isWrong || !m_failed.empty() ? kFailed : kDone;
    }

private:
    void addRoot(const std::string& folder) {
        if (!folder.empty()) return m_roots.push_back(indexRootOf(folder));
        reportError(m_err, folder, "is no folder");
        m_isWrong = true;
    }

    /// A folder that has an index is on a drive that is away. One that has none and cannot get one is a slip
    /// of the pen.
    void dropHopelessRoots(FolderWatch& watch) {
        const auto dropped = std::erase_if(m_roots, [&](const std::string& root) {
            if (!m_failed.contains(root) || m_engine.findIndexFileForDirectory(root)) return false;
            watch.forget(root);
            return true;
        });
        if (dropped > 0) m_isWrong = true;
    }

    /// A folder that cannot be indexed may be later: a drive that is plugged in.
    void passInWatch(FolderWatch& watch, const std::string& root, bool isAnew) {
        if (m_signals.received() != 0) return;
        const PassEnd end = m_passes.run(root, isAnew);
        if (end == PassEnd::kBusy) watch.remind(root);
        if (end == PassEnd::kFailed)
            m_failed.insert(root);
        else
            m_failed.erase(root);
    }

    void tellBlindTrees(FolderWatch& watch) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_options.timing.sweep);
        for (const PathProblem& problem : watch.takeBlindTrees())
            reportError(m_err, problem.path,
                        "note: looked through every " + counted(seconds.count(), "second") +
                            ", since changes cannot be told: " + problem.reason);
    }

    const IndexOptions& m_options;
    const CSearchEngine& m_engine;
    std::ostream& m_out;
    std::ostream& m_err;
    const StopSignals m_signals;
    IndexPasses m_passes;
    std::vector<std::string> m_roots;
    std::set<std::string> m_failed;  // roots, in the last pass of a watch
    bool m_isWrong = false;          // one of the folders that were named
};

/// In words for a user.
std::string stateOf(const CIndexFile& file) {
    const bool isBusy = file.isBeingUpdated();
    if (file.getState() == kIndexIsDamaged) return "damaged";
    if (!file.getEnabled()) return "switched off";
    if (file.getState() == kIndexIsComplete) return isBusy ? "being updated" : "complete";
    if (isBusy) return "being indexed";
    return file.getState() == kIndexIsNew ? "not indexed" : "incomplete";
}

constexpr TextTable::Column kListColumns[] = {
    {"files", 8, true}, {"state", 13, false}, {"index file", 42, false}};

}  // namespace

int runIndex(const IndexOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(options.indexDirectory, err);
    if (!engine) return kFailed;
    for (const std::string& problem : engine->getFileIndexer().getDictionaryProblems())
        err << "marl: " << terminalText(problem) << "\n";
    IndexRun run(options, *engine, out, err);
    return options.watch ? run.indexAndWatch() : run.indexOnce();
}

int runIndexList(const std::string& indexDirectory, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(indexDirectory, err);
    if (!engine) return kFailed;
    const std::string directory = terminalText(CSearchEngine::getIndexDirectory());
    if (engine->indexFileCount() == 0) {
        out << "no folders are indexed in " << directory << "\n";
        return flushed(out, err) ? kDone : kFailed;
    }
    TextTable table(out, kListColumns, "folder");
    for (int i = 0; i < engine->indexFileCount(); ++i) {
        const CIndexFileRef file = engine->getIndexFile(i);
        const fs::path path = file->getFullPath()->getStringRef();
        table.addRow({std::to_string(file->getLivingFileCount()), stateOf(*file),
                      terminalText(path.filename().string())},
                     terminalText(file->getRootDirectory()));
    }
    out << counted(engine->indexFileCount(), "folder") << ", indexed in " << directory << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

int runIndexRemove(const std::string& indexDirectory, const std::string& folder, std::ostream& out,
                   std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(indexDirectory, err);
    if (!engine) return kFailed;
    const std::string root = indexRootOf(folder);
    try {
        const CIndexFileRef file = engine->findIndexFileForDirectory(root);
        if (!file) {
            reportError(err, root, "is not indexed");
            return kFailed;
        }
        engine->removeIndexFile(file);
        out << "removed the index of " << terminalText(root) << "\n";
        return flushed(out, err) ? kDone : kFailed;
    } catch (const std::exception& exception) {
        reportError(err, root, messageOf(exception, "its index cannot be removed"));
        return kFailed;
    }
}

}  // namespace marl::tool
