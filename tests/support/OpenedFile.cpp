// SPDX-License-Identifier: MIT
#include "support/OpenedFile.h"

namespace support {

CURLRef urlOf(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

OpenedFile::OpenedFile(std::string_view name, const Bytes& contents)
    : m_path(m_folder.write(name, contents)), m_file(marl::IFile::New(urlOf(m_path), false)) {}

marl::IFileParser& OpenedFile::parsed() const {
    parser().parse(marl::IFileParser::kParseAll);
    return parser();
}

std::vector<long long> transientPositions(const marl::IFileParser& parser) {
    std::vector<long long> positions;
    for (const auto& transient : parser.getTransients()) positions.push_back(transient.position);
    return positions;
}

}  // namespace support
