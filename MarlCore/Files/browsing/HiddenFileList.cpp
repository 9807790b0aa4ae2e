// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/HiddenFileList.h>

#include <MarlCore/Files/browsing/NodeTypes.h>

#include <array>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>

namespace marl {
namespace {

// Three bytes for each of the 255 characters of the longest name.
constexpr std::size_t kLongestLine = 765;

std::string_view nameInLine(std::string_view line) noexcept {
    line = line.substr(0, line.find('\r'));
    const std::size_t start = line.find_first_not_of(" \t");
    return start == std::string_view::npos ? std::string_view() : line.substr(start);
}

/// Reads one line into `line`, without its line feed; drops what is beyond its end. False at the end of the
/// file.
bool readLine(std::istream& stream, std::array<char, kLongestLine + 1>& line) {
    if (stream.getline(line.data(), static_cast<std::streamsize>(line.size()))) return true;
    if (stream.eof() || stream.bad() || stream.gcount() == 0) return false;
    stream.clear();
    stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    return true;
}

}  // namespace

HiddenFileList::HiddenFileList(std::string path) : m_path(std::move(path)) {}

bool HiddenFileList::contains(const std::string& name) {
    std::call_once(m_loaded, [this] { loadHiddenFile(); });
    return m_names.contains(name);
}

void HiddenFileList::loadHiddenFile() {
    // Opening a pipe would wait for a writer.
    if (NodeTypesHelper::catalogInfo(m_path).kind != CatalogInfo::Kind::kFile) return;
    std::ifstream stream(m_path, std::ios::binary);
    std::array<char, kLongestLine + 1> line;
    while (readLine(stream, line)) {
        const std::string_view name = nameInLine(line.data());
        if (!name.empty()) m_names.emplace(name);
    }
}

}  // namespace marl
