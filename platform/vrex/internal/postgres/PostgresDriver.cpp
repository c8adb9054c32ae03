#include "vrex/internal/postgres/PostgresDriver.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "vrex/internal/postgres/PostgresSchema.hpp"
#include "vrex/internal/session/LockedRegistry.hpp"
#include "vrex/internal/session/RefAccess.hpp"

namespace vrex::internal {

namespace {

// Seconds for libpq's connect_timeout: long enough for a busy server, short enough for a script.
constexpr const char* kConnectTimeoutSeconds = "10";
// A statement may wait for the write lock up to the busy timeout, then needs time to run.
int statementLimitMs(const RepositoryOptions& options) {
    const long long limit = static_cast<long long>(std::max(options.busyTimeoutMs, 1)) +
                            std::max(options.statementMarginMs, 0);
    return static_cast<int>(std::min<long long>(limit, std::numeric_limits<int>::max()));
}

}  // namespace

std::unique_ptr<PostgresDriver> PostgresDriver::open(const std::string& uri, const Metamodel& metamodel,
                                                     const RepositoryOptions& options,
                                                     tvdiag::util::diagnostics& diagnostics) {
    std::unique_ptr<PostgresDriver> driver(new PostgresDriver(uri, metamodel, options.readOnly));
    driver->busyTimeoutMs_ = std::max(options.busyTimeoutMs, 1);
    if (!driver->connect(options, diagnostics)) return nullptr;
    PostgresSchema schema(driver->connection_, metamodel, driver->names_, driver->location());
    if (!schema.prepare(driver->readOnly_, diagnostics)) return nullptr;
    if (options.requireWrite && !driver->checkWritable(diagnostics)) return nullptr;
    return driver;
}

bool PostgresDriver::checkWritable(tvdiag::util::diagnostics& diagnostics) {
    PgResult denied = connection_.query(
        "SELECT current_user::text, string_agg(c.relname::text, ', ' ORDER BY c.relname) "
        "FROM pg_catalog.pg_class AS c JOIN pg_catalog.pg_namespace AS n ON n.oid = c.relnamespace "
        "WHERE n.nspname = $1::text AND CASE c.relkind WHEN 'r' THEN NOT (has_table_privilege(c.oid, 'INSERT') "
        "AND has_table_privilege(c.oid, 'UPDATE')) WHEN 'S' THEN NOT has_sequence_privilege(c.oid, 'USAGE') "
        "ELSE false END",
        PgParams().bytes(names_.schema()));
    if (!denied.ok()) {
        report(diagnostics, "vrex:open:serverError", "cannot read the privileges");
        return false;
    }
    if (denied.isNull(0, 1)) return true;
    diagnostics.add("vrex:open:readOnly", "cannot open the registry \"" + location() + "\" for writing: the role \"" +
                                              denied.bytes(0, 0) + "\" may not insert into, update or take ids from " +
                                              denied.bytes(0, 1) + " (schema \"" + names_.schema() + "\")");
    return false;
}

PostgresDriver::PostgresDriver(const std::string& uri, const Metamodel& metamodel, bool readOnly)
    : uri_(uri),
      metamodel_(metamodel),
      names_(metamodel),
      readOnly_(readOnly),
      reservedIds_(metamodel.classes().size()) {}

// TCP keepalives notice a server that vanished without closing the connection within about
// 30 s, where libpq would otherwise wait for its answer for ever.
bool PostgresDriver::connect(const RepositoryOptions& options,
                             tvdiag::util::diagnostics& diagnostics) {
    const PgConnection::Settings defaults = {
        {"connect_timeout", kConnectTimeoutSeconds}, {"application_name", "vrex registry"},
        {"keepalives", "1"},        {"keepalives_idle", "10"},
        {"keepalives_interval", "5"}, {"keepalives_count", "4"},
        {"tcp_user_timeout", "30000"},
    };
    connection_.setStatementLimit(statementLimitMs(options));
    if (!connection_.connect(uri_.text(), defaults, uri_.secrets(), sessionSetup(options))) {
        diagnostics.add("vrex:open:cannotConnect",
                        "cannot connect to the registry \"" + location() + "\": " + connection_.lastError());
        connection_.close();
        return false;
    }
    return true;
}

// Full durability asks the server to flush each commit whatever its own default; Normal leaves
// the server's setting (synchronous_commit, on unless its administrator chose otherwise).
std::string PostgresDriver::sessionSetup(const RepositoryOptions& options) const {
    const int lockTimeout = std::max(options.busyTimeoutMs, 1);  // 0 would mean no limit
    std::string sql = "SET lock_timeout = " + std::to_string(lockTimeout) +
                      "; SET statement_timeout = " + std::to_string(statementLimitMs(options));
    if (options.durability == RepositoryOptions::Durability::Full) sql += "; SET synchronous_commit = on";
    if (readOnly_) sql += "; SET default_transaction_read_only = on";
    return sql;
}

// --- transactions ---------------------------------------------------------------------------

// A write transaction shares the registry's lock with the other writers, or holds it alone for
// the whole registry; the lock and the begin go with the transaction's first statement.
bool PostgresDriver::beginWrite(WriteScope scope) {
    writing_ = !readOnly_;
    holdsRegistry_ = writing_ && scope == WriteScope::WholeRegistry;
    forgetRows();
    if (!begin("BEGIN")) return false;
    if (writing_) {
        connection_.queue(holdsRegistry_ ? "SELECT pg_advisory_xact_lock($1)" : "SELECT pg_advisory_xact_lock_shared($1)",
                          PgParams().int64(names_.registryLockKey()));
    }
    return true;
}

bool PostgresDriver::beginRead() {
    writing_ = false;
    forgetRows();
    return begin("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY");
}

// A connection found lost as a transaction begins (the server restarted, a network cut an idle
// connection) is made again, here or when the begin is sent (see PgConnection::beginWithNext):
// nothing was open, nothing is lost.
bool PostgresDriver::begin(const std::string& sql) {
    if (!connection_.reconnectIfLost()) return false;
    connection_.beginWithNext(sql);
    return true;
}

template <typename Write>
bool PostgresDriver::inWriteTransaction(Write&& write) {
    if (connection_.isInTransaction()) return write();
    if (!beginWrite(WriteScope::PerValue)) return false;
    if (!write()) {
        if (connection_.isInTransaction()) connection_.exec("ROLLBACK");
        return false;
    }
    return commit();
}

// --- objects --------------------------------------------------------------------------------

bool PostgresDriver::insertObject(const ClassInfo& cls, std::int64_t& id) {
    const std::string table = names_.qualifiedTable(cls);
    return inWriteTransaction([&] {
        PgResult inserted = connection_.query("INSERT INTO " + table + " DEFAULT VALUES RETURNING \"_id\"");
        if (!inserted.ok() || inserted.rows() != 1) return false;
        id = inserted.int64(0, 0);
        return true;
    });
}

bool PostgresDriver::largestId(const ClassInfo& cls, std::int64_t& id) {
    PgResult largest = connection_.query("SELECT max(\"_id\") FROM " + names_.qualifiedTable(cls));
    if (!largest.ok() || largest.rows() != 1) return false;
    id = largest.int64(0, 0);
    return true;
}

// The id found reserved by a search, else a new one.
bool PostgresDriver::reserveId(const ClassInfo& cls, std::int64_t& id) {
    std::deque<std::int64_t>& reserved = reservedIds_[cls.index];
    if (!reserved.empty()) {
        id = reserved.front();
        reserved.pop_front();
        return true;
    }
    PgResult next = connection_.query("SELECT nextval(pg_get_serial_sequence($1::text, '_id'))",
                                      PgParams().copy(names_.qualifiedTable(cls)));
    if (!next.ok() || next.rows() != 1) return false;
    id = next.int64(0, 0);
    return true;
}

bool PostgresDriver::commit() {
    forgetRows();
    return connection_.commit();
}

bool PostgresDriver::rollback() {
    forgetRows();
    return connection_.exec("ROLLBACK");
}

// What the transaction wrote and locked since the savepoint is undone: what it knows of rows and
// look-ups may be wrong now.
bool PostgresDriver::rollbackToSavepoint(const std::string& name) {
    forgetRows();
    return connection_.exec("ROLLBACK TO SAVEPOINT " + name);
}

// 40P01: deadlock_detected, 40001: serialization_failure.
bool PostgresDriver::lostToConflict() const {
    const std::string state = connection_.abortSqlState();
    return state == "40P01" || state == "40001";
}

// Inside a transaction the row goes with the next statement; a failure fails that statement.
bool PostgresDriver::insertWholeObject(const ClassInfo& cls, std::int64_t id,
                                       const std::vector<std::optional<std::string>>& texts) {
    std::string columns = "\"_id\"";
    std::string values = "$1";
    PgParams params;
    params.int64(id);
    for (const auto& property : cls.properties) {
        columns += ", " + PostgresNames::quotedColumn(*property);
        values += ", $" + std::to_string(property->position + 2);
        const auto& text = texts[property->position];
        if (text) {
            params.copy(*text);
        } else {
            params.null();
        }
    }
    const std::string sql = "INSERT INTO " + names_.qualifiedTable(cls) + " (" + columns + ") VALUES (" + values + ")";
    if (!connection_.isInTransaction()) return connection_.query(sql, params).ok();
    connection_.queue(sql, std::move(params));
    for (const auto& property : cls.properties) {
        const auto& text = texts[property->position];
        auto known = text ? knownLookUps_.find({cls.index, property->position, *text}) : knownLookUps_.end();
        if (known != knownLookUps_.end()) known->second.push_back(id);
    }
    return true;
}

bool PostgresDriver::findObjects(const ClassInfo& cls, const MatchConstraints& constraints,
                                 std::vector<std::int64_t>& ids) {
    std::string where = " FROM " + names_.qualifiedTable(cls);
    PgParams params;
    const auto& all = constraints.constraints();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool equals = all[i].relation == PropertyValueMatchRelation::Equals;
        where += (i == 0 ? " WHERE " : " AND ") + PostgresNames::quotedColumn(*RefAccess::info(all[i].property)) +
                 (equals ? " = $" : " IS DISTINCT FROM $") + std::to_string(i + 1);
        params.bytes(all[i].value);
    }
    if (isWriting() && !connection_.isAborted()) {
        if (const std::vector<std::int64_t>* known = knownLookUp(cls, constraints)) {
            const std::size_t first = ids.size();
            ids.insert(ids.end(), known->begin(), known->end());
            std::sort(ids.begin() + static_cast<std::ptrdiff_t>(first), ids.end());
            return true;
        }
    }
    if (isWriting() && lockSearchedValues(constraints)) return findReserving(cls, where, params, ids);
    PgResult rows = connection_.query("SELECT \"_id\"" + where + " ORDER BY \"_id\"", params);
    if (!rows.ok()) return false;
    ids.reserve(ids.size() + static_cast<std::size_t>(rows.rows()));
    for (int row = 0; row < rows.rows(); ++row) ids.push_back(rows.int64(row, 0));
    return true;
}

