// SPDX-License-Identifier: MIT
#include "marl/TextTable.h"

#include <algorithm>
#include <ostream>

namespace marl::tool {
namespace {

std::string cellOf(const std::string& text, const TextTable::Column& column) {
    if (!column.isNumber) return fitted(text, column.width);
    return std::string(column.width - std::min(column.width, text.size()), ' ') + text;
}

}  // namespace

std::string counted(long long count, const char* noun) {
    return formatted("%lld %s%s", count, noun, count == 1 ? "" : "s");
}

std::string fitted(const std::string& text, std::size_t width) {
    std::vector<std::size_t> starts;  // of the characters
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) starts.push_back(i);
    if (starts.size() <= width) return text + std::string(width - starts.size(), ' ');
    return text.substr(0, starts[width - 1]) + "…";
}

TextTable::TextTable(std::ostream& out, std::span<const Column> columns, const char* lastHead)
    : m_out(out), m_columns(columns) {
    std::vector<std::string> heads;
    for (const Column& column : columns) heads.emplace_back(column.head);
    addRow(heads, lastHead);
}

void TextTable::addRow(const std::vector<std::string>& cells, const std::string& last) {
    for (std::size_t i = 0; i < m_columns.size(); ++i) m_out << cellOf(cells.at(i), m_columns[i]) << ' ';
    m_out << last << '\n';
}

}  // namespace marl::tool
