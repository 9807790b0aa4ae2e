// SPDX-License-Identifier: MIT
#include "marl/LoopFile.h"

#include <MarlCore/Files/browsing/NodeTypes.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

/// The library judges a path by its name and speaks of URLs; this tells a user what is wrong with the path.
void requireLoopFile(const std::string& path) {
    const fs::file_status status = fs::status(path);
    if (!fs::exists(status)) throw std::system_error(ENOENT, std::generic_category());
    if (fs::is_directory(status)) throw std::system_error(EISDIR, std::generic_category());
    if (!fs::is_regular_file(status))
        throw halyard::CParamException(halyard::kParameterError, "pipes and devices cannot be read");
    if (NodeTypesHelper::nodeTypeFromPath(path) == NodeTypesHelper::kUnknown)
        throw halyard::CParamException(
            halyard::kParameterError,
            "not a loop file: its name must end in .aif, .aiff, .wav, .wave or .mov");
    if (fs::file_size(path) == 0) throw halyard::CParamException(halyard::kParameterError, "is empty");
}

}  // namespace

CURLRef urlOfPath(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

LoopFile openLoopFile(const std::string& path) {
    requireLoopFile(path);
    LoopFile loop;
    loop.file = IFile::New(urlOfPath(path), false);
    // Without the mere check for slice points: it would call those of an unusable chunk the file's own.
    loop.parser().parse(IFileParser::kParseAll & ~IFileParser::kCheckForTransients);
    loop.parser().getFormatInfo(loop.format);
    return loop;
}

}  // namespace marl::tool
