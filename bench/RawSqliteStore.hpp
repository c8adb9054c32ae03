#pragma once

#include <cstddef>
#include <string>

#include "RawRows.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace bench {

// The baseline with no library in it: the registry's two tables (utilities and shared
// functions: "_id" INTEGER PRIMARY KEY, then Checksum, Name, Identity, Data as TEXT, Checksum and
// Name indexed, as the library lays them out) driven with prepared statements, under the same
// journal and durability settings as the library's repository. Any SQLite failure aborts the
// benchmark program with the error text.
class RawSqliteStore {
public:
    enum Table { Utilities = 0, Functions = 1 };
    // Write opens (or creates) the store in WAL mode; Read opens an existing store read-only, as
    // a reading command opens a registry, and leaves the file untouched.
    enum class Access { Write, Read };

    explicit RawSqliteStore(const std::string& file, Access access = Access::Write);
    ~RawSqliteStore();
    RawSqliteStore(const RawSqliteStore&) = delete;
    RawSqliteStore& operator=(const RawSqliteStore&) = delete;

    void begin();
    void commit();

    // Looks the checksum up and inserts the row when it is absent; true when inserted.
    bool insertIfAbsent(Table table, const RawRow& row);
    // Looks the checksum up, reads the stored data and writes `data` in its place; false when
    // the checksum is not stored.
    bool replaceData(Table table, const std::string& checksum, const std::string& data);
    // The stored data of the row with that checksum (name); empty when there is none.
    std::string dataByChecksum(Table table, const std::string& checksum);
    std::string dataByName(Table table, const std::string& name);
    // Reads every row's data in _id order; returns the number of rows.
    std::size_t readAllData(Table table);
    // Reads every row's data in _id order and scans it as JSON (scanJson); returns the number of
    // rows that scan.
    std::size_t scanAllData(Table table);
    // Reads every row of both tables in _id order and scans its identity and data; returns the
    // number of rows whose two texts scan.
    std::size_t scanAllEntries();

private:
    struct Statements {
        sqlite3_stmt* findId = nullptr;
        sqlite3_stmt* insert = nullptr;
        sqlite3_stmt* findData = nullptr;
        sqlite3_stmt* updateData = nullptr;
        sqlite3_stmt* dataByChecksum = nullptr;
        sqlite3_stmt* dataByName = nullptr;
        sqlite3_stmt* allData = nullptr;
        sqlite3_stmt* allEntries = nullptr;
    };

    void exec(const std::string& sql);
    sqlite3_stmt* prepare(const std::string& sql);
    void prepareTable(const std::string& table, Statements& statements);
    void check(int rc, int expected, const char* what);
    std::string readText(sqlite3_stmt* statement, int column);

    sqlite3* db_ = nullptr;
    Statements tables_[2];
    sqlite3_stmt* begin_ = nullptr;
    sqlite3_stmt* commit_ = nullptr;
};

}  // namespace bench
