// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/PathWords.h>

#include <algorithm>

namespace marl {
namespace {

/// Of the longest keywords, such as "Drum and Bass".
constexpr std::size_t kMostWordsOfAKeyword = 3;

constexpr std::string_view kSeparators = " _-.+,()[]";

bool isAnySeparator(char c) noexcept {
    return kSeparators.find(c) != std::string_view::npos;
}

bool isLower(char c) noexcept {
    return c >= 'a' && c <= 'z';
}
bool isUpper(char c) noexcept {
    return c >= 'A' && c <= 'Z';
}

/// Whether a word ends in front of the character at `i` because its case changes there.
bool changesCase(std::string_view text, std::size_t i) noexcept {
    return i > 0 && i < text.size() && isLower(text[i - 1]) && isUpper(text[i]);
}

bool hasCaseChange(std::string_view text) noexcept {
    for (std::size_t i = 1; i < text.size(); ++i)
        if (changesCase(text, i)) return true;
    return false;
}

/// Without the extension; a name that begins with its only dot has none.
std::string_view withoutExtension(std::string_view path) noexcept {
    const std::size_t name = path.rfind('/') + 1;  // 0 when there is no slash
    const std::size_t dot = path.rfind('.');
    return dot == std::string_view::npos || dot <= name ? path : path.substr(0, dot);
}

}  // namespace

void PathWords::parsePath(std::string_view path) {
    path = withoutExtension(path);
    for (int folder = 0; !path.empty(); ++folder) {
        const std::size_t slash = path.rfind('/');
        const std::size_t begin = slash + 1;  // 0 when there is no slash
        parsePathComponent(path.substr(begin), folder);
        path = path.substr(0, slash == std::string_view::npos ? 0 : slash);
    }
}

void PathWords::parsePathComponent(std::string_view component, int folder) {
    m_component = component;
    m_folder = folder;
    examineWord(component, 0, component.size());
    int ways = 0;
    for (const char separator : kSeparators) {
        if (component.find(separator) == std::string_view::npos) continue;
        parsePathComponentWithSeparator(separator);
        ++ways;
    }
    if (hasCaseChange(component)) {
        parsePathComponentWithCase();
        ++ways;
    }
    if (ways > 1) parsePathComponentWithAll();
}

/// Fills m_words. Separators belong to no word, nor do blanks around it, and words are never empty.
template <typename IsSeparator>
void PathWords::split(IsSeparator isSeparator, bool splitsAtCase) {
    m_words.clear();
    std::size_t begin = 0;
    const auto endWord = [&](std::size_t end) {
        while (begin < end && m_component[begin] == ' ') ++begin;
        while (begin < end && m_component[end - 1] == ' ') --end;
        if (end > begin) m_words.push_back({m_component.substr(begin, end - begin), begin});
    };
    for (std::size_t i = 0; i < m_component.size(); ++i) {
        const bool separates = isSeparator(m_component[i]);
        if (!separates && !(splitsAtCase && changesCase(m_component, i))) continue;
        endWord(i);
        begin = separates ? i + 1 : i;
    }
    endWord(m_component.size());
}

void PathWords::parsePathComponentWithSeparator(char separator) {
    split([separator](char c) { return c == separator; }, false);
    examineWords();
}

void PathWords::parsePathComponentWithCase() {
    split([](char) { return false; }, true);
    examineWords();
}

void PathWords::parsePathComponentWithAll() {
    split(isAnySeparator, true);
    examineWords();
}

/// Every word, and every few neighbours with one blank between them.
void PathWords::examineWords() {
    for (std::size_t first = 0; first < m_words.size(); ++first) {
        m_joined.clear();
        const std::size_t end = std::min(first + kMostWordsOfAKeyword, m_words.size());
        for (std::size_t last = first; last < end; ++last) {
            const auto& [text, begin] = m_words[last];
            m_joined.append(m_joined.empty() ? "" : " ").append(text);
            examineWord(m_joined, m_words[first].begin, begin + text.size());
        }
    }
}

/// Looks one word up, which stands in the component from `begin` to `end`. Digits that were taken off its end
/// are no part of it.
void PathWords::examineWord(std::string_view word, std::size_t begin, std::size_t end) {
    m_found.clear();
    const std::string_view meant = m_dictionary.findKeys(word, m_found);
    if (!m_found.empty()) m_tags.addWord(m_found, {m_folder, begin, end - (word.size() - meant.size())});
}

}  // namespace marl