bool PostgresDriver::lockSearchedValues(const MatchConstraints& constraints) {
    std::vector<std::int64_t> keys;
    for (const auto& constraint : constraints.constraints()) {
        const PropertyInfo& property = *RefAccess::info(constraint.property);
        if (constraint.relation != PropertyValueMatchRelation::Equals || !property.indexed) continue;
        keys.push_back(names_.valueLockKey(property, constraint.value));
    }
    lockKeys(keys);
    return !keys.empty();
}

// Ascending keys: two transactions that lock the same values lock them in the same order. A
// transaction that holds the registry alone needs none.
void PostgresDriver::lockKeys(std::vector<std::int64_t> keys) {
    if (holdsRegistry_) return;
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (std::int64_t key : keys) connection_.queue("SELECT pg_advisory_xact_lock($1)", PgParams().int64(key));
}

namespace {

// The columns of a search that keeps the rows it finds: "_id", then every property of `cls`; and
// as many NULLs as properties, for a row that only reserves an id.
std::string rowColumns(const ClassInfo& cls, std::string& unset) {
    std::string columns = "\"_id\"";
    for (const auto& property : cls.properties) {
        columns += ", " + PostgresNames::quotedColumn(*property);
        unset += ", NULL";
    }
    return columns;
}

}  // namespace

