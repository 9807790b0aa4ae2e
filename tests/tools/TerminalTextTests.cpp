// SPDX-License-Identifier: MIT
#include <tools/marl/TerminalText.h>

#include <gtest/gtest.h>

namespace marl::tool {
namespace {

TEST(TerminalText, EscapesWhatATerminalCouldObey) {
    using namespace std::string_literals;
    const struct {
        std::string text, shown;
    } kRows[] = {{"", ""},
                 {"Kick 01.aif", "Kick 01.aif"},
                 {"caf\xC3\xA9 \xE2\x99\xAA \xF0\x9F\xA5\x81", "caf\xC3\xA9 \xE2\x99\xAA \xF0\x9F\xA5\x81"},
                 {"\0\n\x1B[2J\x7F"s, "\\x00\\x0A\\x1B[2J\\x7F"},
                 {"a\\x0A", "a\\\\x0A"},
                 {"\x9B", "\\x9B"},           // CSI of an 8-bit terminal
                 {"\xC2\x9B", "\\xC2\\x9B"},  // and as a character
                 {"\xC2\xA0", "\xC2\xA0"},
                 {"\xFF\xC3", "\\xFF\\xC3"},
                 {"\xC3(", "\\xC3("},
                 {"\xE2\x99", "\\xE2\\x99"},
                 {"\xED\xA0\x80", "\\xED\\xA0\\x80"},  // a surrogate
                 {"\xC0\x8A", "\\xC0\\x8A"}};          // an overlong line feed
    for (const auto& row : kRows) EXPECT_EQ(terminalText(row.text), row.shown);
}

}  // namespace
}  // namespace marl::tool
