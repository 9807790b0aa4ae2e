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

/// Opens `path` and parses everything. Throws what the library throws, and for a path that is no loop file
/// at all (not there, a folder, a pipe, empty, named like something else) `std::system_error` or a parameter
/// error.
LoopFile openLoopFile(const std::string& path);

CURLRef urlOfPath(const std::string& path);

}  // namespace marl::tool
