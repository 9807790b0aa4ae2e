// SPDX-License-Identifier: MIT
/// \file
/// Text in columns, and the pieces of text that go into them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace marl::tool {

/// As printf writes it, up to 255 bytes.
template <typename... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 256> text;
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

/// "1 loop", "2 loops".
std::string counted(long long count, const char* noun);

/// UTF-8 `text` filled up with blanks to `width` characters, or cut to them with "…" at the end.
std::string fitted(const std::string& text, std::size_t width);

/// Prints rows one below the other as they come, under a row of heads. Cells are printed as they are: what
/// comes from files passes through `terminalText` first.
class TextTable {
public:
    struct Column {
        const char* head;
        std::size_t width;  ///< characters; longer text is cut, numbers are not
        bool isNumber;      ///< set to the right
    };

    /// Prints the heads. The last column, headed `lastHead`, is as wide as its text. `columns` and `out`
    /// outlive this object.
    TextTable(std::ostream& out, std::span<const Column> columns, const char* lastHead);

    /// A cell for each column, and that of the last one.
    void addRow(const std::vector<std::string>& cells, const std::string& last);

private:
    std::ostream& m_out;
    std::span<const Column> m_columns;
};

}  // namespace marl::tool
