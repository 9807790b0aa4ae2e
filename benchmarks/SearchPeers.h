// SPDX-License-Identifier: MIT
/// \file
/// One search, asked of the engine's index file and of two SQLite databases that hold the same records.
#pragma once

#include <MarlCore/SearchEngine/CIndexFile.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <sqlite3.h>

namespace searching {

/// Loops in 4/4 that carry every key, two semitones around a note at most.
struct Query {
    std::vector<std::string> keys;
    std::int32_t projectKey;
};
constexpr std::int32_t kTolerance = 2;

/// Who answers. Each delivers all that the record of a file says.
class ISearcher {
public:
    virtual ~ISearcher() = default;
    /// The identifiers of the files that match; with `fileIDs` null they are delivered but not listed.
    virtual std::size_t search(const Query& query, std::vector<std::int32_t>* fileIDs) = 0;
};

/// The index file. Its results keep their memory from one search to the next, as a browser window's do.
class IndexSearcher : public ISearcher {
public:
    explicit IndexSearcher(const std::string& path);
    std::size_t search(const Query& query, std::vector<std::int32_t>* fileIDs) override;

private:
    marl::CIndexFileRef m_index;
    marl::OrganizedSearchResultsRef m_results;
};

/// A database in memory with a table of loops, as many as the index file has. What searches of that table
/// have in common.
class SQLiteSearcher : public ISearcher {
public:
    explicit SQLiteSearcher(int records);

protected:
    struct Close {
        void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;

    void run(const std::string& sql);
    Statement prepare(const std::string& sql);
    void step(sqlite3_stmt* statement);
    /// Steps through the rows and reads every column of each.
    static std::size_t readAll(sqlite3_stmt* statement, std::vector<std::int32_t>* fileIDs);
    /// A number for each word, given out when it is first asked for.
    int numberOf(const std::string& word);
    int records() const noexcept { return m_records; }

private:
    void fill();

    std::unique_ptr<sqlite3, Close> m_database;
    int m_records;
    std::map<std::string, int> m_numbers;
};

/// A table of keys that covers the filters: meter and root note stand in its primary key, so that only loops
/// that match are looked up. Keys are joined in the order of their frequency, the rarest first.
class KeyTableSearcher : public SQLiteSearcher {
public:
    explicit KeyTableSearcher(int records);
    std::size_t search(const Query& query, std::vector<std::int32_t>* fileIDs) override;

private:
    Statement& statementFor(std::size_t keys);

    std::map<int, int> m_frequencies;               // of keys, by number
    std::map<std::size_t, Statement> m_statements;  // by the number of keys
};

/// Full-text search over the keys, without contents and without positions, joined to the loops. Meter and
/// root note as further words of the text would make it slower.
class FullTextSearcher : public SQLiteSearcher {
public:
    explicit FullTextSearcher(int records);
    std::size_t search(const Query& query, std::vector<std::int32_t>* fileIDs) override;

private:
    Statement m_search;
};

}  // namespace searching
