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
// Where a terminal is too narrow, its last column takes what is left: a second line would not be wiped out.
constexpr char kKeepOnOneLine[] = "\033[?7l";
constexpr char kWrapAgain[] = "\033[?7h";

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
    std::string line = m_title;
    if (total > 0) line += barOf(done, total) + std::to_string(done) + " of " + std::to_string(total);
    m_out << kBeginOfLine + (kKeepOnOneLine + line) + kWrapAgain
          << std::flush;  // one write, never half of it
}

}  // namespace marl::tool
