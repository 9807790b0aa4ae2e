// SPDX-License-Identifier: MIT
/// \file
/// Makes the record and the search keys of one audio file.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/SearchEngine/CIndexFile.h>
#include <MarlCore/SearchEngine/FileTags.h>
#include <MarlCore/SearchEngine/KeywordDictionary.h>

#include <set>
#include <span>
#include <string>
#include <string_view>

namespace marl {

/// What examining a file gave.
struct FileIndexResult {
    enum class Outcome { kIndexed, kNotIndexable };

    Outcome outcome = Outcome::kNotIndexable;
    std::string reason;            ///< why it is not indexable, for a person; names the file
    CFileIndexInfo record;         ///< without an identifier yet
    std::set<SearchKeyInfo> keys;  ///< that the file is to be found by
};

/// Turns audio files into records and search keys: from the metadata that a file carries, and from those
/// words of its path that the keyword dictionary knows.
///
/// Examining a file touches no index file and needs no lock. [any thread], except for the setter and what
/// takes a `CIndexFile`, whose callers hold its mutex while others may use it.
class MARLCORE_EXPORT CFileIndexer {
public:
    /// Loads the keyword dictionary and the translations that the library ships, and merges a user's own into
    /// them. Throws `CException` (file error) when the shipped ones are missing or malformed. A fault in a
    /// user's files throws nothing: what is wrong is told by `getDictionaryProblems`, and the rest is used.
    CFileIndexer();

    /// One line for each fault in a user's dictionary, with the file and, where it is malformed, the line.
    const std::vector<std::string>& getDictionaryProblems() const noexcept { return m_dictionary.problems(); }

    /// What words of users and of paths mean.
    const KeywordDictionary& getKeywordDictionary() const noexcept { return m_dictionary; }

    /// The dictionary's entry of `key` with its category and parent; false when it has none.
    bool searchKeyToSearchKeyInfo(const SearchKey& key, SearchKeyInfo& out) const noexcept;

    /// Whether the item at `path` is an AIFF or WAV file (node types 4 and 5).
    bool shouldAddFile(const std::string& path) const noexcept;
    /// The same for what is known to be a file, and no link to one. Mostly the name decides.
    bool shouldAddKnownFile(const std::string& path) const noexcept;

    /// Reads the metadata of the file at `path`, an absolute path of any bytes, and makes its record. Never
    /// throws for a file that cannot be indexed: no audio file, damaged, unreadable, or with a path of more
    /// than 1024 bytes, which a record cannot hold. Reads no samples.
    void examineFile(const std::string& path, FileIndexResult& result) const;

    /// Examines many files, with helping threads where the machine has processors for them. `results` has the
    /// length of `paths`.
    void examineFiles(std::span<const std::string> paths, std::span<FileIndexResult> results) const;

    /// Examines the file and stores what it gave: as a new record (`fileID` 0) or in place of the file's old
    /// one. A file that is not indexable is not stored; when it is no AIFF or WAV file at all and
    /// `deleteNotIndexableFiles` is set, it is deleted. One that is only damaged or cannot be read never is.
    /// Throws what the index file throws.
    FileIndexResult::Outcome indexFile(const std::string& path, CIndexFile& indexFile, std::int32_t fileID);

    /// Stores the record, and gives it its identifier, which is returned: a new one for a `fileID` of 0.
    static std::int32_t writeFileInfo(CFileIndexInfo& record, CIndexFile& indexFile, std::int32_t fileID);

    /// Registers the keys of a file. `isNew`: the index has none of that file yet, and nothing is looked for
    /// to be removed.
    static void updateSearchKeyIndex(std::int32_t fileID, const std::set<SearchKeyInfo>& keys,
                                     CIndexFile& indexFile, bool isNew);

    void setDeleteNotIndexableFiles(bool deleteThem) noexcept { m_deleteNotIndexableFiles = deleteThem; }
    bool deleteNotIndexableFiles() const noexcept { return m_deleteNotIndexableFiles; }

private:
    void loadIndexSets();
    void loadSearchKeyTranslation();
    void makeRecord(const std::string& path, const IFileParser& parser, FileIndexResult& result) const;
    void addMetadata(const IFileParser& parser, FileTags& tags) const;
    SearchKey keyOf(const tagging::Keyword& keyword, std::int32_t category) const noexcept;

    KeywordDictionary m_dictionary;
    bool m_deleteNotIndexableFiles = false;
};

}  // namespace marl
