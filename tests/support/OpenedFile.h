// SPDX-License-Identifier: MIT
/// \file
/// A built file, opened through the factory.
#pragma once

#include "support/Bytes.h"
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/IFile.h>

#include <string>
#include <string_view>

namespace support {

CURLRef urlOf(const std::string& path);

/// Writes `contents` under `name`, whose extension decides the format, and opens it; nothing is parsed yet.
class OpenedFile {
public:
    OpenedFile(std::string_view name, const Bytes& contents);

    marl::IFile& file() const { return *m_file; }
    marl::IFileParser& parser() const { return *m_file->getFileParserRef(); }
    marl::IFileData& data() const { return *m_file->getFileDataRef(); }
    const std::string& path() const noexcept { return m_path; }

    /// The parser, with all groups read.
    marl::IFileParser& parsed() const;

private:
    TemporaryFolder m_folder;
    std::string m_path;
    marl::IFileRef m_file;
};

/// The positions of the parser's slice points, in frames.
std::vector<long long> transientPositions(const marl::IFileParser& parser);

/// What `action` throws as a `CException`, or "" when it throws nothing.
template <typename Action>
std::string messageThrownBy(Action action) {
    try {
        action();
    } catch (const halyard::CException& exception) {
        return exception.getMessage();
    }
    return "";
}

}  // namespace support
