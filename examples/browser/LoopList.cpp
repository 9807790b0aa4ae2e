// SPDX-License-Identifier: MIT
#include "LoopList.h"

#include <algorithm>
#include <numeric>
#include <sstream>

namespace browser {
namespace {

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// A line a field, so that no word reaches from one into the next.
std::string searchedText(const Loop& loop) {
    return lowerCase(loop.name + '\n' + loop.key + '\n' + loop.tempo + '\n' + loop.meter + '\n' +
                     loop.instrument + '\n' + loop.words);
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(lowerCase(text));
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

}  // namespace

LoopList::LoopList(std::vector<Loop> loops) : m_loops(std::move(loops)), m_rows(m_loops.size()) {
    m_texts.reserve(m_loops.size());
    for (const Loop& loop : m_loops) m_texts.push_back(searchedText(loop));
    std::iota(m_rows.begin(), m_rows.end(), std::size_t{0});
}

bool LoopList::matches(std::size_t loop, const std::vector<std::string>& words) const noexcept {
    return std::ranges::all_of(
        words, [&](const std::string& word) { return m_texts[loop].find(word) != std::string::npos; });
}

void LoopList::setFilter(const std::string& text) {
    // What is typed on narrows the list: only what matched can still match.
    if (!text.starts_with(m_filter)) {
        m_rows.resize(m_loops.size());
        std::iota(m_rows.begin(), m_rows.end(), std::size_t{0});
    }
    const std::vector<std::string> words = wordsOf(text);
    std::erase_if(m_rows, [&](std::size_t loop) { return !matches(loop, words); });
    m_filter = text;
    const auto next = static_cast<std::size_t>(std::ranges::lower_bound(m_rows, m_wanted) - m_rows.begin());
    m_chosen = std::min(next, m_rows.empty() ? 0 : m_rows.size() - 1);
}

const Loop* LoopList::chosen() const noexcept {
    return m_rows.empty() ? nullptr : &m_loops[m_rows[m_chosen]];
}

void LoopList::moveBy(std::ptrdiff_t rows) noexcept {
    const auto last = std::max<std::ptrdiff_t>(std::ssize(m_rows) - 1, 0);
    const auto here = static_cast<std::ptrdiff_t>(m_chosen);
    m_chosen = static_cast<std::size_t>(here + std::clamp(rows, -here, last - here));
    if (!m_rows.empty()) m_wanted = m_rows[m_chosen];
}

std::size_t LoopList::scrolledTo(std::size_t height) noexcept {
    const std::size_t lastTop = m_rows.size() > height ? m_rows.size() - height : 0;
    m_top = std::min({m_top, m_chosen, lastTop});
    if (m_chosen >= m_top + height) m_top = m_chosen - height + 1;
    return m_top;
}

}  // namespace browser
