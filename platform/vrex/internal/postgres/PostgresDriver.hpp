#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>
#include <string>

#include "vrex/RepositoryOptions.hpp"
#include "vrex/internal/postgres/PgConnection.hpp"
#include "vrex/internal/postgres/PostgresNames.hpp"
#include "vrex/internal/postgres/PostgresUri.hpp"
#include "vrex/internal/session/Driver.hpp"

namespace vrex::internal {

// A registry in a PostgreSQL database, shared by every agent that connects to it.
//
// Writers of different entries run in parallel. A search for the value of an indexed property
// inside a write transaction first takes a transaction-scoped advisory lock on that value (see
// PostgresNames::valueLockKey), so "look up, then create or merge" stays atomic for writers of
// one key while writers of other keys do not wait; callers that search several keys in one
// transaction search them in a fixed order, and a deadlock all the same aborts the transaction
// with lostToConflict() true, for the caller to run it again. Every write transaction also
// shares the registry's lock, which schema work holds alone. So does an explicit transaction (an
// `scm register` run, a caller's own transaction), which may write any number of entries: the
// server keeps every lock in a shared table of fixed size (max_locks_per_transaction times
// max_connections, 6,400 by default), which a lock per value would exhaust at about ten thousand
// entries; holding the registry alone it takes no value locks, and no other writer runs meanwhile. New ids come from the server: each
// table's "_id" is an identity column, and a search that finds nothing reserves the id of the
// object most likely created next (reserveId). Readers never wait (a read transaction is one
// REPEATABLE READ snapshot).
//
// Round trips: a transaction's begin, its locks, savepoints, inserts and the updates of rows found
// under a key's lock are queued and go with the next statement (see PgConnection::queue), and a
// search under a key's lock brings the rows it finds whole: a registration costs two round trips
// (begin + locks + search, then insert or update + commit).
//
// Waiting for a lock is bounded by Options::busyTimeoutMs (lock_timeout), every statement by the
// statement limit (busy timeout plus Options::statementMarginMs: the server's
// statement_timeout, and the client's own deadline for a server that does not answer; see
// PgConnection), connecting by connect_timeout, and a server that goes away is noticed by TCP
// keepalives: all end in errors, never in a hang. A statement that fails inside a transaction
// aborts it (see PgConnection): a savepoint rolled back repairs it, else it can only be rolled
// back. A connection lost inside a transaction is not made again before that transaction is
// ended.
class PostgresDriver : public Driver {
public:
    // Connects to the database `uri` names and readies its registry schema for `metamodel`. Null
    // with diagnostics when that fails; no message holds the URI's password.
    static std::unique_ptr<PostgresDriver> open(const std::string& uri, const Metamodel& metamodel,
                                                const RepositoryOptions& options,
                                                tvdiag::util::diagnostics& diagnostics);

    const std::string& location() const override { return uri_.redacted(); }
    bool isReadOnly() const override { return readOnly_; }
    bool isOpen() const override { return connection_.isOpen(); }
    void close() override { connection_.close(); }

    bool isInTransaction() const override { return connection_.isInTransaction(); }
    bool beginWrite(WriteScope scope) override;
    bool beginRead() override;
    bool commit() override;
    bool rollback() override;
    // Savepoints and their releases go with the next statement.
    bool savepoint(const std::string& name) override {
        connection_.queue("SAVEPOINT " + name);
        return true;
    }
    bool releaseSavepoint(const std::string& name) override {
        connection_.queue("RELEASE SAVEPOINT " + name);
        return true;
    }
    bool rollbackToSavepoint(const std::string& name) override;

