// SPDX-License-Identifier: MIT
/// \file
/// `marl search`: loops by what they are.
#pragma once

#include <MarlCore/SearchEngine/SearchFilters.h>

#include <array>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marl::tool {

/// Of the key types 1 and 2; no other has a name.
inline constexpr std::array<std::string_view, 2> kScaleNames{"minor", "major"};

struct SearchOptions {
    std::string indexDirectory = {};  ///< empty: as `indexDirectoryOf` says
    std::string name = {};            ///< empty: any
    SearchFilters filters = {};
    int key = 0;                         ///< MIDI note number; 0: any
    std::optional<int> pitchClass = {};  ///< 0 (C) to 11 (B): root notes of this name, in any octave
    std::optional<std::size_t> limit = {};
    bool json = false;
    std::vector<std::string> keys = {};  ///< see `SearchQuery`; all of them; none: every loop
};

/// Prints the loops that carry every key and pass the filters, each once, in the order of their paths by
/// bytes: as a table, or as a JSON object. `limit` bounds what is listed, not what is counted. Indexes that
/// cannot be searched in full, and words that are no keys, are told on `err`. Returns the exit status: to
/// find nothing is no error, to have no index is one.
int runSearch(const SearchOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
