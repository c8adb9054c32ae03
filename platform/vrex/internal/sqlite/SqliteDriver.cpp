#include "vrex/internal/sqlite/SqliteDriver.hpp"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "vrex/internal/session/RefAccess.hpp"
#include "vrex/internal/sqlite/SqliteNames.hpp"
#include "vrex/internal/sqlite/SqliteSchema.hpp"

namespace vrex::internal {

namespace {

std::string directoryOf(const std::string& file) {
    const std::size_t slash = file.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : file.substr(0, slash);
}

// Why this process cannot write the registry `file`; empty when it can.
std::string whyNotWritable(const std::string& file) {
    if (::access(file.c_str(), W_OK) != 0) return "the file is read-only for this process";
    if (::access(directoryOf(file).c_str(), W_OK) != 0) {
        return "its directory is read-only for this process, so the log beside the file cannot be made";
    }
    return "";
}

// Whether no process can change `file` while it is read: nobody may write it, or its directory
// cannot take the log a writer makes; and no log of an earlier writer lies beside it.
bool nothingCanChange(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 || ::access((file + "-wal").c_str(), F_OK) == 0) return false;
    return (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 ||
           ::access(directoryOf(file).c_str(), W_OK) != 0;
}

// Whether a process killed while it changed `file` left a hot journal: one that must be rolled
// back, which needs write access, before the file can be read (present, its header not zeroed).
bool hasUnfinishedTransaction(const std::string& file) {
    std::ifstream journal(file + "-journal", std::ios::binary);
    char first = 0;
    return journal.get(first) && first != 0;
}

}  // namespace

std::unique_ptr<SqliteDriver> SqliteDriver::open(const std::string& file, const Metamodel& metamodel,
                                                 const RepositoryOptions& options,
                                                 bool create, tvdiag::util::diagnostics& diagnostics) {
    const std::string notWritable = create ? std::string() : whyNotWritable(file);
    if (options.requireWrite && !notWritable.empty()) {
        diagnostics.add("vrex:open:readOnly",
                        "cannot open the registry \"" + file + "\" for writing: " + notWritable);
        return nullptr;
    }
    const bool readOnly = options.readOnly || !notWritable.empty();  // opens for reading then
    if (readOnly && hasUnfinishedTransaction(file)) {
        diagnostics.add("vrex:open:unfinishedTransaction",
                        "cannot read the registry \"" + file +
                            "\": it has an unfinished transaction left by a process that was killed; "
                            "open it once with write access to recover it");
        return nullptr;
    }
    std::unique_ptr<SqliteDriver> driver(new SqliteDriver(readOnly));
    if (!driver->connect(file, metamodel, options, create, diagnostics)) return nullptr;
    return driver;
}

SqliteDriver::~SqliteDriver() { close(); }

// A reader that nothing can change under reads the file as immutable: it takes no locks and
// makes no log files, which it could not remove again.
bool SqliteDriver::connect(const std::string& file, const Metamodel& metamodel,
                           const RepositoryOptions& options, bool create,
                           tvdiag::util::diagnostics& diagnostics) {
    int flags = SQLITE_OPEN_NOMUTEX |
                (readOnly_ ? SQLITE_OPEN_READONLY
                           : SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0));
    if (connection_.open(file, flags, readOnly_ && nothingCanChange(file)) != SQLITE_OK) {
        connection_.report(diagnostics, create ? "vrex:open:cannotCreate" : "vrex:open:sqliteError",
                           create ? "cannot create the file" : "cannot open the file");
        return false;
    }
    connection_.setBusyTimeout(options.busyTimeoutMs);
    SqliteSchema schema(connection_, metamodel);
    if ((create && !schema.stampNewFile(diagnostics)) || !configure(options.durability, diagnostics) ||
        !schema.prepare(readOnly_, diagnostics)) {
        connection_.close();
        return false;
    }
    statements_ = std::make_unique<StatementCache>(connection_, metamodel);
    metamodel_ = &metamodel;
    return true;
}

// Write-ahead logging lets readers go on while one process writes. With it, synchronous=NORMAL
// keeps every committed transaction across a crash of the process (the log is written before
// the commit returns); only a power loss or operating-system crash can lose the last commits,
// and never corrupts the file. FULL also syncs the log at each commit.
bool SqliteDriver::configure(RepositoryOptions::Durability durability,
                             tvdiag::util::diagnostics& diagnostics) {
    std::string mode;
    if (!readOnly_) {
        int rc = connection_.queryText("PRAGMA journal_mode = WAL", mode);
        if (rc != SQLITE_OK || mode != "wal") {
            connection_.report(diagnostics, "vrex:open:sqliteError", "cannot switch to write-ahead logging");
            return false;
        }
    }
    const char* synchronous = durability == RepositoryOptions::Durability::Full
                                  ? "PRAGMA synchronous = FULL"
                                  : "PRAGMA synchronous = NORMAL";
    if (connection_.exec(synchronous) != SQLITE_OK) {
        connection_.report(diagnostics, "vrex:open:sqliteError", "cannot set the durability");
        return false;
    }
    return true;
}