// The rows found come whole, kept in lockedRows_: a merge reads them without asking again. A
// search under a value's lock that finds nothing is mostly followed by the creation of an object
// with that value: its id comes back with the search instead (the last column tells it apart).
// The lock was taken by a statement of its own before: this one's snapshot sees every commit
// made under the lock.
bool PostgresDriver::findReserving(const ClassInfo& cls, const std::string& where, PgParams& params,
                                   std::vector<std::int64_t>& ids) {
    std::string unset;
    const std::string columns = rowColumns(cls, unset);
    std::string sql = "SELECT " + columns + ", false" + where;
    if (reservedIds_[cls.index].empty()) {
        params.copy(names_.qualifiedTable(cls));
        sql = "WITH found AS (SELECT " + columns + where + ") SELECT *, false FROM found UNION ALL " +
              "SELECT nextval(pg_get_serial_sequence($" + std::to_string(params.count()) + "::text, '_id'))" + unset +
              ", true WHERE NOT EXISTS (SELECT FROM found)";
    }
    PgResult rows = connection_.query(sql, params);
    if (!rows.ok()) return false;
    const std::size_t first = ids.size();
    for (int row = 0; row < rows.rows(); ++row) keepRow(cls, rows, row, ids);
    std::sort(ids.begin() + static_cast<std::ptrdiff_t>(first), ids.end());
    return true;
}

