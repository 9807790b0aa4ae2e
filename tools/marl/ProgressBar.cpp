// SPDX-License-Identifier: MIT
#include "marl/ProgressBar.h"

#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <algorithm>
#include <cstdint>
#include <ostream>

namespace marl::tool {
namespace {

constexpr char kBeginOfLine[] = "\r\033[K";  // which is wiped out

std::string barOf(int done, int total) {
    constexpr std::int64_t kWidth = 20;
    const auto full = static_cast<std::size_t>(std::clamp<std::int64_t>(kWidth * done / total, 0, kWidth));
    return " [" + std::string(full, '#') + std::string(kWidth - full, '.') + "] ";
}

}  // namespace

ProgressBar::ProgressBar(bool isShown, const std::string& title, std::ostream& out)
    : m_isShown(isShown), m_title(fitted(terminalText(title), 24)), m_out(out) {}

ProgressBar::~ProgressBar() {
    if (m_isShown) m_out << kBeginOfLine << std::flush;
}

void ProgressBar::show(int done, int total) {
    if (!m_isShown || Clock::now() < m_next) return;
    m_next = Clock::now() + std::chrono::milliseconds(100);
    m_out << kBeginOfLine << m_title;
    if (total > 0) m_out << barOf(done, total) << done << " of " << total;
    m_out << std::flush;
}

}  // namespace marl::tool
