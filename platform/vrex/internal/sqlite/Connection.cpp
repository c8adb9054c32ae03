#include "vrex/internal/sqlite/Connection.hpp"

#include <sqlite3.h>

#include <algorithm>

#include "vrex/WaitInterrupt.hpp"
#include "vrex/internal/session/LockedRegistry.hpp"
#include "vrex/internal/sqlite/Statement.hpp"

namespace vrex::internal {

Connection::~Connection() { close(); }

namespace {

// How long a busy wait sleeps between attempts at the lock.
constexpr int kBusySleepMs = 5;

// `file` as an SQLite URI filename with immutable=1; '%', '?' and '#' are escaped.
std::string immutableUri(const std::string& file) {
    std::string uri = file.rfind('/', 0) == 0 ? "file://" : "file:";  // an empty authority
    for (char c : file) {
        if (c == '%' || c == '?' || c == '#') {
            static const char hex[] = "0123456789ABCDEF";
            uri += '%';
            uri += hex[static_cast<unsigned char>(c) >> 4];
            uri += hex[c & 0xf];
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

}  // namespace

int Connection::open(const std::string& file, int flags, bool immutable) {
    close();
    file_ = file;
    sqlite3* db = nullptr;
    const std::string name = immutable ? immutableUri(file) : file;
    int rc = sqlite3_open_v2(name.c_str(), &db, immutable ? flags | SQLITE_OPEN_URI : flags, nullptr);
    if (rc != SQLITE_OK) {
        openError_ = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
        sqlite3_close_v2(db);
        return rc;
    }
    db_ = db;
    openError_.clear();
    return SQLITE_OK;
}

void Connection::close() {
    if (db_ == nullptr) return;
    // close_v2 defers the close until leftover statements are finalized, so it cannot leak.
    sqlite3_close_v2(db_);
    db_ = nullptr;
}

int Connection::exec(const std::string& sql) {
    return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
}

int Connection::queryText(const std::string& sql, std::string& value) {
    Statement statement;
    int rc = statement.prepare(db_, sql);
    if (rc != SQLITE_OK) return rc;
    rc = statement.step();
    value = rc == SQLITE_ROW ? statement.columnText(0) : std::string();
    return rc == SQLITE_ROW || rc == SQLITE_DONE ? SQLITE_OK : rc;
}

void Connection::setBusyTimeout(int milliseconds) {
    busyTimeoutMs_ = milliseconds < 0 ? 0 : milliseconds;
    sqlite3_busy_handler(db_, &Connection::retryBusy, this);
}

int Connection::retryBusy(void* connection, int attempts) {
    auto& self = *static_cast<Connection*>(connection);
    const auto now = std::chrono::steady_clock::now();
    if (attempts == 0) self.busySince_ = now;
    const auto left = std::chrono::milliseconds(self.busyTimeoutMs_) - (now - self.busySince_);
    if (left <= std::chrono::milliseconds(0) || waitsInterrupted()) return 0;
    const auto leftMs = std::chrono::duration_cast<std::chrono::milliseconds>(left).count();
    sqlite3_sleep(static_cast<int>(std::min<long long>(std::max<long long>(leftMs, 1), kBusySleepMs)));
    return 1;
}

bool Connection::isInTransaction() const {
    return db_ != nullptr && sqlite3_get_autocommit(db_) == 0;
}

std::int64_t Connection::lastInsertId() const { return sqlite3_last_insert_rowid(db_); }

int Connection::changes() const { return sqlite3_changes(db_); }

std::string Connection::lastError() const {
    return db_ != nullptr ? sqlite3_errmsg(db_) : openError_;
}

void Connection::report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                        const std::string& action) const {
    if (db_ != nullptr && (sqlite3_errcode(db_) & 0xff) == SQLITE_BUSY) {
        const std::string reason = waitsInterrupted()
                                       ? "interrupted while the registry \"" + file_ + "\" was locked by another process"
                                       : lockedRegistryReason(file_, busyTimeoutMs_);
        diagnostics.add(identifier, action + ": " + reason);
        return;
    }
    diagnostics.add(identifier, action + " in the registry \"" + file_ + "\": " + lastError());
}

}  // namespace vrex::internal