// The values are locked in the order of their keys, then looked up in one statement that also
// reserves an id for each value not found: the searches and creations of a batch that follow
// ask the server nothing (see knownLookUp). Values known already are left out.
bool PostgresDriver::prepareLookUps(const ClassInfo& cls, const PropertyInfo& property,
                                    const std::vector<std::string>& values) {
    if (!isWriting() || !property.indexed) return true;
    std::vector<std::pair<std::int64_t, const std::string*>> wanted;
    for (const std::string& value : values) {
        if (knownLookUps_.count({cls.index, property.position, value}) == 0) {
            wanted.emplace_back(names_.valueLockKey(property, value), &value);
        }
    }
    std::sort(wanted.begin(), wanted.end(), [](const auto& a, const auto& b) { return *a.second < *b.second; });
    wanted.erase(std::unique(wanted.begin(), wanted.end(),
                             [](const auto& a, const auto& b) { return *a.second == *b.second; }),
                 wanted.end());
    if (wanted.empty()) return true;
    PgParams params;
    std::string list;
    std::vector<std::int64_t> keys;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        keys.push_back(wanted[i].first);
        list += (i == 0 ? "($" : ", ($") + std::to_string(i + 1) + "::bytea)";
        params.bytes(*wanted[i].second);
    }
    lockKeys(keys);
    params.copy(names_.qualifiedTable(cls));
    std::string unset;
    const std::string columns = rowColumns(cls, unset);
    const std::string column = PostgresNames::quotedColumn(property);
    PgResult rows = connection_.query(
        "WITH wanted(v) AS (VALUES " + list + "), found AS (SELECT " + columns + " FROM " +
            names_.qualifiedTable(cls) + " WHERE " + column + " IN (SELECT v FROM wanted)) SELECT *, false FROM found " +
            "UNION ALL SELECT nextval(pg_get_serial_sequence($" + std::to_string(params.count()) + "::text, '_id'))" +
            unset + ", true FROM wanted WHERE NOT EXISTS (SELECT FROM found WHERE found." + column + " = wanted.v)",
        params);
    if (!rows.ok()) return false;
    for (const auto& value : wanted) knownLookUps_[{cls.index, property.position, *value.second}];
    for (int row = 0; row < rows.rows(); ++row) {
        std::vector<std::int64_t> found;
        if (keepRow(cls, rows, row, found)) continue;
        const std::optional<std::string>& text = lockedRows_[{cls.index, found.front()}][property.position];
        if (text) knownLookUps_[{cls.index, property.position, *text}].push_back(found.front());
    }
    std::sort(reservedIds_[cls.index].begin(), reservedIds_[cls.index].end());
    return true;
}

