// SPDX-License-Identifier: MIT
/// \file
/// `marl keywords`: what loops can be searched by.
#pragma once

#include <iosfwd>
#include <string>

namespace marl::tool {

struct KeywordsOptions {
    std::string indexDirectory = {};  ///< empty: as `indexDirectoryOf` says
    bool json = false;
};

/// Prints the keys of all indexes by their category, each with the number of files that carry it; sub-types
/// below their instruments. Text has their names in the user's language, in the order of these, and behind a
/// name the key where that is another text; JSON has both, in the order of the keys. Returns the exit status:
/// to have no index is an error.
int runKeywords(const KeywordsOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
