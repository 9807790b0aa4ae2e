// SPDX-License-Identifier: MIT
#include "Browser.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace browser {
namespace {

using Code = Key::Code;

std::string withoutLastCharacter(std::string text) {
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    while (!text.empty() && isContinuation(text.back())) text.pop_back();
    if (!text.empty()) text.pop_back();
    return text;
}

std::string withoutLastWord(const std::string& text) {
    const std::size_t end = text.find_last_not_of(' ') + 1;  // 0 where there are spaces only
    const std::size_t start = end == 0 ? 0 : text.find_last_of(' ', end - 1) + 1;
    return text.substr(0, start);
}

/// What the key makes of a filter; nothing when it is none that edits.
std::optional<std::string> edited(const std::string& filter, const Key& key) {
    switch (key.code) {
        case Code::kText:
            return filter + key.text;
        case Code::kBackspace:
            return withoutLastCharacter(filter);
        case Code::kEraseWord:
            return withoutLastWord(filter);
        case Code::kClear:
        case Code::kEscape:
            return "";
        default:
            return std::nullopt;
    }
}

}  // namespace

std::ptrdiff_t Browser::rowsToMove(Key::Code code) const noexcept {
    const auto page = std::max<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(Layout(m_size.rows).list) - 1, 1);
    const auto all = static_cast<std::ptrdiff_t>(m_list.count());
    switch (code) {
        case Code::kUp:
            return -1;
        case Code::kDown:
            return 1;
        case Code::kPageUp:
            return -page;
        case Code::kPageDown:
            return page;
        case Code::kHome:
            return -all;
        case Code::kEnd:
            return all;
        default:
            return 0;
    }
}

Browser::Wish Browser::press(const Key& key) {
    switch (key.code) {
        case Code::kEnter:
            return m_list.chosen() ? Wish::kChoose : Wish::kGoOn;
        case Code::kQuit:
            return Wish::kQuit;
        case Code::kSuspend:
            return Wish::kSuspend;
        case Code::kRedraw:
            return Wish::kRedraw;
        case Code::kEscape:
            if (m_list.filter().empty()) return Wish::kQuit;
            [[fallthrough]];
        default:
            if (const auto filter = edited(m_list.filter(), key)) m_list.setFilter(*filter);
            if (const auto rows = rowsToMove(key.code)) m_list.moveBy(rows);
            return Wish::kGoOn;
    }
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