bool PostgresDriver::keepRow(const ClassInfo& cls, const PgResult& rows, int row, std::vector<std::int64_t>& ids) {
    const std::int64_t id = rows.int64(row, 0);
    const int reservation = static_cast<int>(cls.properties.size()) + 1;
    if (rows.boolean(row, reservation)) {
        reservedIds_[cls.index].push_back(id);
        return true;
    }
    ids.push_back(id);
    std::vector<std::optional<std::string>>& texts = lockedRows_[{cls.index, id}];
    texts.clear();
    for (int column = 1; column < reservation; ++column) {
        texts.push_back(rows.isNull(row, column) ? std::nullopt : std::optional<std::string>(rows.bytes(row, column)));
    }
    return false;
}

const std::vector<std::int64_t>* PostgresDriver::knownLookUp(const ClassInfo& cls,
                                                             const MatchConstraints& constraints) const {
    const auto& all = constraints.constraints();
    if (all.size() != 1 || all[0].relation != PropertyValueMatchRelation::Equals) return nullptr;
    auto known = knownLookUps_.find({cls.index, RefAccess::info(all[0].property)->position, all[0].value});
    return known != knownLookUps_.end() ? &known->second : nullptr;
}

void PostgresDriver::forgetRows() {
    lockedRows_.clear();
    knownLookUps_.clear();
}

std::vector<std::optional<std::string>>* PostgresDriver::lockedRow(const ClassInfo& cls, std::int64_t id) {
    if (!isWriting() || connection_.isAborted()) return nullptr;
    auto found = lockedRows_.find({cls.index, id});
    return found != lockedRows_.end() ? &found->second : nullptr;
}

Driver::RowResult PostgresDriver::readProperty(const PropertyInfo& property, std::int64_t id,
                                               std::optional<std::string>& text) {
    if (const auto* row = lockedRow(*property.owner, id)) {
        text = (*row)[property.position];
        return RowResult::Done;
    }
    PgResult row = connection_.query("SELECT " + PostgresNames::quotedColumn(property) + " FROM " +
                                         names_.qualifiedTable(*property.owner) + " WHERE \"_id\" = $1",
                                     PgParams().int64(id));
    if (!row.ok()) return RowResult::Failed;
    if (row.rows() == 0) return RowResult::NoSuchObject;
    if (!row.isNull(0, 0)) text = row.bytes(0, 0);
    return RowResult::Done;
}

Driver::RowResult PostgresDriver::writeProperty(const PropertyInfo& property, std::int64_t id,
                                                const std::optional<std::string>& text) {
    PgParams params;
    if (text) {
        params.copy(*text);
    } else {
        params.null();
    }
    params.int64(id);
    const std::string sql = "UPDATE " + names_.qualifiedTable(*property.owner) + " SET " +
                            PostgresNames::quotedColumn(property) + " = $1 WHERE \"_id\" = $2";
    if (property.indexed) knownLookUps_.clear();  // the object may hold another value now
    if (auto* row = lockedRow(*property.owner, id)) {  // it exists: the update goes with the next statement
        (*row)[property.position] = text;
        connection_.queue(sql, std::move(params));
        return RowResult::Done;
    }
    long changed = 0;
    const bool written = inWriteTransaction([&] {
        PgResult result = connection_.query(sql, params);
        changed = result.changed();
        return result.ok();
    });
    if (!written) return RowResult::Failed;
    return changed == 0 ? RowResult::NoSuchObject : RowResult::Done;
}

