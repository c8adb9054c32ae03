#pragma once

// Changes a registry file past the library, with SQLite directly: how the tests tamper with rows.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

namespace scm_test {

// Runs `sql` (one or more statements) on `file`, created when absent; a failure fails the
// calling test.
inline void execSql(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
              SQLITE_OK);
    char* error = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error);
    EXPECT_EQ(rc, SQLITE_OK) << (error != nullptr ? error : "") << " in: " << sql;
    sqlite3_free(error);
    sqlite3_close(db);
}

}  // namespace scm_test