    bool insertObject(const ClassInfo& cls, std::int64_t& id) override;
    bool largestId(const ClassInfo& cls, std::int64_t& id) override;
    bool reserveId(const ClassInfo& cls, std::int64_t& id) override;
    bool lostToConflict() const override;
    bool insertWholeObject(const ClassInfo& cls, std::int64_t id,
                           const std::vector<std::optional<std::string>>& texts) override;
    bool prepareLookUps(const ClassInfo& cls, const PropertyInfo& property,
                        const std::vector<std::string>& values) override;
    bool findObjects(const ClassInfo& cls, const MatchConstraints& constraints,
                     std::vector<std::int64_t>& ids) override;
    RowResult readProperty(const PropertyInfo& property, std::int64_t id,
                           std::optional<std::string>& text) override;
    RowResult writeProperty(const PropertyInfo& property, std::int64_t id,
                            const std::optional<std::string>& text) override;
    bool readRows(const ClassInfo& cls, const std::vector<const PropertyInfo*>& properties,
                  std::int64_t afterId, std::size_t limit, std::vector<StoredRow>& rows) override;
    RowResult deleteObject(const ClassInfo& cls, std::int64_t id) override;
    bool findRepeatedTexts(const PropertyInfo& property, std::vector<std::string>& values) override;
    bool checkIntegrity(std::vector<std::string>& findings) override;
    bool findMissingParts(std::vector<std::string>& findings) override;
    bool findForeignParts(std::vector<std::string>& findings) override;

    void report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                const std::string& action) const override;

private:
    PostgresDriver(const std::string& uri, const Metamodel& metamodel, bool readOnly);

    bool connect(const RepositoryOptions& options, tvdiag::util::diagnostics& diagnostics);
    // The settings of every session (also after a reconnect): timeouts, durability, read-only.
    std::string sessionSetup(const RepositoryOptions& options) const;
    bool begin(const std::string& sql);
    // False with a "vrex:open:readOnly" diagnostic when this role may not insert into or update
    // one of the registry's tables.
    bool checkWritable(tvdiag::util::diagnostics& diagnostics);
    // Runs `write` in a write transaction of its own unless one is open: a write outside a
    // transaction takes the write lock like any other.
    template <typename Write>
    bool inWriteTransaction(Write&& write);
    bool isWriting() const { return writing_ && connection_.isInTransaction(); }
    // Queues the locks of the values `constraints` look for in indexed properties, in the order
    // of their keys; false when there are none.
    bool lockSearchedValues(const MatchConstraints& constraints);
    // Queues the locks of `keys` (see PostgresNames::valueLockKey), ascending, each once.
    void lockKeys(std::vector<std::int64_t> keys);
    // The ids prepareLookUps knows for a search of one value; null when it does not know them.
    const std::vector<std::int64_t>* knownLookUp(const ClassInfo& cls, const MatchConstraints& constraints) const;
    // Keeps the rows of a search under their keys' locks (see lockedRows_); the ids of
    // `reservation` rows are reserved instead. True for a reservation row.
    bool keepRow(const ClassInfo& cls, const PgResult& rows, int row, std::vector<std::int64_t>& ids);
    // Forgets what the open transaction knows of rows and look-ups (its end, an undo).
    void forgetRows();
    // Finds the objects of `cls` that meet `where` and, when there are none, reserves the next
    // id of `cls` in the same statement.
    bool findReserving(const ClassInfo& cls, const std::string& where, PgParams& params,
                       std::vector<std::int64_t>& ids);
    // The property texts of an object a search found under its key's lock in the open write
    // transaction, as the transaction last wrote them; null for any other object.
    std::vector<std::optional<std::string>>* lockedRow(const ClassInfo& cls, std::int64_t id);

    PostgresUri uri_;
    const Metamodel& metamodel_;
    PostgresNames names_;
    bool readOnly_;
    int busyTimeoutMs_ = 0;  // for messages: how long a statement waits for a lock
    PgConnection connection_;
    bool writing_ = false;                  // the open transaction is a write transaction
    bool holdsRegistry_ = false;            // ... holding the registry's lock alone: no value locks
    std::vector<std::deque<std::int64_t>> reservedIds_;  // by ClassInfo::index: ids reserved, ascending
    // By (ClassInfo::index, id): the rows found under their key's lock in the open write
    // transaction, their texts by PropertyInfo::position. Every writer of a key searches it
    // first, so no other connection changes them before the transaction ends.
    std::map<std::pair<std::size_t, std::int64_t>, std::vector<std::optional<std::string>>> lockedRows_;
    // By (ClassInfo::index, PropertyInfo::position, value): the ids of the objects holding each
    // value prepareLookUps locked and read in the open write transaction, kept up to date by its
    // inserts; forgotten when an indexed property is written or an object deleted.
    std::map<std::tuple<std::size_t, std::size_t, std::string>, std::vector<std::int64_t>> knownLookUps_;
};

}  // namespace vrex::internal
