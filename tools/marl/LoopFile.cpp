// SPDX-License-Identifier: MIT
#include "marl/LoopFile.h"

#include <cstring>

namespace marl::tool {

CURLRef urlOfPath(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

LoopFile openLoopFile(const std::string& path) {
    LoopFile loop;
    loop.file = IFile::New(urlOfPath(path), false);
    loop.parser().parse(IFileParser::kParseAll);
    loop.parser().getFormatInfo(loop.format);
    return loop;
}

std::string messageOf(const std::exception& exception) {
    std::string message = exception.what();
    const auto* const failure = dynamic_cast<const halyard::CException*>(&exception);
    if (failure && failure->getType() == halyard::kFileIOError && failure->getCode() != 0)
        message += std::string(": ") + std::strerror(failure->getCode());
    return message;
}

}  // namespace marl::tool
