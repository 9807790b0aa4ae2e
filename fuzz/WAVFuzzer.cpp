// SPDX-License-Identifier: MIT
#include "LoopFileTarget.h"

#include <MarlCore/Files/parsing/CWAVFileParser.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::runLoopFile(data, size, false, [](const marl::IFileDataRef& fileData) {
        return marl::IFileParserRef(new marl::CWAVFileParser(fileData));
    });
    return 0;
}
