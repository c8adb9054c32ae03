#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tvdiag/diagnostics.hpp"

struct sqlite3;

namespace vrex::internal {

// One SQLite connection to a registry file. Owns the handle; closes it on destruction (statements
// prepared on it must be finalized first).
class Connection {
public:
    Connection() = default;
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Opens `file` with SQLite's open flags; `immutable` reads it as a file nothing changes while
    // it is open (no locks, no log files; only when no writer can exist). Returns the SQLite
    // result code; on failure the connection stays closed and lastError() says why.
    int open(const std::string& file, int flags, bool immutable = false);
    void close();
    bool isOpen() const { return db_ != nullptr; }
    sqlite3* handle() const { return db_; }
    const std::string& file() const { return file_; }

    // Runs SQL that returns no rows (several statements allowed). Returns the SQLite result code.
    int exec(const std::string& sql);
    // The first column of the first row of `sql` as text ("" when NULL or no row). Returns the
    // SQLite result code (SQLITE_OK when the query ran).
    int queryText(const std::string& sql, std::string& value);

    // How long a statement waits for another process's lock on the file; vrex::interruptWaits()
    // ends the wait early (the statement then fails as if the time were up).
    void setBusyTimeout(int milliseconds);
    // Whether a transaction (or savepoint) is open on this connection.
    bool isInTransaction() const;
    std::int64_t lastInsertId() const;
    // Rows changed by the last INSERT, UPDATE or DELETE.
    int changes() const;

    // SQLite's text of the last error (or of the failed open).
    std::string lastError() const;
    // Adds "<action> in the registry "<file>": <SQLite's error text>" under `identifier`; when
    // the last error is SQLITE_BUSY, "<action>: the registry ... is locked by another process ...".
    void report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                const std::string& action) const;

private:
    // SQLite's busy handler: whether to try the lock again after a short sleep.
    static int retryBusy(void* connection, int attempts);

    sqlite3* db_ = nullptr;
    std::string file_;
    std::string openError_;
    int busyTimeoutMs_ = 0;
    std::chrono::steady_clock::time_point busySince_;
};

}  // namespace vrex::internal
