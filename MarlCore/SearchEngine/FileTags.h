// SPDX-License-Identifier: MIT
/// \file
/// The keywords that were found for one file, and which of them its record takes.
#pragma once

#include <MarlCore/SearchEngine/KeywordDictionary.h>

#include <cstddef>
#include <set>
#include <span>
#include <vector>

namespace marl {

/// Where in a path a word stands.
struct WordPlace {
    int folder = 0;         ///< 0 the file's name, 1 the folder that it lies in, and so on upwards
    std::size_t begin = 0;  ///< bytes of that component: a word that is put together spans all of its parts
    std::size_t end = 0;
};

/// A record has room for one instrument, one sub-type, one genre and ten descriptors; a path may offer more.
///
/// What the file says of itself comes first. After that, names go from the general to the particular, in the
/// folders of a path as in a name ("Drums/Snare Loops/Tight Clap 01"): of several words the one that ends
/// nearest to the end of the path counts. A word that is part of a longer one ("Bass" in "Future Bass") names
/// no instrument and no genre. Where a word means several instruments, the one that another word of the path
/// names as well counts ("Kick/808"), else the first. [one thread at a time]
class FileTags {
public:
    /// The entries of words are the dictionary's own, which outlives this object unchanged.
    explicit FileTags(const KeywordDictionary& dictionary) : m_dictionary(dictionary) {}

    // What the file says of itself. Keys that are not valid are none.

    void setInstrument(const SearchKey& instrument, const SearchKey& subType);
    void setGenre(const SearchKey& genre);
    void addDescriptor(const SearchKey& descriptor);

    /// A word of the path, which means one of `keys`.
    void addWord(std::span<const SearchKeyInfo* const> keys, const WordPlace& place);

    /// The tags of the record: of instrument, sub-type and genre at most one each, the sub-type being one of
    /// the instrument's, and at most `CFileIndexInfo::kDescriptorSlots` descriptors.
    std::set<SearchKeyInfo> chosen();

private:
    struct Word {
        const SearchKeyInfo* key;
        WordPlace place;
        bool isPart = false;  // of a longer word
    };

    void sortWords();

    void chooseInstrument();
    const SearchKeyInfo* bestInstrument() const;
    bool isNamedElsewhere(const SearchKey& instrument, const WordPlace& place) const;
    template <typename Matches>
    SearchKey firstKey(Matches matches) const;
    SearchKey subTypeInPath() const;
    SearchKey genreInPath() const;

    const KeywordDictionary& m_dictionary;
    SearchKey m_instrument, m_subType, m_genre;
    std::vector<SearchKey> m_descriptors;
    std::vector<Word> m_words;  // several meanings of one word are several of these, in a row
};

}  // namespace marl
