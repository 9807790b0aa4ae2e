// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/KeywordDictionary.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace marl {
namespace {

using platform::PropertyList;

/// Between the parts of a descriptor item, which are opposites: "Dry,Wet".
constexpr char kDescriptorSeparator = ',';
/// A part that names no keyword: "Punchy,None".
constexpr std::string_view kNoDescriptor = "None";

constexpr std::size_t kMostKeyBytes = SearchKey::kSize - 1;

std::string inQuotes(std::string_view text) {
    return std::string(1, '"').append(text).append(1, '"');
}

/// A longer word would be cut to a key, and a cut word could mean something else.
bool fitsKey(std::string_view text) noexcept {
    return !text.empty() && text.size() <= kMostKeyBytes;
}

std::vector<std::string_view> componentsSeparatedBy(char separator, std::string_view text) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t length = text.find(separator);
        parts.push_back(text.substr(0, length));
        if (length == std::string_view::npos) return parts;
        text.remove_prefix(length + 1);
    }
}

/// The entries of an array that are strings; those that are none are told to `refuse`.
template <typename Use, typename Refuse>
void forEachString(const PropertyList& list, Use use, Refuse refuse) {
    const PropertyList::Array* const array = list.asArray();
    if (!array) return refuse();
    for (const PropertyList& entry : *array) {
        if (const std::string* const text = entry.asString()) {
            use(*text);
        } else {
            refuse();
        }
    }
}

}  // namespace

void KeywordDictionary::addProblem(const std::string& source, const std::string& problem) {
    m_problems.push_back(source + ": " + problem);
}

void KeywordDictionary::loadIndexSets(const PropertyList& list, const std::string& source) {
    const PropertyList::Dictionary* const sections = list.asDictionary();
    if (!sections) return addProblem(source, "the property list is no dictionary");
    for (const auto& [name, section] : *sections) {
        if (name == "Instrument Types") {
            loadInstrumentKeys(section, source);
        } else if (name == "Genres") {
            loadGenres(section, source);
        } else if (name == "Descriptors") {
            loadDescriptors(section, source);
        } else {
            addProblem(source, "got invalid key = " + name);
        }
    }
    indexMeanings();
}

void KeywordDictionary::loadInstrumentKeys(const PropertyList& section, const std::string& source) {
    const PropertyList::Dictionary* const instruments = section.asDictionary();
    if (!instruments) return addProblem(source, "\"Instrument Types\" is no dictionary");
    std::vector<std::pair<SearchKey, const PropertyList::Dictionary::value_type*>> sorted;
    for (const auto& entry : *instruments) sorted.emplace_back(SearchKey(entry.first), &entry);
    std::ranges::stable_sort(sorted, std::less<>(), [](const auto& item) { return item.first; });
    for (const auto& [key, entry] : sorted) {
        const SearchKeyInfo* const found =
            addKeyword(entry->first, SearchKeyInfo::kInstrument, SearchKey(), source);
        if (!found) continue;
        const SearchKey parent = found->key;
        forEachString(
            entry->second,
            [&](const std::string& subType) {
                addKeyword(subType, SearchKeyInfo::kInstrumentSubType, parent, source);
            },
            [&, &name = entry->first] {
                addProblem(source, "the sub-types of " + inQuotes(name) + " are no array of strings");
            });
    }
}

void KeywordDictionary::loadGenres(const PropertyList& section, const std::string& source) {
    forEachString(
        section,
        [&](const std::string& genre) { addKeyword(genre, SearchKeyInfo::kGenre, SearchKey(), source); },
        [&] { addProblem(source, "\"Genres\" is no array of strings"); });
}

void KeywordDictionary::loadDescriptors(const PropertyList& section, const std::string& source) {
    forEachString(
        section,
        [&](const std::string& item) {
            for (const std::string_view part : componentsSeparatedBy(kDescriptorSeparator, item))
                if (part != kNoDescriptor) addKeyword(part, SearchKeyInfo::kDescriptor, SearchKey(), source);
        },
        [&] { addProblem(source, "\"Descriptors\" is no array of strings"); });
}