bool PostgresDriver::readRows(const ClassInfo& cls, const std::vector<const PropertyInfo*>& properties,
                              std::int64_t afterId, std::size_t limit, std::vector<StoredRow>& rows) {
    std::string sql = "SELECT \"_id\"";
    for (const PropertyInfo* property : properties) sql += ", " + PostgresNames::quotedColumn(*property);
    sql += " FROM " + names_.qualifiedTable(cls) + " WHERE \"_id\" > $1 ORDER BY \"_id\" LIMIT $2";
    PgResult page = connection_.query(sql, PgParams().int64(afterId).int64(static_cast<std::int64_t>(limit)));
    if (!page.ok()) return false;
    rows.reserve(rows.size() + static_cast<std::size_t>(page.rows()));
    for (int row = 0; row < page.rows(); ++row) {
        StoredRow& stored = rows.emplace_back();
        stored.id = page.int64(row, 0);
        stored.texts.reserve(properties.size());
        for (int column = 1; column <= static_cast<int>(properties.size()); ++column) {
            stored.texts.push_back(page.isNull(row, column) ? std::nullopt
                                                            : std::optional<std::string>(page.bytes(row, column)));
        }
    }
    return true;
}

bool PostgresDriver::findRepeatedTexts(const PropertyInfo& property, std::vector<std::string>& values) {
    const std::string column = PostgresNames::quotedColumn(property);
    PgResult repeated = connection_.query("SELECT " + column + " FROM " + names_.qualifiedTable(*property.owner) +
                                          " WHERE " + column + " IS NOT NULL GROUP BY " + column +
                                          " HAVING count(*) > 1 ORDER BY " + column);
    if (!repeated.ok()) return false;
    for (int row = 0; row < repeated.rows(); ++row) values.push_back(repeated.bytes(row, 0));
    return true;
}

Driver::RowResult PostgresDriver::deleteObject(const ClassInfo& cls, std::int64_t id) {
    lockedRows_.erase({cls.index, id});
    knownLookUps_.clear();
    PgResult deleted =
        connection_.query("DELETE FROM " + names_.qualifiedTable(cls) + " WHERE \"_id\" = $1", PgParams().int64(id));
    if (!deleted.ok()) return RowResult::Failed;
    return deleted.changed() == 0 ? RowResult::NoSuchObject : RowResult::Done;
}

// The server keeps its own storage sound; what can go wrong is a table, column, index or key
// that another program dropped or changed.
bool PostgresDriver::checkIntegrity(std::vector<std::string>& findings) {
    PostgresSchema schema(connection_, metamodel_, names_, location());
    return schema.findAlteredParts(findings);
}

bool PostgresDriver::findMissingParts(std::vector<std::string>& findings) {
    PostgresSchema schema(connection_, metamodel_, names_, location());
    return schema.findMissingParts(findings);
}

bool PostgresDriver::findForeignParts(std::vector<std::string>& findings) {
    PostgresSchema schema(connection_, metamodel_, names_, location());
    return schema.findForeignParts(findings);
}

// A lock wait that outlasts lock_timeout fails with SQLSTATE 55P03 (lock_not_available).
void PostgresDriver::report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                            const std::string& action) const {
    if (connection_.lastSqlState() == "55P03") {
        diagnostics.add(identifier, action + ": " + lockedRegistryReason(location(), busyTimeoutMs_));
        return;
    }
    diagnostics.add(identifier, action + " in the registry \"" + location() + "\": " + connection_.lastError());
}

}  // namespace vrex::internal
