// SPDX-License-Identifier: MIT
#include "support/DocumentedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>

namespace support {

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream) << path;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string bytesOfPage(const std::string& pagePath, const std::string& name) {
    std::istringstream page(contentsOf(pagePath));
    std::string line, bytes, row;
    while (std::getline(page, line) && line != "```hexdump " + name) continue;
    while (std::getline(page, line) && line != "```") {
        if (line == "*") continue;
        const std::size_t offset = std::stoul(line, nullptr, 16);
        while (bytes.size() < offset) bytes += row;
        EXPECT_EQ(bytes.size(), offset) << "wrong offset: " << line;
        std::istringstream columns(line.substr(8, line.find('|') - 8));
        row.clear();
        for (std::string column; columns >> column;) row += static_cast<char>(std::stoi(column, nullptr, 16));
        bytes += row;
    }
    return bytes;
}

std::string rowOfPage(const std::string& pagePath, const std::string& heading, std::size_t offset) {
    std::istringstream page(contentsOf(pagePath));
    std::string line, found;
    while (std::getline(page, line) && line != "## " + heading) continue;
    while (std::getline(page, line) && !line.starts_with('|')) continue;
    do {
        std::size_t start;
        if (std::sscanf(line.c_str(), "| %zu |", &start) == 1 && start <= offset) found = line;
    } while (std::getline(page, line) && line.starts_with('|'));
    return found;
}

namespace {

/// The bytes of the row of a hexdump that holds the one at `offset`.
std::string hexdumpRow(const std::string& bytes, std::size_t offset) {
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (const char byte : bytes.substr(std::min(bytes.size(), offset / 16 * 16), 16))
        text << ' ' << std::setw(2) << int{static_cast<unsigned char>(byte)};
    return text.str();
}

}  // namespace

std::string difference(const std::string& page, const std::string& file, const PlaceOf& placeOf) {
    if (page == file) return "";
    const auto [a, b] = std::mismatch(page.begin(), page.end(), file.begin(), file.end());
    const auto offset = static_cast<std::size_t>(a - page.begin());
    std::ostringstream text;
    text << "page of " << page.size() << " and file of " << file.size() << " bytes differ at byte 0x"
         << std::hex << offset;
    if (placeOf) text << ", " << placeOf(offset);
    text << "\n  page" << hexdumpRow(page, offset) << "\n  file" << hexdumpRow(file, offset);
    return text.str();
}

}  // namespace support
