// SPDX-License-Identifier: MIT
#include "Browser.h"

#include <algorithm>
#include <exception>

namespace browser {

std::ptrdiff_t Browser::page() const noexcept {
    return std::max<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(Layout(m_size.rows).list) - 1, 1);
}

Browser::Wish Browser::press(const Key& key) {
    using Code = Key::Code;
    const auto all = static_cast<std::ptrdiff_t>(m_list.count());
    switch (key.code) {
        case Code::kText:
            m_list.setFilter(m_list.filter() + key.text);
            break;
        case Code::kBackspace:
            eraseCharacter();
            break;
        case Code::kEraseWord:
            eraseWord();
            break;
        case Code::kClear:
            m_list.setFilter("");
            break;
        case Code::kUp:
            m_list.moveBy(-1);
            break;
        case Code::kDown:
            m_list.moveBy(1);
            break;
        case Code::kPageUp:
            m_list.moveBy(-page());
            break;
        case Code::kPageDown:
            m_list.moveBy(page());
            break;
        case Code::kHome:
            m_list.moveBy(-all);
            break;
        case Code::kEnd:
            m_list.moveBy(all);
            break;
        case Code::kEnter:
            return m_list.chosen() ? Wish::kChoose : Wish::kGoOn;
        case Code::kEscape:
            if (m_list.filter().empty()) return Wish::kQuit;
            m_list.setFilter("");
            break;
        case Code::kQuit:
            return Wish::kQuit;
        case Code::kSuspend:
            return Wish::kSuspend;
        case Code::kRedraw:
            return Wish::kRedraw;
    }
    return Wish::kGoOn;
}

void Browser::eraseCharacter() {
    std::string text = m_list.filter();
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    while (!text.empty() && isContinuation(text.back())) text.pop_back();
    if (!text.empty()) text.pop_back();
    m_list.setFilter(text);
}

void Browser::eraseWord() {
    const std::string& text = m_list.filter();
    const std::size_t end = text.find_last_not_of(' ') + 1;  // 0 where there are spaces only
    const std::size_t start = end == 0 ? 0 : text.find_last_of(' ', end - 1) + 1;
    m_list.setFilter(text.substr(0, start));
}

void Browser::openChosen() {
    const Loop* const chosen = m_list.chosen();
    const std::string path = chosen ? chosen->path : "";
    if (path == m_openPath) return;
    m_openPath = path;
    m_waveform.reset();
    m_problem.clear();
    if (path.empty()) return;
    try {
        m_waveform = std::make_unique<Waveform>(path);
    } catch (const std::exception& exception) {
        m_problem = exception.what();
    }
}

std::vector<std::string> Browser::draw(bool isColoured) {
    openChosen();
    Preview preview{{}, m_problem};
    if (m_waveform) preview.levels = [this](std::size_t columns) { return m_waveform->levels(columns); };
    return drawScreen(m_list, preview, m_size, isColoured);
}

}  // namespace browser
