// SPDX-License-Identifier: MIT
#include "SearchPeers.h"

#include "SearchIndexes.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <stdexcept>

namespace searching {

namespace {

constexpr int kCommonTime = 4 << 8 | 4;

int meterOf(const marl::CFileIndexInfo& record) {
    return record.getTimeSignature().numerator << 8 | record.getTimeSignature().denominator;
}

std::string descriptorsOf(const marl::CFileIndexInfo& record) {
    std::string list;
    for (int i = 0; i < record.getDescriptorCount(); ++i) {
        if (i > 0) list += ',';
        list += record.getDescriptorAtIndex(i).view();
    }
    return list;
}

/// A word with nothing but a number to it.
std::string word(int number) {
    std::string text(1, 'k');
    return text += std::to_string(number);
}

/// Binds values to the parameters of a statement, from the first on.
class Binder {
public:
    explicit Binder(sqlite3_stmt* statement) : m_statement(statement) {}
    Binder& operator<<(int value) {
        sqlite3_bind_int(m_statement, ++m_parameter, value);
        return *this;
    }
    Binder& operator<<(double value) {
        sqlite3_bind_double(m_statement, ++m_parameter, value);
        return *this;
    }
    Binder& operator<<(std::string_view text) {
        sqlite3_bind_text(m_statement, ++m_parameter, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }

private:
    sqlite3_stmt* m_statement;
    int m_parameter = 0;
};

}  // namespace

// ---- Index file ----

IndexSearcher::IndexSearcher(const std::string& path)
    : m_index(new marl::CIndexFile(halyard::CSTR(path), false)), m_results(new marl::OrganizedSearchResults) {
    m_index->readHeader();
    m_index->readSearchKeySet();
}

std::size_t IndexSearcher::search(const Query& query, std::vector<std::int32_t>* fileIDs) {
    std::vector<marl::SearchKey> keys;
    for (const std::string& key : query.keys) keys.emplace_back(key);
    m_results->clear();
    const int found = m_index->search(keys, {{4, 4}, 0, kTolerance}, {}, query.projectKey, *m_results, false);
    if (fileIDs)
        for (const marl::CFileIndexInfo* const record : m_results->files())
            fileIDs->push_back(record->getFileID());
    return static_cast<std::size_t>(found);
}

// ---- SQLite ----

SQLiteSearcher::SQLiteSearcher(int records) : m_records(records) {
    sqlite3* database = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int status = sqlite3_open_v2(":memory:", &database, flags, nullptr);
    m_database.reset(database);
    if (status != SQLITE_OK) throw std::runtime_error("no database");
    run("PRAGMA page_size = 8192; PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
    fill();
}

void SQLiteSearcher::run(const std::string& sql) {
    if (sqlite3_exec(m_database.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(m_database.get()));
}

SQLiteSearcher::Statement SQLiteSearcher::prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(m_database.get(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr) != SQLITE_OK)
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(m_database.get()));
    return Statement(statement);
}

void SQLiteSearcher::step(sqlite3_stmt* statement) {
    if (sqlite3_step(statement) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(m_database.get()));
    sqlite3_reset(statement);
}

std::size_t SQLiteSearcher::readAll(sqlite3_stmt* statement, std::vector<std::int32_t>* fileIDs) {
    const int columns = sqlite3_column_count(statement);
    std::size_t rows = 0;
    for (; sqlite3_step(statement) == SQLITE_ROW; ++rows) {
        for (int i = 0; i < columns; ++i) switch (sqlite3_column_type(statement, i)) {
                case SQLITE_INTEGER:
                    benchmark::DoNotOptimize(sqlite3_column_int(statement, i));
                    break;
                case SQLITE_FLOAT:
                    benchmark::DoNotOptimize(sqlite3_column_double(statement, i));
                    break;
                default:
                    benchmark::DoNotOptimize(sqlite3_column_text(statement, i));
            }
        if (fileIDs) fileIDs->push_back(sqlite3_column_int(statement, 0));
    }
    sqlite3_reset(statement);
    return rows;
}

int SQLiteSearcher::numberOf(const std::string& word) {
    return m_numbers.try_emplace(word, static_cast<int>(m_numbers.size())).first->second;
}

void SQLiteSearcher::fill() {
    run("CREATE TABLE loops (id INTEGER PRIMARY KEY, meter INTEGER, root INTEGER, path TEXT, instrument "
        "TEXT, "
        "sub_type TEXT, genre TEXT, descriptors TEXT, tempo REAL, key_type INTEGER, content_type INTEGER, "
        "beats INTEGER, beats_differ INTEGER, lacks_transients INTEGER, lacks_tags INTEGER, index_time "
        "INTEGER)");
    const Statement insert = prepare("INSERT INTO loops VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    RecordMaker maker;
    run("BEGIN");
    for (int id = 1; id <= m_records; ++id) {
        const marl::CFileIndexInfo record = maker.next();
        const marl::AdditionalFileInfo info = record.getAdditionalInfo();
        Binder(insert.get()) << id << meterOf(record) << info.midiRootNote
                             << std::string_view(record.getFileName()) << record.getInstrument().view()
                             << record.getInstrumentSubType().view() << record.getGenre().view()
                             << descriptorsOf(record) << static_cast<double>(info.tempo)
                             << record.getKeyType() << record.getContentFileType() << info.numberOfBeats
                             << info.sourceBeatsDiffer << info.lacksTransients << info.lacksSearchTags
                             << record.getIndexTime();
        step(insert.get());
    }
    run("COMMIT");
}

// ---- Table of keys ----

KeyTableSearcher::KeyTableSearcher(int records) : SQLiteSearcher(records) {
    run("CREATE TABLE unsorted (key INTEGER, meter INTEGER, root INTEGER, loop INTEGER);"
        "CREATE TABLE loop_keys (key INTEGER, meter INTEGER, root INTEGER, loop INTEGER, "
        "PRIMARY KEY (key, meter, root, loop)) WITHOUT ROWID; BEGIN");
    const Statement insert = prepare("INSERT INTO unsorted VALUES (?,?,?,?)");
    RecordMaker maker;
    for (int id = 1; id <= records; ++id) {
        const marl::CFileIndexInfo record = maker.next();
        for (const marl::SearchKeyInfo& info : record.searchKeys()) {
            const int key = numberOf(std::string(info.key.view()));
            ++m_frequencies[key];
            Binder(insert.get()) << key << meterOf(record) << record.getAdditionalInfo().midiRootNote << id;
            step(insert.get());
        }
    }
    run("INSERT INTO loop_keys SELECT * FROM unsorted ORDER BY key, meter, root, loop; COMMIT;"
        "DROP TABLE unsorted; ANALYZE");
}

KeyTableSearcher::Statement& KeyTableSearcher::statementFor(std::size_t keys) {
    Statement& statement = m_statements[keys];
    if (statement) return statement;
    std::string tables = "loop_keys k1",
                conditions = "k1.key = ?4 AND k1.meter = ?1 AND k1.root BETWEEN ?2 AND ?3";
    for (std::size_t i = 2; i <= keys; ++i) {
        const std::string k = word(static_cast<int>(i));
        tables += " CROSS JOIN loop_keys " + k;
        conditions += " AND " + k + ".key = ?" + std::to_string(3 + i) + " AND " + k + ".meter = ?1 AND " +
                      k + ".root = k1.root AND " + k + ".loop = k1.loop";
    }
    statement = prepare("SELECT loops.* FROM " + tables + " CROSS JOIN loops WHERE " + conditions +
                        " AND loops.id = k1.loop");
    return statement;
}

std::size_t KeyTableSearcher::search(const Query& query, std::vector<std::int32_t>* fileIDs) {
    std::vector<int> keys;
    for (const std::string& key : query.keys) keys.push_back(numberOf(key));
    std::ranges::sort(keys, {}, [&](int key) { return m_frequencies[key]; });
    sqlite3_stmt* const statement = statementFor(keys.size()).get();
    Binder binder(statement);
    binder << kCommonTime << query.projectKey - kTolerance << query.projectKey + kTolerance;
    for (const int key : keys) binder << key;
    return readAll(statement, fileIDs);
}

// ---- Full-text search ----

FullTextSearcher::FullTextSearcher(int records) : SQLiteSearcher(records) {
    run("CREATE VIRTUAL TABLE words USING fts5(keys, content='', detail=none, columnsize=0); BEGIN");
    const Statement insert = prepare("INSERT INTO words (rowid, keys) VALUES (?,?)");
    RecordMaker maker;
    for (int id = 1; id <= records; ++id) {
        std::string words;
        for (const marl::SearchKeyInfo& info : maker.next().searchKeys())
            words += word(numberOf(std::string(info.key.view()))) + ' ';
        Binder(insert.get()) << id << std::string_view(words);
        step(insert.get());
    }
    run("COMMIT; INSERT INTO words (words) VALUES ('optimize')");
    m_search = prepare(
        "SELECT loops.* FROM words CROSS JOIN loops WHERE words MATCH ?1 AND "
        "loops.id = words.rowid AND loops.meter = ?2 AND loops.root BETWEEN ?3 AND ?4");
}

std::size_t FullTextSearcher::search(const Query& query, std::vector<std::int32_t>* fileIDs) {
    std::string match;
    for (const std::string& key : query.keys)
        match += (match.empty() ? word(numberOf(key)) : " AND " + word(numberOf(key)));
    Binder(m_search.get()) << std::string_view(match) << kCommonTime << query.projectKey - kTolerance
                           << query.projectKey + kTolerance;
    return readAll(m_search.get(), fileIDs);
}

}  // namespace searching
