// SPDX-License-Identifier: MIT
/// \file
/// What a user may have meant by a key that is not there.
#pragma once

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marl::tool {

/// Single letters added, left out, replaced or exchanged with their neighbour that turn `a` into `b` (the
/// "optimal string alignment" distance), letters A to Z of either case being the same. Counts bytes.
std::size_t spellingDistance(std::string_view a, std::string_view b);

/// Up to three of the keys that are there, the nearest first, those with more files first among them: keys,
/// or words of them, that differ from `text` in about a third of its letters, and keys that begin with it.
std::vector<std::string> nearKeys(std::string_view text, std::span<const KeywordCount> known);

/// The same for texts that all count alike.
std::vector<std::string> nearTexts(std::string_view text, std::span<const std::string> known);

/// "; did you mean 'Bass', 'Brass'?", or `otherwise` when nothing is near.
std::string didYouMean(std::span<const std::string> near, std::string_view otherwise);

}  // namespace marl::tool