/// The entry of that category, which may have been there before; null for text that can be no key.
const SearchKeyInfo* KeywordDictionary::addKeyword(std::string_view text, std::int32_t category,
                                                   const SearchKey& parent, const std::string& source) {
    const SearchKeyInfo info(SearchKey(text), category, parent);
    if (!fitsKey(text) || !info.key.isValid()) {
        addProblem(source, inQuotes(text) + " is no keyword: 1 to " + std::to_string(kMostKeyBytes) +
                               " bytes, the first of them ASCII");
        return nullptr;
    }
    Table& entries = table(category);
    auto place = std::ranges::lower_bound(entries, info, std::less<>());
    if (place == entries.end() || info < *place) place = entries.insert(place, info);
    return &*place;
}

void KeywordDictionary::loadSearchKeyTranslation(const PropertyList& list, const std::string& source) {
    const PropertyList::Dictionary* const words = list.asDictionary();
    if (!words) return addProblem(source, "the property list is no dictionary");
    for (const auto& [word, keys] : *words) load1Translation(word, keys, source);
    indexMeanings();
}

void KeywordDictionary::load1Translation(const std::string& word, const PropertyList& keys,
                                         const std::string& source) {
    if (!fitsKey(word))
        return addProblem(source,
                          inQuotes(word) + " is no word: 1 to " + std::to_string(kMostKeyBytes) + " bytes");
    const PropertyList::Array* const several = keys.asArray();
    if (!several) return addTranslation(word, keys, source);
    for (const PropertyList& key : *several) addTranslation(word, key, source);
}

void KeywordDictionary::addTranslation(const std::string& word, const PropertyList& key,
                                       const std::string& source) {
    const std::string* const text = key.asString();
    const bool isKeyword = text && fitsKey(*text) && matchTag(SearchKey(*text));
    if (!isKeyword) return addProblem(source, inQuotes(word) + " is translated to what is no keyword");
    m_translations.emplace(SearchKey(word), SearchKey(*text));
}

std::string_view KeywordDictionary::findKeys(std::string_view word,
                                             std::vector<const SearchKeyInfo*>& found) const {
    if (normalizeWord(word, found)) return word;
    const std::string_view stripped = stripTrailingDigits(word);
    return stripped.size() < word.size() && normalizeWord(stripped, found) ? stripped : std::string_view();
}

/// Adds the keywords that the word means; false when it means none.
bool KeywordDictionary::normalizeWord(std::string_view word, std::vector<const SearchKeyInfo*>& found) const {
    if (!fitsKey(word)) return false;
    const auto meaning = m_meanings.find(SearchKey(word));
    if (meaning == m_meanings.end()) return false;
    found.insert(found.end(), meaning->second.begin(), meaning->second.end());
    return true;
}

/// A word with translations means those alone, and any other keyword itself; a keyword of several tables is
/// the entry of the first.
void KeywordDictionary::indexMeanings() {
    m_meanings.clear();
    for (const auto& [word, key] : m_translations) m_meanings[word].push_back(matchTag(key));
    for (const Table& entries : m_tables)
        for (const SearchKeyInfo& entry : entries) m_meanings.try_emplace(entry.key, 1, &entry);
}

/// FNV-1a, 32 bits, over the text in upper case.
std::size_t KeywordDictionary::KeyHash::operator()(const SearchKey& key) const noexcept {
    std::uint32_t hash = 2166136261;
    for (const char c : key.view()) {
        const auto byte = static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        hash = (hash ^ byte) * 16777619;
    }
    return hash;
}

const SearchKeyInfo* KeywordDictionary::matchTag(const SearchKey& candidate) const noexcept {
    for (std::int32_t category = 1; category <= static_cast<std::int32_t>(kTableCount); ++category)
        if (const SearchKeyInfo* const match = matchTag(candidate, category)) return match;
    return nullptr;
}

const SearchKeyInfo* KeywordDictionary::matchTag(const SearchKey& candidate,
                                                 std::int32_t category) const noexcept {
    const Table& entries = m_tables[static_cast<std::size_t>(category - 1)];
    const auto place = std::ranges::lower_bound(entries, candidate, std::less<>(), &SearchKeyInfo::key);
    return place != entries.end() && place->key == candidate ? &*place : nullptr;
}

std::string_view KeywordDictionary::stripTrailingDigits(std::string_view word) noexcept {
    const std::size_t last = word.find_last_not_of("0123456789");
    if (last == std::string_view::npos || last + 1 == word.size()) return word;
    const std::size_t lastLetter = word.substr(0, last + 1).find_last_not_of(' ');
    return lastLetter == std::string_view::npos ? word : word.substr(0, lastLetter + 1);
}

}  // namespace marl
