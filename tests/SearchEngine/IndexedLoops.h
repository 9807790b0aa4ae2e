// SPDX-License-Identifier: MIT
/// \file
/// Builds records and index files for the tests of the search engine.
#pragma once

#include <MarlCore/SearchEngine/CIndexFile.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace support {

/// What an index is told of a loop. The defaults are those of a record.
struct IndexedLoop {
    std::string path = {};
    std::string instrument = {}, subType = {}, genre = {};
    std::vector<std::string> descriptors = {};
    marl::tagging::TimeSignature timeSignature = {};
    std::int16_t keyType = 3;
    std::int16_t contentFileType = 0;
    std::int32_t rootNote = 0;
};

using Keys = std::set<marl::SearchKeyInfo>;

/// Texts as tags of these categories, each text once.
Keys tagsOf(const IndexedLoop& loop);

/// The record of the loop, indexed at second 1000000000, and the keys that it is found by.
std::pair<marl::CFileIndexInfo, Keys> recordOf(const IndexedLoop& loop);

/// The 1464 bytes as a record.
marl::CFileIndexInfo recordFromBytes(std::string_view bytes);
std::string bytesOf(const marl::CFileIndexInfo& record);

/// Appends the record of the loop, registers its keys and returns its identifier.
std::int32_t add(marl::CIndexFile& file, const IndexedLoop& loop);

/// Writes the record in the place of an older one, and its keys in place of those.
void rewrite(marl::CIndexFile& file, std::int32_t fileID, const IndexedLoop& loop);

/// Marks the record as one of a file that has gone or come back.
void setThere(marl::CIndexFile& file, std::int32_t fileID, bool isThere);

/// A new, complete index of "/Loops" without records, not flushed.
marl::CIndexFileRef makeIndex(const std::string& path);

/// Opens an index file as the engine does: header, and keys unless it is damaged.
marl::CIndexFileRef openIndex(const std::string& path);

/// The index file that the page about them shows: two loops there, one gone.
void buildExample(const std::string& path);

/// Key and file of every entry, in order.
std::vector<std::pair<std::string, std::int32_t>> entriesOf(const marl::CIndexFile& file);

/// Searches, checks that the number returned is that of the files found and that each carries every key, and
/// returns their paths in order.
std::vector<std::string> pathsFound(marl::CIndexFile& file, const std::vector<std::string>& keys,
                                    const marl::SearchFilters& filters = {}, const std::string& name = "",
                                    int projectKey = 0);

/// Reads an index file whatever it holds: what opens undamaged must keep within the length of the file, and
/// every search in it must find only files that carry the key. Returns whether it opens undamaged.
bool opensHonestly(const std::string& path);

}  // namespace support
