// SPDX-License-Identifier: MIT
#include "support/DocumentedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
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

std::string difference(const std::string& page, const std::string& file) {
    const auto [a, b] = std::mismatch(page.begin(), page.end(), file.begin(), file.end());
    if (a == page.end() && b == file.end()) return "";
    std::ostringstream text;
    text << "page of " << page.size() << " and file of " << file.size() << " bytes differ at byte 0x"
         << std::hex << a - page.begin();
    return text.str();
}

}  // namespace support
