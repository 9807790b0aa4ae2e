// SPDX-License-Identifier: MIT
/// \file
/// The keywords that files are found by, and the words that stand for them.
#pragma once

#include <MarlCore/SearchEngine/SearchKey.h>
#include <MarlCore/platform/PropertyList.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace marl {

/// Instruments with their sub-types, genres and descriptors, and translations from words of file names to
/// them ("kik", "gtr"). Shipped, and extended by a user: see docs/keyword-dictionary.md for the files. Words
/// and keywords are compared without regard to the case of A to Z. [any thread] once it is loaded.
class MARLCORE_EXPORT KeywordDictionary {
public:
    KeywordDictionary() = default;
    KeywordDictionary(const KeywordDictionary&) = delete;  // entries are known by their address
    KeywordDictionary& operator=(const KeywordDictionary&) = delete;

    /// Adds the keywords of "Keyword Dictionary.plist" as `list` holds it; one that is there already stays as
    /// it is. What cannot be used is passed over, and told in `problems()` with `source` before it.
    void loadIndexSets(const platform::PropertyList& list, const std::string& source);

    /// Adds the translations of "additionalData.dat" as `list` holds it. The keys that they lead to must have
    /// been loaded. The first translation that was added for a word is the first that is found.
    void loadSearchKeyTranslation(const platform::PropertyList& list, const std::string& source);

    /// One line for each thing that was passed over.
    const std::vector<std::string>& problems() const noexcept { return m_problems; }
    void addProblem(const std::string& problem) { m_problems.push_back(problem); }

    /// Adds to `found` the keywords that `word` means: those that it is translated to, or the one that it is.
    /// A word that means nothing ("Kick 01", but not "808") is tried again without the digits at its end and
    /// the blanks before them. Returns the form that means something, or an empty text. What is found is
    /// valid as long as nothing is loaded.
    std::string_view findKeys(std::string_view word, std::vector<const SearchKeyInfo*>& found) const;

    /// The first entry that is `candidate`, in the order of the tables, or null.
    const SearchKeyInfo* matchTag(const SearchKey& candidate) const noexcept;

    /// The same for one category.
    const SearchKeyInfo* matchTag(const SearchKey& candidate, std::int32_t category) const noexcept;

    /// `word` without decimal digits at its end and without blanks before them; a number stays as it is.
    static std::string_view stripTrailingDigits(std::string_view word) noexcept;

private:
    // A table a category, sorted by key, each key once.
    static constexpr std::size_t kTableCount = SearchKeyInfo::kDescriptor;
    using Table = std::vector<SearchKeyInfo>;

    Table& table(std::int32_t category) { return m_tables[static_cast<std::size_t>(category - 1)]; }

    void addProblem(const std::string& source, const std::string& problem);
    void loadInstrumentKeys(const platform::PropertyList& section, const std::string& source);
    void loadGenres(const platform::PropertyList& section, const std::string& source);
    void loadDescriptors(const platform::PropertyList& section, const std::string& source);
    void load1Translation(const std::string& word, const platform::PropertyList& keys,
                          const std::string& source);
    void addTranslation(const std::string& word, const platform::PropertyList& key,
                        const std::string& source);
    const SearchKeyInfo* addKeyword(std::string_view text, std::int32_t category, const SearchKey& parent,
                                    const std::string& source);
    bool normalizeWord(std::string_view word, std::vector<const SearchKeyInfo*>& found) const;

    void indexMeanings();

    /// The same for keys that are equal.
    struct KeyHash {
        std::size_t operator()(const SearchKey& key) const noexcept;
    };

    std::array<Table, kTableCount> m_tables;
    std::multimap<SearchKey, SearchKey> m_translations;
    /// What follows from tables and translations: every word that means something. Nearly all words of a path
    /// mean nothing, and one probe tells.
    std::unordered_map<SearchKey, std::vector<const SearchKeyInfo*>, KeyHash> m_meanings;
    std::vector<std::string> m_problems;
};

}  // namespace marl