void SqliteDriver::close() {
    if (!connection_.isOpen()) return;
    if (connection_.isInTransaction()) connection_.exec("ROLLBACK");
    statements_.reset();
    connection_.close();
}

// --- transactions ---------------------------------------------------------------------------

// The file's write lock is the whole registry's whatever the scope.
bool SqliteDriver::beginWrite(WriteScope) { return run(readOnly_ ? "BEGIN" : "BEGIN IMMEDIATE"); }

// A deferred BEGIN takes no lock; the first read takes the snapshot that every later read of
// the transaction shares.
bool SqliteDriver::beginRead() { return run("BEGIN"); }

bool SqliteDriver::commit() { return run("COMMIT"); }

bool SqliteDriver::rollback() { return run("ROLLBACK"); }

bool SqliteDriver::savepoint(const std::string& name) { return run("SAVEPOINT " + name); }

bool SqliteDriver::releaseSavepoint(const std::string& name) { return run("RELEASE " + name); }

bool SqliteDriver::rollbackToSavepoint(const std::string& name) { return run("ROLLBACK TO " + name); }

bool SqliteDriver::run(const std::string& sql) {
    Statement* statement = statements_->bySql(sql);
    if (statement == nullptr) return false;
    Statement::Use use(*statement);
    return statement->step() == SQLITE_DONE;
}

// --- objects --------------------------------------------------------------------------------

bool SqliteDriver::insertObject(const ClassInfo& cls, std::int64_t& id) {
    Statement* insert = statements_->insertObject(cls);
    if (insert == nullptr) return false;
    Statement::Use use(*insert);
    if (insert->step() != SQLITE_DONE) return false;
    id = connection_.lastInsertId();
    return true;
}

bool SqliteDriver::largestId(const ClassInfo& cls, std::int64_t& id) {
    Statement* query = statements_->largestId(cls);
    if (query == nullptr) return false;
    Statement::Use use(*query);
    if (query->step() != SQLITE_ROW) return false;
    id = query->columnIsNull(0) ? 0 : query->columnInt64(0);
    return true;
}

bool SqliteDriver::insertWholeObject(const ClassInfo& cls, std::int64_t id,
                                     const std::vector<std::optional<std::string>>& texts) {
    Statement* insert = statements_->insertWholeObject(cls);
    if (insert == nullptr) return false;
    Statement::Use use(*insert);
    insert->bindInt64(1, id);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i]) insert->bindBorrowedText(static_cast<int>(i + 2), *texts[i]);
    }
    return insert->step() == SQLITE_DONE;
}

bool SqliteDriver::findObjects(const ClassInfo& cls, const MatchConstraints& constraints,
                               std::vector<std::int64_t>& ids) {
    Statement* query = findStatement(cls, constraints);
    if (query == nullptr) return false;
    Statement::Use use(*query);
    int rc;
    while ((rc = query->step()) == SQLITE_ROW) ids.push_back(query->columnInt64(0));
    return rc == SQLITE_DONE;
}

Statement* SqliteDriver::findStatement(const ClassInfo& cls, const MatchConstraints& constraints) {
    const auto& all = constraints.constraints();
    if (all.empty()) return statements_->listObjects(cls);
    Statement* query = nullptr;
    if (all.size() == 1 && all[0].relation == PropertyValueMatchRelation::Equals) {
        query = statements_->findEqual(*RefAccess::info(all[0].property));
    } else {
        std::string sql = "SELECT \"_id\" FROM " + tableName(cls) + " WHERE ";
        for (std::size_t i = 0; i < all.size(); ++i) {
            bool equals = all[i].relation == PropertyValueMatchRelation::Equals;
            sql += (i > 0 ? " AND " : "") + columnName(*RefAccess::info(all[i].property)) +
                   (equals ? " = ?" : " IS NOT ?") + std::to_string(i + 1);
        }
        query = statements_->bySql(sql + " ORDER BY \"_id\"");
    }
    if (query == nullptr) return nullptr;
    for (std::size_t i = 0; i < all.size(); ++i) query->bindText(static_cast<int>(i + 1), all[i].value);
    return query;
}

std::optional<Driver::RowResult> SqliteDriver::readFirstMatch(const PropertyInfo& key, const std::string& value,
                                                              const PropertyInfo& property,
                                                              std::optional<std::string>& text) {
    Statement* read = statements_->readFirstMatch(key, property);
    if (read == nullptr) return RowResult::Failed;
    Statement::Use use(*read);
    read->bindBorrowedText(1, value);
    const int rc = read->step();
    if (rc == SQLITE_DONE) return RowResult::NoSuchObject;
    if (rc != SQLITE_ROW) return RowResult::Failed;
    if (!read->columnIsNull(0)) text = read->columnText(0);
    return RowResult::Done;
}

