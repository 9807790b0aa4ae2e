// SPDX-License-Identifier: MIT
/// \file
/// What a fuzz target does with one loop file: parse everything, then read all samples in every width.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

#include <cstddef>
#include <cstdint>

namespace fuzz {

using ParserMaker = marl::IFileParserRef (*)(const marl::IFileDataRef& fileData);

/// Runs over the bytes as a file of the format that `makeParser` reads, through the same data strategy that
/// the factory gives it. Refusals are fine; anything else ends the process.
void runLoopFile(const std::uint8_t* bytes, std::size_t size, bool bigEndian, ParserMaker makeParser);

}  // namespace fuzz
