// SPDX-License-Identifier: MIT
/// \file
/// Where the fields of a record stand in its bytes. docs/index-file-format.md shows them.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexInfo.h>

#include <cstddef>

namespace marl::record {

constexpr std::size_t kFileID = 0, kIndexTime = 4, kNumerator = 8, kDenominator = 10, kKeyType = 12;
constexpr std::size_t kTempo = 16, kMIDIRootNote = 20, kNumberOfBeats = 24, kSourceBeatsDiffer = 28;
constexpr std::size_t kLacksTransients = 32, kLacksSearchTags = 36;
constexpr std::size_t kInstrument = 40, kInstrumentSubType = 70, kGenre = 100, kDescriptorCount = 132;
constexpr std::size_t kDescriptors = 136, kFileName = 436, kContentFileType = 1462;

static_assert(kGenre + SearchKey::kSize <= kDescriptorCount);
static_assert(kDescriptors + CFileIndexInfo::kDescriptorSlots * SearchKey::kSize == kFileName);
static_assert(kFileName + CFileIndexInfo::kLongestFileName + 1 < kContentFileType);
static_assert(kContentFileType + 2 == CFileIndexInfo::kSize);

}  // namespace marl::record
