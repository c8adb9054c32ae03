#include "RawSqliteStore.hpp"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

#include "JsonScan.hpp"

namespace bench {

namespace {

const char* const kTableNames[2] = {"utilities", "functions"};

// Binds text that lives until the statement is reset.
void bindText(sqlite3_stmt* statement, int index, const std::string& text) {
    sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

}  // namespace

RawSqliteStore::RawSqliteStore(const std::string& file, Access access) {
    const int flags = access == Access::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    check(sqlite3_open_v2(file.c_str(), &db_, flags | SQLITE_OPEN_NOMUTEX, nullptr), SQLITE_OK, "open");
    sqlite3_busy_timeout(db_, 60000);
    if (access == Access::Write) {
        exec("PRAGMA journal_mode = WAL");
        exec("PRAGMA synchronous = NORMAL");
    }
    for (int table = 0; table < 2; ++table) {
        const std::string name = kTableNames[table];
        if (access == Access::Write) {
            exec("CREATE TABLE IF NOT EXISTS " + name +
                 " (_id INTEGER PRIMARY KEY, Checksum TEXT, Name TEXT, Identity TEXT, Data TEXT)");
            exec("CREATE INDEX IF NOT EXISTS " + name + "_checksum ON " + name + " (Checksum)");
            exec("CREATE INDEX IF NOT EXISTS " + name + "_name ON " + name + " (Name)");
        }
        prepareTable(name, tables_[table]);
    }
    begin_ = prepare("BEGIN IMMEDIATE");
    commit_ = prepare("COMMIT");
}

RawSqliteStore::~RawSqliteStore() {
    for (Statements& statements : tables_) {
        for (sqlite3_stmt* statement :
             {statements.findId, statements.insert, statements.findData, statements.updateData,
              statements.dataByChecksum, statements.dataByName, statements.allData, statements.allEntries}) {
            sqlite3_finalize(statement);
        }
    }
    sqlite3_finalize(begin_);
    sqlite3_finalize(commit_);
    sqlite3_close(db_);
}

void RawSqliteStore::prepareTable(const std::string& table, Statements& statements) {
    statements.findId = prepare("SELECT _id FROM " + table + " WHERE Checksum = ?1 ORDER BY _id");
    statements.insert = prepare("INSERT INTO " + table +
                                " (Checksum, Name, Identity, Data) VALUES (?1, ?2, ?3, ?4)");
    statements.findData =
        prepare("SELECT _id, Data FROM " + table + " WHERE Checksum = ?1 ORDER BY _id");
    statements.updateData = prepare("UPDATE " + table + " SET Data = ?1 WHERE _id = ?2");
    statements.dataByChecksum =
        prepare("SELECT Data FROM " + table + " WHERE Checksum = ?1 ORDER BY _id");
    statements.dataByName = prepare("SELECT Data FROM " + table + " WHERE Name = ?1 ORDER BY _id");
    statements.allData = prepare("SELECT Data FROM " + table + " ORDER BY _id");
    statements.allEntries = prepare("SELECT Identity, Data FROM " + table + " ORDER BY _id");
}

void RawSqliteStore::begin() {
    check(sqlite3_step(begin_), SQLITE_DONE, "begin");
    sqlite3_reset(begin_);
}

void RawSqliteStore::commit() {
    check(sqlite3_step(commit_), SQLITE_DONE, "commit");
    sqlite3_reset(commit_);
}

bool RawSqliteStore::insertIfAbsent(Table table, const RawRow& row) {
    Statements& statements = tables_[table];
    bindText(statements.findId, 1, row.checksum);
    const int found = sqlite3_step(statements.findId);
    sqlite3_reset(statements.findId);
    if (found == SQLITE_ROW) return false;
    check(found, SQLITE_DONE, "look up");
    bindText(statements.insert, 1, row.checksum);
    bindText(statements.insert, 2, row.name);
    bindText(statements.insert, 3, row.identity);
    bindText(statements.insert, 4, row.data);
    check(sqlite3_step(statements.insert), SQLITE_DONE, "insert");
    sqlite3_reset(statements.insert);
    return true;
}

bool RawSqliteStore::replaceData(Table table, const std::string& checksum, const std::string& data) {
    Statements& statements = tables_[table];
    bindText(statements.findData, 1, checksum);
    const int found = sqlite3_step(statements.findData);
    if (found != SQLITE_ROW) {
        sqlite3_reset(statements.findData);
        return false;
    }
    const sqlite3_int64 id = sqlite3_column_int64(statements.findData, 0);
    const std::string stored = readText(statements.findData, 1);
    sqlite3_reset(statements.findData);
    bindText(statements.updateData, 1, data);
    sqlite3_bind_int64(statements.updateData, 2, id);
    check(sqlite3_step(statements.updateData), SQLITE_DONE, "update");
    sqlite3_reset(statements.updateData);
    return !stored.empty();
}

std::string RawSqliteStore::dataByChecksum(Table table, const std::string& checksum) {
    sqlite3_stmt* statement = tables_[table].dataByChecksum;
    bindText(statement, 1, checksum);
    std::string data = sqlite3_step(statement) == SQLITE_ROW ? readText(statement, 0) : "";
    sqlite3_reset(statement);
    return data;
}

std::string RawSqliteStore::dataByName(Table table, const std::string& name) {
    sqlite3_stmt* statement = tables_[table].dataByName;
    bindText(statement, 1, name);
    std::string data = sqlite3_step(statement) == SQLITE_ROW ? readText(statement, 0) : "";
    sqlite3_reset(statement);
    return data;
}

std::size_t RawSqliteStore::readAllData(Table table) {
    sqlite3_stmt* statement = tables_[table].allData;
    std::size_t rows = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        if (!readText(statement, 0).empty()) ++rows;
    }
    sqlite3_reset(statement);
    return rows;
}

namespace {

// Whether column `column` of the statement's row is a JSON text that scans, read in place.
bool scansAsJson(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text != nullptr && scanJson(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

}  // namespace

std::size_t RawSqliteStore::scanAllData(Table table) {
    sqlite3_stmt* statement = tables_[table].allData;
    std::size_t rows = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) rows += scansAsJson(statement, 0) ? 1 : 0;
    sqlite3_reset(statement);
    return rows;
}

std::size_t RawSqliteStore::scanAllEntries() {
    std::size_t rows = 0;
    for (Statements& statements : tables_) {
        sqlite3_stmt* statement = statements.allEntries;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            rows += scansAsJson(statement, 0) && scansAsJson(statement, 1) ? 1 : 0;
        }
        sqlite3_reset(statement);
    }
    return rows;
}

std::string RawSqliteStore::readText(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text != nullptr
               ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)))
               : std::string();
}

void RawSqliteStore::exec(const std::string& sql) {
    check(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK, sql.c_str());
}

sqlite3_stmt* RawSqliteStore::prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(db_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr),
          SQLITE_OK, sql.c_str());
    return statement;
}

void RawSqliteStore::check(int rc, int expected, const char* what) {
    if (rc == expected) return;
    std::fprintf(stderr, "raw SQLite baseline: %s failed: %s\n", what,
                 db_ != nullptr ? sqlite3_errmsg(db_) : sqlite3_errstr(rc));
    std::abort();
}

}  // namespace bench
