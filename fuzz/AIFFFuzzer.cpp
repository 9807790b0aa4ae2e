// SPDX-License-Identifier: MIT
#include "LoopFileTarget.h"

#include <MarlCore/Files/parsing/CAIFFileParser.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::runLoopFile(data, size, true, [](const marl::IFileDataRef& fileData) {
        return marl::IFileParserRef(new marl::CAIFFileParser(fileData));
    });
    return 0;
}
