#pragma once

#include <chrono>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <libpq-fe.h>

#include "vrex/internal/postgres/PgParams.hpp"
#include "vrex/internal/postgres/PgResult.hpp"

namespace vrex::internal {

// One libpq connection to a PostgreSQL server. Owns the connection; closes it on destruction.
//
// A statement that fails inside a transaction aborts the server's transaction: until it is rolled
// back (to a savepoint, or whole) every other statement fails at once without reaching the
// server, with the first error as the reason, and a commit rolls it back and fails. Error texts
// never hold the secrets of the connection URI.
//
// No statement waits for its answer longer than the statement limit, whatever the server does:
// past it, or once vrex::interruptWaits() ran and the answer is still outstanding, the statement
// is cancelled; a server that does not answer the cancel within a few seconds (a stopped
// backend) is given up and the connection closed.
//
// Statements whose answer nothing waits for (a transaction's begin, a lock, an insert) can be
// queued: they go to the server with the next statement sent, in the same round trip (libpq's
// pipeline mode), and the server runs them in order, each after the one before has ended.
class PgConnection {
public:
    using Settings = std::vector<std::pair<std::string, std::string>>;

    PgConnection() = default;
    ~PgConnection() { close(); }
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    // Connects with `uri`, then runs `sessionSetup` (SQL: the session's settings; nothing when
    // empty). `defaults` are libpq connection keywords the URI may override; `secrets` are texts
    // (the password) to be blanked out of every error text. False with lastError() on failure.
    bool connect(const std::string& uri, const Settings& defaults, std::vector<std::string> secrets,
                 std::string sessionSetup);
    // When the connection was lost, connects again and runs the session setup again (prepared
    // statements are prepared anew). False with lastError() when the server cannot be reached.
    bool reconnectIfLost();
    // How long a statement may wait for its answer; 0 (the default): no limit.
    void setStatementLimit(int milliseconds) { statementLimitMs_ = milliseconds; }
    void close();
    bool isOpen() const { return connection_ != nullptr; }
    // Whether the server side of an open connection is gone (found out by the last statement).
    bool isLost() const { return connection_ != nullptr && PQstatus(connection_) != CONNECTION_OK; }
    // Whether a transaction is open, aborted ones included, or its begin is queued (false once
    // the connection is lost).
    bool isInTransaction() const;
    // Whether the open transaction was aborted by a failed statement.
    bool isAborted() const;
    // Commits; an aborted transaction is rolled back instead and the commit fails.
    bool commit();
    // Rolls back an aborted transaction, keeping lastError().
    void endAborted();

    // Queues `sql` (one statement that begins a transaction) to be sent with the next statement.
    // Should that round trip find the connection lost, the connection is made again and the
    // round trip sent again, unless it ends with COMMIT: nothing of the transaction was kept.
    void beginWithNext(const std::string& sql);
    // Queues one statement to be sent ahead of the next one, in its round trip: its rows are
    // dropped, and when it fails the next statement (and whatever follows it in the round trip)
    // does not run and fails with its error. A rollback (to a savepoint: "ROLLBACK TO SAVEPOINT
    // <name>" of a queued "SAVEPOINT <name>") drops what it undoes unsent.
    void queue(const std::string& sql, PgParams params = PgParams());

    // Runs SQL without parameters (several statements allowed, unless statements are queued).
    // False with lastError().
    bool exec(const std::string& sql);
    // Runs one statement with `params`, its results in binary form. The statement is prepared on
    // first use and kept for the life of the connection. On failure the result is not ok() and
    // lastError() says why.
    PgResult query(const std::string& sql, const PgParams& params = PgParams());

    const std::string& lastError() const { return lastError_; }
    // The SQLSTATE of the last failed statement ("55P03": a lock wait timed out); empty when the
    // failure had none (a lost connection).
    const std::string& lastSqlState() const { return lastSqlState_; }
    // The SQLSTATE of the error that aborted the open transaction ("40P01": a deadlock); empty
    // when it is not aborted or the error had none.
    std::string abortSqlState() const { return isAborted() ? abortSqlState_ : std::string(); }

private:
    using Clock = std::chrono::steady_clock;
    enum class Wait { Answered, Late, Interrupted };

    struct Queued {
        std::string sql;
        PgParams params;
    };

    // Sends what is queued and then `sql` (prepared when `prepare`) in one round trip; the answer
    // is the result of `sql`, or the first failure.
    PgResult sendWithQueued(const std::string& sql, const PgParams& params, bool prepare);
    void dropQueued();
    // Drops the queued statements a rollback (`rollback`: its SQL) undoes; true when the rollback
    // itself need not be sent.
    bool dropUndone(const std::string& rollback);
    PgResult sendPipeline(const std::vector<Queued>& queued, const std::string& sql, const PgParams& params,
                          bool prepare);
    // Readies a new connection: notices ignored, non-blocking sends, the session setup run.
    bool setUp();
    const std::string* prepared(const std::string& sql, int parameters);
    // The answer to the statement just sent (`sent`: libpq took it), its last result as PQexec
    // gives it; a failure is recorded (see fail()). Cancels a statement that outlasts the limit
    // or is interrupted, and closes the connection when the server does not answer the cancel.
    PgResult answer(bool sent);
    // Gathers the results of the statement sent into `last` until there are no more, the
    // deadline passes, or (when `interruptible`) the waits are interrupted. In pipeline mode
    // `last` is the last statement's result or the first failure, gathered up to the sync.
    Wait collect(Clock::time_point deadline, bool interruptible, PgResult& last);
    // Sends what libpq holds and reads until a whole result is in (or the connection failed).
    Wait receive(Clock::time_point deadline, bool interruptible);
    // Polls the socket for reading (and writing while `sending`) in short slices.
    Wait waitForSocket(bool sending, Clock::time_point deadline, bool interruptible) const;
    void cancel();
    // Records the failure of `result` (or of the connection), and what aborted the transaction.
    void fail(const PGresult* result);
    bool refuseInAbortedTransaction(const std::string& sql);
    std::string withoutSecrets(std::string text) const;

    PGconn* connection_ = nullptr;
    std::unordered_map<std::string, std::string> statementNames_;  // SQL -> prepared name
    std::vector<std::string> secrets_;
    std::string sessionSetup_;
    int statementLimitMs_ = 0;
    std::string lastError_;
    std::string lastSqlState_;
    std::string abortReason_;  // the error that aborted the open transaction
    std::string abortSqlState_;
    std::vector<Queued> queued_;  // sent with the next statement
    bool beginQueued_ = false;    // queued_ starts with a transaction's begin
};

}  // namespace vrex::internal
