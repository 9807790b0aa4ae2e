// SPDX-License-Identifier: MIT
/// \file
/// The loops that the indexes of a folder know.
#pragma once

#include "LoopList.h"

#include <functional>
#include <string>
#include <vector>

namespace browser {

/// The folder of indexes that `marl` would take: `option`, or where that is empty the variable
/// MARL_INDEX_DIR, or the user's own. Throws `std::runtime_error` where none of them says.
std::string indexFolder(const std::string& option);

/// All loops of the indexes in `folder` that searches look into, in the order of their paths; `tell` hears of
/// indexes that are left out. Throws what loading them throws, and `std::runtime_error` where there are none.
std::vector<Loop> loadLoops(const std::string& folder, const std::function<void(const std::string&)>& tell);

}  // namespace browser