Driver::RowResult SqliteDriver::readProperty(const PropertyInfo& property, std::int64_t id,
                                             std::optional<std::string>& text) {
    Statement* read = statements_->readProperty(property);
    if (read == nullptr) return RowResult::Failed;
    Statement::Use use(*read);
    read->bindInt64(1, id);
    int rc = read->step();
    if (rc == SQLITE_DONE) return RowResult::NoSuchObject;
    if (rc != SQLITE_ROW) return RowResult::Failed;
    if (!read->columnIsNull(0)) text = read->columnText(0);
    return RowResult::Done;
}

Driver::RowResult SqliteDriver::writeProperty(const PropertyInfo& property, std::int64_t id,
                                              const std::optional<std::string>& text) {
    Statement* write = statements_->writeProperty(property);
    if (write == nullptr) return RowResult::Failed;
    Statement::Use use(*write);
    if (text) {
        write->bindBorrowedText(1, *text);
    } else {
        write->bindNull(1);
    }
    write->bindInt64(2, id);
    if (write->step() != SQLITE_DONE) return RowResult::Failed;
    return connection_.changes() == 0 ? RowResult::NoSuchObject : RowResult::Done;
}

// A page's rows are reserved at once, up to this many (a caller may ask for "all").
constexpr std::size_t kRowsReservedAtMost = 4096;

bool SqliteDriver::readRows(const ClassInfo& cls, const std::vector<const PropertyInfo*>& properties,
                            std::int64_t afterId, std::size_t limit, std::vector<StoredRow>& rows) {
    std::string sql = "SELECT \"_id\"";
    for (const PropertyInfo* property : properties) sql += ", " + columnName(*property);
    Statement* page = statements_->bySql(sql + " FROM " + tableName(cls) + " WHERE \"_id\" > ?1 ORDER BY \"_id\" LIMIT ?2");
    if (page == nullptr) return false;
    Statement::Use use(*page);
    page->bindInt64(1, afterId);
    page->bindInt64(2, static_cast<std::int64_t>(limit));
    int rc;
    rows.reserve(rows.size() + std::min<std::size_t>(limit, kRowsReservedAtMost));
    while ((rc = page->step()) == SQLITE_ROW) {
        StoredRow& stored = rows.emplace_back();
        stored.id = page->columnInt64(0);
        stored.texts.reserve(properties.size());
        for (int column = 1; column <= static_cast<int>(properties.size()); ++column) {
            stored.texts.push_back(page->columnIsNull(column) ? std::nullopt
                                                              : std::optional<std::string>(page->columnText(column)));
        }
    }
    return rc == SQLITE_DONE;
}

bool SqliteDriver::findRepeatedTexts(const PropertyInfo& property, std::vector<std::string>& values) {
    const std::string column = columnName(property);
    Statement* repeated = statements_->bySql("SELECT " + column + " FROM " + tableName(*property.owner) + " WHERE " +
                                             column + " IS NOT NULL GROUP BY " + column + " HAVING count(*) > 1 ORDER BY " +
                                             column);
    if (repeated == nullptr) return false;
    Statement::Use use(*repeated);
    int rc;
    while ((rc = repeated->step()) == SQLITE_ROW) values.push_back(repeated->columnText(0));
    return rc == SQLITE_DONE;
}

Driver::RowResult SqliteDriver::deleteObject(const ClassInfo& cls, std::int64_t id) {
    Statement* remove = statements_->bySql("DELETE FROM " + tableName(cls) + " WHERE \"_id\" = ?1");
    if (remove == nullptr) return RowResult::Failed;
    Statement::Use use(*remove);
    remove->bindInt64(1, id);
    if (remove->step() != SQLITE_DONE) return RowResult::Failed;
    return connection_.changes() == 0 ? RowResult::NoSuchObject : RowResult::Done;
}

// SQLite answers a single row "ok" for a sound file, otherwise one row per problem.
bool SqliteDriver::checkIntegrity(std::vector<std::string>& findings) {
    Statement* check = statements_->bySql("PRAGMA integrity_check");
    if (check == nullptr) return false;
    Statement::Use use(*check);
    int rc;
    while ((rc = check->step()) == SQLITE_ROW) {
        std::string finding = check->columnText(0);
        if (finding != "ok") findings.push_back(std::move(finding));
    }
    return rc == SQLITE_DONE;
}

bool SqliteDriver::findMissingParts(std::vector<std::string>& findings) {
    return SqliteSchema(connection_, *metamodel_).findMissingParts(findings);
}

bool SqliteDriver::findForeignParts(std::vector<std::string>& findings) {
    return SqliteSchema(connection_, *metamodel_).findForeignParts(findings);
}

void SqliteDriver::report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                          const std::string& action) const {
    connection_.report(diagnostics, identifier, action);
}

}  // namespace vrex::internal
