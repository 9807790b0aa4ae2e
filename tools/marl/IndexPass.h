// SPDX-License-Identifier: MIT
/// \file
/// Brings the indexes of folders up to date and tells how it went.
#pragma once

#include "marl/TextTable.h"

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace marl::tool {

/// How the pass over a folder ended.
enum class PassEnd {
    kComplete,
    kPartly,   ///< folders in it cannot be read; what is known of them stays
    kStopped,  ///< by a signal; what was done is kept
    kBusy,     ///< not begun: another process is at it
    kFailed
};

/// Passes over folders, one after the other. Prints a row for each on `out` and a line for what went wrong on
/// `err`, the latter not again while it goes wrong in the same way pass after pass. A `StopSignals` that
/// lives ends a pass within one batch.
class IndexPasses {
public:
    struct Options {
        bool isProgressShown = false;  ///< `err` is a terminal
        bool isQuiet = false;          ///< no row for a pass that has found nothing new
    };

    /// The arguments outlive this object.
    IndexPasses(CSearchEngine& engine, std::ostream& out, std::ostream& err)
        : m_engine(engine), m_out(out), m_err(err) {}

    void setOptions(const Options& options) noexcept { m_options = options; }

    /// Brings the index of `root` up to date. One that is not there is made; so is a damaged one, or any when
    /// `isAnew`, from the audio files alone.
    PassEnd run(const std::string& root, bool isAnew);

private:
    PassEnd pass(bool isAnew);
    PassEnd passOverUsableIndex(bool isAnew);
    PassEnd tryPass(bool isAnew);
    CIndexFileRef readyIndex(bool isAnew);
    void runEngine(const CIndexFileRef& file, IndexingState& state);
    void reportProblems(const IndexingState& state);
    void printRow(const SearchIndexingStatus& status, double seconds);
    PassEnd reportFailure(const std::exception& exception);
    void tell(const std::string& path, const std::string& message);
    void tellOfIndexes(const std::string& message);

    CSearchEngine& m_engine;
    std::ostream& m_out;
    std::ostream& m_err;
    Options m_options;
    std::optional<TextTable> m_table;                           // begun with the first row
    std::string m_root;                                         // of the pass that runs
    std::set<std::string> m_told;                               // lines of this pass
    std::map<std::string, std::set<std::string>> m_toldBefore;  // and of each root's last one
    std::string m_toldOfIndexes;                                // what last went wrong with their directory
};

}  // namespace marl::tool
