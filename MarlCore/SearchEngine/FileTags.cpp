// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/FileTags.h>

#include <MarlCore/SearchEngine/CFileIndexInfo.h>

#include <algorithm>
#include <tuple>

namespace marl {
namespace {

bool isInstrumentOrSubType(const SearchKeyInfo& key) noexcept {
    return key.category == SearchKeyInfo::kInstrument || key.category == SearchKeyInfo::kInstrumentSubType;
}

/// The instrument that the key names: itself, or the one that it is a sub-type of.
const SearchKey& instrumentOf(const SearchKeyInfo& key) noexcept {
    return key.category == SearchKeyInfo::kInstrumentSubType ? key.parent : key.key;
}

/// Whether `a` counts before `b`.
bool countsBefore(const WordPlace& a, const WordPlace& b) noexcept {
    return std::tie(a.folder, b.end, a.begin) < std::tie(b.folder, a.end, b.begin);
}

bool overlap(const WordPlace& a, const WordPlace& b) noexcept {
    return a.folder == b.folder && a.begin < b.end && b.begin < a.end;
}

}  // namespace

void FileTags::setInstrument(const SearchKey& instrument, const SearchKey& subType) {
    if (instrument.isValid()) m_instrument = instrument;
    if (subType.isValid()) m_subType = subType;
}

void FileTags::setGenre(const SearchKey& genre) {
    if (genre.isValid()) m_genre = genre;
}

void FileTags::addDescriptor(const SearchKey& descriptor) {
    if (descriptor.isValid()) m_descriptors.push_back(descriptor);
}

void FileTags::addWord(std::span<const SearchKeyInfo* const> keys, const WordPlace& place) {
    for (const SearchKeyInfo* const key : keys) m_words.push_back({key, place});
}

std::set<SearchKeyInfo> FileTags::chosen() {
    sortWords();
    chooseInstrument();
    if (!m_genre.isValid()) m_genre = genreInPath();
    for (const Word& word : m_words)
        if (word.key->category == SearchKeyInfo::kDescriptor) m_descriptors.push_back(word.key->key);

    // The record takes the last key of each category in the order of the set, whatever it is. With one of
    // each there is no last one to win over what was chosen here.
    std::set<SearchKeyInfo> tags;
    if (m_instrument.isValid()) tags.emplace(m_instrument, SearchKeyInfo::kInstrument, SearchKey());
    if (m_subType.isValid()) tags.emplace(m_subType, SearchKeyInfo::kInstrumentSubType, m_instrument);
    if (m_genre.isValid()) tags.emplace(m_genre, SearchKeyInfo::kGenre, SearchKey());
    // An eleventh would be written over the beginning of the record's path.
    int slots = CFileIndexInfo::kDescriptorSlots;
    for (const SearchKey& descriptor : m_descriptors) {
        if (slots == 0) break;
        if (tags.emplace(descriptor, SearchKeyInfo::kDescriptor, SearchKey()).second) --slots;
    }
    return tags;
}

/// What counts first comes first. In that order every word that ends behind another, or with it, comes before
/// it: the other is a part when one of them begins before it as well.
void FileTags::sortWords() {
    std::ranges::stable_sort(m_words, countsBefore, &Word::place);
    const Word* longest = nullptr;  // the one that reaches back the furthest, in the component at hand
    for (Word& word : m_words) {
        const bool isNewComponent = !longest || longest->place.folder != word.place.folder;
        const bool reachesFurther = isNewComponent || word.place.begin < longest->place.begin;
        word.isPart = !reachesFurther && countsBefore(longest->place, word.place);
        if (reachesFurther) longest = &word;
    }
}

/// Instrument and sub-type from one source as far as there is one: a sub-type of another instrument would be
/// wrong, however near to the end of the path it stands.
void FileTags::chooseInstrument() {
    if (m_instrument.isValid()) {
        if (!m_subType.isValid()) m_subType = subTypeInPath();
        return;
    }
    if (m_subType.isValid()) {
        const SearchKeyInfo* const known =
            m_dictionary.matchTag(m_subType, SearchKeyInfo::kInstrumentSubType);
        if (known) m_instrument = known->parent;
        return;
    }
    const SearchKeyInfo* const best = bestInstrument();
    if (!best) return;
    m_instrument = instrumentOf(*best);
    m_subType = best->category == SearchKeyInfo::kInstrumentSubType ? best->key : subTypeInPath();
}

/// The first word that means an instrument, and which of its meanings.
const SearchKeyInfo* FileTags::bestInstrument() const {
    const auto first = std::ranges::find_if(
        m_words, [](const Word& word) { return !word.isPart && isInstrumentOrSubType(*word.key); });
    if (first == m_words.end()) return nullptr;
    for (auto word = first; word != m_words.end() && !countsBefore(first->place, word->place); ++word) {
        if (isInstrumentOrSubType(*word->key) && isNamedElsewhere(instrumentOf(*word->key), word->place))
            return word->key;
    }
    return first->key;
}

bool FileTags::isNamedElsewhere(const SearchKey& instrument, const WordPlace& place) const {
    return std::ranges::any_of(m_words, [&](const Word& word) {
        return !word.isPart && !overlap(word.place, place) && isInstrumentOrSubType(*word.key) &&
               instrumentOf(*word.key) == instrument;
    });
}

template <typename Matches>
SearchKey FileTags::firstKey(Matches matches) const {
    const auto first =
        std::ranges::find_if(m_words, [&](const Word& word) { return !word.isPart && matches(*word.key); });
    return first == m_words.end() ? SearchKey() : first->key->key;
}

SearchKey FileTags::subTypeInPath() const {
    return firstKey([this](const SearchKeyInfo& key) {
        return key.category == SearchKeyInfo::kInstrumentSubType && key.parent == m_instrument;
    });
}

SearchKey FileTags::genreInPath() const {
    return firstKey([](const SearchKeyInfo& key) { return key.category == SearchKeyInfo::kGenre; });
}

}  // namespace marl
