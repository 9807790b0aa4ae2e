// SPDX-License-Identifier: MIT
/// \file
/// The indexes that the subcommands work on.
#pragma once

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <iosfwd>
#include <string>

namespace marl::tool {

/// The folder of the index files, absolute: `option` when it is not empty, else `MARL_INDEX_DIR`, else
/// "$XDG_DATA_HOME/marlcore/indexes", else "~/.local/share/marlcore/indexes". Variables that are empty, and
/// those of the last two that are no absolute paths, do not count. Throws `std::runtime_error` when nothing
/// says where.
std::string indexDirectoryOf(const std::string& option);

/// Makes that the index directory of the process and loads what is there, with a line on `err` for each index
/// file that cannot be used. Null, after a line on `err`, when there can be no indexes: something that is no
/// folder stands there, say (the library would take it away).
CSearchEngineRef openIndexes(const std::string& option, std::ostream& err);

/// The same for those who need at least one: null, after a line on `err`, when there is none.
CSearchEngineRef openIndexesToSearch(const std::string& option, std::ostream& err);

/// The folder as its index knows it: absolute, without ".", ".." and slashes at its end. Links stay, but for
/// those before a "..", which means what it means to the system.
std::string indexRootOf(const std::string& folder);

}  // namespace marl::tool
