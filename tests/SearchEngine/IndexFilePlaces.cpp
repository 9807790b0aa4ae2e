// SPDX-License-Identifier: MIT
#include "IndexFilePlaces.h"

#include "support/DocumentedFile.h"

namespace support {
namespace {

constexpr std::size_t kHeaderSize = 1064, kRecordSize = 1464, kEntrySize = 40;

std::string row(const std::string& heading, std::size_t offset) {
    return rowOfPage(MARL_SOURCE_DIR "/docs/index-file-format.md", heading, offset);
}

/// What lies at `offset` of an index file of `records` records.
std::string placeInIndex(std::size_t records, std::size_t offset) {
    if (offset < kHeaderSize) return "header: " + row("Header, 1064 bytes", offset);
    offset -= kHeaderSize;
    if (offset < records * kRecordSize)
        return "record " + std::to_string(offset / kRecordSize + 1) + ": " +
               row("Record, 1464 bytes", offset % kRecordSize);
    offset -= records * kRecordSize;
    return "key " + std::to_string(offset / kEntrySize) + ": " +
           row("Entry of the key index, 40 bytes", offset % kEntrySize);
}

}  // namespace

std::string indexDifference(const std::string& pagePath, const std::string& file) {
    const std::string page = bytesOfPage(MARL_SOURCE_DIR "/" + pagePath, "index");
    const auto records = static_cast<unsigned char>(page.at(19));  // the low byte of their number
    return difference(page, file, [&](std::size_t offset) { return placeInIndex(records, offset); });
}

}  // namespace support
