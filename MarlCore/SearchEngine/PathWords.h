// SPDX-License-Identifier: MIT
/// \file
/// Looks the words of a path up in the keyword dictionary.
#pragma once

#include <MarlCore/SearchEngine/FileTags.h>
#include <MarlCore/SearchEngine/KeywordDictionary.h>

#include <string>
#include <string_view>
#include <vector>

namespace marl {

/// Splits names into words in every way that makers of loops write them, and offers each word, and each two
/// and three neighbours with a blank between them, to the dictionary. The work is linear in the length of the
/// path. [one thread at a time]
class PathWords {
public:
    /// Both must outlive this object.
    PathWords(const KeywordDictionary& dictionary, FileTags& tags) : m_dictionary(dictionary), m_tags(tags) {}

    /// All components of a path, the file's extension removed.
    void parsePath(std::string_view path);

    /// One component: whole, split at each separator by itself ("Lo-Fi Beat"), where a lower-case letter
    /// meets an upper-case one ("DeepHouse"), and at all of these together ("Deep-House_KickDrum").
    void parsePathComponent(std::string_view component, int folder);

private:
    /// A word of the component that is being parsed.
    struct Word {
        std::string_view text;
        std::size_t begin;
    };

    template <typename IsSeparator>
    void split(IsSeparator isSeparator, bool splitsAtCase);
    void parsePathComponentWithSeparator(char separator);
    void parsePathComponentWithCase();
    void parsePathComponentWithAll();
    void examineWords();
    void examineWord(std::string_view word, std::size_t begin, std::size_t end);

    const KeywordDictionary& m_dictionary;
    FileTags& m_tags;
    std::string_view m_component;
    int m_folder = 0;
    // Kept from one component to the next, for their memory.
    std::vector<Word> m_words;
    std::vector<const SearchKeyInfo*> m_found;
    std::string m_joined;
};

}  // namespace marl
