// SPDX-License-Identifier: MIT
#include "marl/NearKeys.h"

#include "marl/InfoJSON.h"

#include <algorithm>
#include <optional>
#include <tuple>

namespace marl::tool {
namespace {

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

/// The distance of the word of `key` that is nearest to `text`.
std::size_t distanceOfWord(std::string_view text, std::string_view key) {
    std::size_t least = std::string_view::npos;
    for (std::size_t begin = 0; begin < key.size();) {
        const std::size_t end = std::min(key.find(' ', begin), key.size());
        least = std::min(least, spellingDistance(text, key.substr(begin, end - begin)));
        begin = end + 1;
    }
    return least;
}

/// How far `key` is from what a user wrote, with whole keys before words of keys before keys that are not
/// written to their end; nothing when it is too far to be meant.
std::optional<std::size_t> nearness(std::string_view text, std::string_view key) {
    constexpr std::size_t kWorthCompleting = 3;  // letters
    const std::size_t most = std::max<std::size_t>(text.size() / 3, 1);
    if (const std::size_t distance = spellingDistance(text, key); distance <= most) return distance;
    if (const std::size_t distance = distanceOfWord(text, key); distance <= most) return most + distance;
    const bool isBeginning = text.size() >= kWorthCompleting && lowerCase(key).starts_with(lowerCase(text));
    return isBeginning ? std::optional(3 * most) : std::nullopt;
}

using Candidate = std::tuple<std::size_t, int, std::string>;  // distance, files (negative), key

std::vector<std::string> nearestOf(std::vector<Candidate> found) {
    constexpr std::size_t kMost = 3;
    std::ranges::sort(found);
    std::vector<std::string> keys;
    for (const Candidate& candidate : found)
        if (keys.size() < kMost) keys.push_back(std::get<std::string>(candidate));
    return keys;
}

}  // namespace

std::size_t spellingDistance(std::string_view a, std::string_view b) {
    const std::string from = lowerCase(a), to = lowerCase(b);
    std::vector<std::size_t> beforeLast, last, row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        beforeLast = std::move(last);
        last = row;
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (from[i - 1] != to[j - 1] ? 1 : 0);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            const bool isExchanged = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[to.size()];
}

std::vector<std::string> nearKeys(std::string_view text, std::span<const KeywordCount> known) {
    const std::string_view bounded = text.substr(0, SearchKey::kSize);  // no key is longer
    std::vector<Candidate> found;
    for (const KeywordCount& one : known)
        if (const auto distance = nearness(bounded, one.keyword.key.view()))
            found.emplace_back(*distance, -one.files, keywordText(one.keyword.key.view()));
    return nearestOf(std::move(found));
}

std::vector<std::string> nearTexts(std::string_view text, std::span<const std::string> known) {
    constexpr std::size_t kLongest = 256;  // bounds the work for text that is no key anyway
    std::vector<Candidate> found;
    for (const std::string& one : known)
        if (const auto distance = nearness(text.substr(0, kLongest), one))
            found.emplace_back(*distance, 0, one);
    return nearestOf(std::move(found));
}

std::string didYouMean(std::span<const std::string> near, std::string_view otherwise) {
    if (near.empty()) return std::string(otherwise);
    std::string list;
    for (const std::string& key : near) list += (list.empty() ? "'" : ", '") + key + "'";
    return "; did you mean " + list + "?";
}

}  // namespace marl::tool
