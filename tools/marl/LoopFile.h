// SPDX-License-Identifier: MIT
/// \file
/// A loop file opened by a path from the command line.
#pragma once

#include <MarlCore/Files/IFile.h>

#include <string>

namespace marl::tool {

/// A file with all its metadata parsed.
struct LoopFile {
    IFileRef file;
    IFileParser::FormatInfo format;

    IFileParser& parser() const { return *file->getFileParserRef(); }
    IFileData& data() const { return *file->getFileDataRef(); }
};

/// Opens `path` and parses everything. Throws what the library throws.
LoopFile openLoopFile(const std::string& path);

CURLRef urlOfPath(const std::string& path);

/// What an exception has to say, with the system's own words behind it where there are any.
std::string messageOf(const std::exception& exception);

}  // namespace marl::tool
