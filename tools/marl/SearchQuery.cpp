// SPDX-License-Identifier: MIT
#include "marl/SearchQuery.h"

#include "marl/InfoJSON.h"
#include "marl/NearKeys.h"
#include "marl/Output.h"
#include "marl/TextTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ostream>
#include <string_view>

namespace marl::tool {
namespace {

constexpr std::size_t kLongestKey = SearchKey::kSize - 1;  // bytes

/// Whether a loop that is found can have the key.
bool isCarried(const CSearchEngine& engine, const SearchKey& key) {
    for (int i = 0; i < engine.indexFileCount(); ++i) {
        const CIndexFileRef file = engine.getIndexFile(i);
        if (file->getEnabled() && file->getLivingFileCount(key) > 0) return true;
    }
    return false;
}

/// The number that a word is, if it can be a tempo.
std::optional<double> tempoIn(std::string_view word) {
    constexpr double kSlowest = 20, kFastest = 400;
    double number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool isTempo =
        error == std::errc() && end == word.data() + word.size() && number >= kSlowest && number <= kFastest;
    return isTempo ? std::optional(number) : std::nullopt;
}

/// "A", "A or B", "A, B or C".
std::string listOf(const std::vector<SearchKey>& keys) {
    std::string list;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i > 0) list += i + 1 < keys.size() ? ", " : " or ";
        list += keywordText(keys[i].view());
    }
    return list;
}

/// What is shown of a word that may be of any length.
std::string shortened(const std::string& word) {
    constexpr std::size_t kMost = 60;  // bytes
    if (word.size() <= kMost) return word;
    std::size_t end = kMost;
    while (end > 0 && (static_cast<unsigned char>(word[end]) & 0xC0) == 0x80) --end;  // whole characters
    return word.substr(0, end) + "…";
}

void reportUnknown(CSearchEngine& engine, const std::string& word, std::ostream& err) {
    if (word.size() > kLongestKey)
        return reportError(err, shortened(word),
                           "no key is longer than " + std::to_string(kLongestKey) + " bytes");
    std::vector<KeywordCount> known;
    engine.generateKeywordList(known);
    reportError(
        err, word,
        "no loop file has this key" + didYouMean(nearKeys(word, known), ": 'marl keywords' lists them"));
}

}  // namespace

bool isOneShot(const CFileIndexInfo& record) {
    return record.getContentFileType() != 0;
}

std::optional<double> tempoOf(const CFileIndexInfo& record) {
    const float tempo = record.getAdditionalInfo().tempo;
    if (isOneShot(record) || !std::isfinite(tempo) || tempo <= 0) return std::nullopt;
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), tempo).ptr;
    double value = 0;
    std::from_chars(text.data(), end, value);
    return value;
}

SearchQuery::SearchQuery(CSearchEngine& engine, std::span<const std::string> words, std::ostream& err) {
    for (const std::string& word : words) {
        if (takeKey(engine, word) || takeKeywords(engine, word, err) || takeTempo(word, err) ||
            takeTempoRange(word, err))
            continue;
        reportUnknown(engine, word, err);
        m_isVain = true;
    }
}

bool SearchQuery::takeKey(CSearchEngine& engine, const std::string& word) {
    // A longer word would be cut to a key, which is another one.
    if (word.size() > kLongestKey || !isCarried(engine, SearchKey(word))) return false;
    m_keys.emplace_back(word);
    return true;
}

bool SearchQuery::takeKeywords(CSearchEngine& engine, const std::string& word, std::ostream& err) {
    std::vector<const SearchKeyInfo*> meanings;
    engine.getFileIndexer().getKeywordDictionary().findKeys(word, meanings);
    Keys keys;
    for (const SearchKeyInfo* const meaning : meanings) {
        const bool isTaken = std::ranges::find(keys, meaning->key) != keys.end();
        if (!isTaken && isCarried(engine, meaning->key)) keys.push_back(meaning->key);
    }
    if (keys.empty()) return false;
    reportError(err, word, "searched as " + listOf(keys));
    if (keys.size() == 1)
        m_keys.push_back(keys.front());
    else
        m_anyOf.push_back(std::move(keys));
    return true;
}

bool SearchQuery::takeTempo(const std::string& word, std::ostream& err) {
    constexpr double kTolerance = 0.5;
    const auto tempo = tempoIn(word);
    if (!tempo) return false;
    reportError(err, word, formatted("searched as a tempo of %g beats a minute", *tempo));
    m_tempos.push_back({*tempo, *tempo, kTolerance});
    return true;
}

bool SearchQuery::takeTempoRange(const std::string& word, std::ostream& err) {
    const std::size_t hyphen = word.find('-');
    if (hyphen == std::string::npos) return false;
    const auto lowest = tempoIn(std::string_view(word).substr(0, hyphen));
    const auto highest = tempoIn(std::string_view(word).substr(hyphen + 1));
    if (!lowest || !highest || *lowest > *highest) return false;
    reportError(err, word, formatted("searched as tempos from %g to %g beats a minute", *lowest, *highest));
    m_tempos.push_back({*lowest, *highest, 0});
    return true;
}

void SearchQuery::requirePitchClass(int pitchClass, int tolerance) {
    m_pitchClass = {pitchClass, tolerance};
}

void SearchQuery::run(CSearchEngine& engine, const SearchFilters& filters, const std::string& name,
                      int projectKey, OrganizedSearchResults& results) const {
    if (m_isVain) return;
    const bool isSifted = !m_tempos.empty() || m_pitchClass || m_anyOf.size() > 1;
    OrganizedSearchResults candidates;
    for (const Keys& keys : lookUps())
        engine.search(keys, filters, halyard::CSTR(name), projectKey, isSifted ? candidates : results, true);
    for (const CFileIndexInfo* const record : candidates.files())
        if (admits(*record)) results.addFileToOrganizedResults(*record, true);
}

/// Keys that together lead to every loop that the words mean, and mostly to no other: where several words
/// have several meanings, those of the first are looked up, and the others asked of what that finds.
std::vector<SearchQuery::Keys> SearchQuery::lookUps() const {
    if (m_anyOf.empty()) return {m_keys};
    std::vector<Keys> lookUps;
    for (const SearchKey& meaning : m_anyOf.front()) {
        lookUps.push_back(m_keys);
        lookUps.back().push_back(meaning);
    }
    return lookUps;
}

bool SearchQuery::admits(const CFileIndexInfo& record) const {
    const auto carries = [&](const SearchKey& key) { return record.carries(key); };
    return std::ranges::all_of(m_anyOf,
                               [&](const Keys& keys) { return std::ranges::any_of(keys, carries); }) &&
           admitsKeyOf(record) && admitsTempoOf(record);
}

bool SearchQuery::admitsKeyOf(const CFileIndexInfo& record) const {
    constexpr int kOctave = 12;  // semitones
    const int rootNote = record.getAdditionalInfo().midiRootNote;
    if (!m_pitchClass || rootNote == 0 || isOneShot(record)) return true;
    const int above = (rootNote % kOctave - m_pitchClass->number + 2 * kOctave) % kOctave;
    return std::min(above, kOctave - above) <= m_pitchClass->tolerance;
}

bool SearchQuery::admitsTempoOf(const CFileIndexInfo& record) const {
    const auto tempo = tempoOf(record);
    return std::ranges::all_of(m_tempos, [&](const Tempos& wanted) {
        return tempo &&
               std::abs(*tempo - std::clamp(*tempo, wanted.lowest, wanted.highest)) <= wanted.tolerance;
    });
}

}  // namespace marl::tool
