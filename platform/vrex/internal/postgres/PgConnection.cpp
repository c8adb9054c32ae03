#include "vrex/internal/postgres/PgConnection.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "vrex/WaitInterrupt.hpp"
#include "vrex/internal/session/LockedRegistry.hpp"

namespace vrex::internal {

namespace {

// How often a wait for the server looks whether it was interrupted.
constexpr int kWaitSliceMs = 100;
// How long a cancelled statement may take to end before the server is given up.
constexpr int kCancelGraceMs = 3000;

// libpq prints the server's notices on stderr by default; a registry has nothing to say there.
void ignoreNotice(void*, const char*) {}

// libpq's messages may span lines ("...refused\n\tIs the server running..."): one line here.
std::string oneLine(const std::string& text) {
    std::string line;
    for (char c : text) {
        const bool space = c == '\n' || c == '\t' || c == ' ';
        if (!space) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return line;
}

}  // namespace

bool PgConnection::connect(const std::string& uri, const Settings& defaults,
                           std::vector<std::string> secrets, std::string sessionSetup) {
    close();
    secrets_ = std::move(secrets);
    sessionSetup_ = std::move(sessionSetup);
    // Later keywords override earlier ones, and the URI is expanded in the place of "dbname".
    std::vector<const char*> keywords;
    std::vector<const char*> values;
    for (const auto& [keyword, value] : defaults) {
        keywords.push_back(keyword.c_str());
        values.push_back(value.c_str());
    }
    keywords.push_back("dbname");
    values.push_back(uri.c_str());
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    connection_ = PQconnectdbParams(keywords.data(), values.data(), 1);
    if (connection_ == nullptr || PQstatus(connection_) != CONNECTION_OK) {
        fail(nullptr);
        close();
        return false;
    }
    if (setUp()) return true;
    close();
    return false;
}

bool PgConnection::reconnectIfLost() {
    if (connection_ == nullptr) return false;
    if (!isLost()) return true;
    statementNames_.clear();
    PQreset(connection_);
    if (PQstatus(connection_) != CONNECTION_OK) {
        fail(nullptr);
        return false;
    }
    return setUp();
}

bool PgConnection::setUp() {
    PQsetNoticeProcessor(connection_, ignoreNotice, nullptr);
    if (PQsetnonblocking(connection_, 1) != 0) {
        fail(nullptr);
        return false;
    }
    return sessionSetup_.empty() || exec(sessionSetup_);
}

void PgConnection::close() {
    if (connection_ == nullptr) return;
    PQfinish(connection_);  // the server rolls back whatever is open
    connection_ = nullptr;
    statementNames_.clear();
    dropQueued();
}

bool PgConnection::isInTransaction() const {
    if (connection_ == nullptr || PQstatus(connection_) != CONNECTION_OK) return false;
    if (beginQueued_) return true;
    const PGTransactionStatusType status = PQtransactionStatus(connection_);
    return status == PQTRANS_INTRANS || status == PQTRANS_INERROR || status == PQTRANS_ACTIVE;
}

void PgConnection::beginWithNext(const std::string& sql) {
    queued_.clear();
    queued_.push_back({sql, PgParams()});
    beginQueued_ = true;
}

void PgConnection::queue(const std::string& sql, PgParams params) { queued_.push_back({sql, std::move(params)}); }

void PgConnection::dropQueued() {
    queued_.clear();
    beginQueued_ = false;
}

bool PgConnection::exec(const std::string& sql) {
    if (connection_ == nullptr || refuseInAbortedTransaction(sql)) return false;
    if (sql.rfind("ROLLBACK", 0) == 0 && dropUndone(sql)) return true;
    if (!queued_.empty()) return sendWithQueued(sql, PgParams(), false).ok();
    return answer(PQsendQuery(connection_, sql.c_str()) == 1).ok();
}

// A rollback undoes what is queued after the transaction's begin or the savepoint: it is dropped
// unsent. When the begin or the savepoint is still queued itself, the rollback has nothing to undo
// on the server: the begin goes too, the savepoint stays (for its release).
bool PgConnection::dropUndone(const std::string& rollback) {
    const std::string savepoint = rollback.rfind("ROLLBACK TO SAVEPOINT ", 0) == 0
                                      ? "SAVEPOINT " + rollback.substr(std::strlen("ROLLBACK TO SAVEPOINT "))
                                      : std::string();
    for (std::size_t i = 0; i < queued_.size(); ++i) {
        if (!savepoint.empty() && queued_[i].sql == savepoint) {
            queued_.resize(i + 1);
            return true;
        }
    }
    const bool unsent = beginQueued_ && savepoint.empty();
    dropQueued();
    return unsent;
}

PgResult PgConnection::query(const std::string& sql, const PgParams& params) {
    if (connection_ == nullptr || refuseInAbortedTransaction(sql)) return PgResult();
    if (!queued_.empty()) return sendWithQueued(sql, params, true);
    const std::string* name = prepared(sql, params.count());
    if (name == nullptr) return PgResult();
    return answer(PQsendQueryPrepared(connection_, name->c_str(), params.count(), params.values(),
                                      params.lengths(), params.formats(), 1) == 1);
}

// A round trip that begins a transaction and does not commit one changed nothing that stays
// when the connection was lost under it: it is sent again on a new connection.
// A statement that cannot be prepared leaves the queue as it was: nothing of it was sent.
PgResult PgConnection::sendWithQueued(const std::string& sql, const PgParams& params, bool prepare) {
    if (prepare && prepared(sql, params.count()) == nullptr) return PgResult();
    const std::vector<Queued> queued = std::exchange(queued_, {});
    const bool begins = std::exchange(beginQueued_, false);
    PgResult result = sendPipeline(queued, sql, params, prepare);
    if (!result.ok() && begins && sql != "COMMIT" && isLost() && reconnectIfLost()) {
        result = sendPipeline(queued, sql, params, prepare);
    }
    return result;
}

PgResult PgConnection::sendPipeline(const std::vector<Queued>& queued, const std::string& sql,
                                    const PgParams& params, bool prepare) {
    const std::string* name = prepare ? prepared(sql, params.count()) : nullptr;
    if (prepare && name == nullptr) return PgResult();
    if (PQenterPipelineMode(connection_) != 1) {
        fail(nullptr);
        return PgResult();
    }
    bool sent = true;
    for (const Queued& statement : queued) {
        sent = sent && PQsendQueryParams(connection_, statement.sql.c_str(), statement.params.count(), nullptr,
                                         statement.params.values(), statement.params.lengths(),
                                         statement.params.formats(), 1) == 1;
    }
    sent = sent && (name != nullptr ? PQsendQueryPrepared(connection_, name->c_str(), params.count(), params.values(),
                                                          params.lengths(), params.formats(), 1)
                                    : PQsendQueryParams(connection_, sql.c_str(), 0, nullptr, nullptr, nullptr,
                                                        nullptr, 1)) == 1;
    sent = sent && PQpipelineSync(connection_) == 1;
    PgResult result = answer(sent);
    // A pipeline left half sent cannot be ended: neither can the connection then be used.
    if (connection_ != nullptr && PQexitPipelineMode(connection_) != 1) {
        const std::string reason = lastError_;
        close();
        lastError_ = reason;
    }
    return result;
}

const std::string* PgConnection::prepared(const std::string& sql, int parameters) {
    auto known = statementNames_.find(sql);
    if (known != statementNames_.end()) return &known->second;
    const std::string name = "vrex_" + std::to_string(statementNames_.size() + 1);
    if (!answer(PQsendPrepare(connection_, name.c_str(), sql.c_str(), parameters, nullptr) == 1).ok()) {
        return nullptr;
    }
    return &statementNames_.emplace(sql, name).first->second;
}

PgResult PgConnection::answer(bool sent) {
    PgResult last;
    const Clock::time_point deadline = statementLimitMs_ > 0
                                           ? Clock::now() + std::chrono::milliseconds(statementLimitMs_)
                                           : Clock::time_point::max();
    const Wait wait = sent ? collect(deadline, true, last) : Wait::Answered;
    if (wait != Wait::Answered) {
        cancel();
        const Clock::time_point grace = Clock::now() + std::chrono::milliseconds(kCancelGraceMs);
        if (collect(grace, false, last) != Wait::Answered) {
            close();
            lastError_ = wait == Wait::Late ? "the server did not answer within " +
                                                  secondsText(statementLimitMs_) + " s; the connection is closed"
                                            : "interrupted, and the server did not answer the cancel; the "
                                              "connection is closed";
            lastSqlState_.clear();
            return PgResult();
        }
    }
    if (!last.ok()) fail(last.handle());
    if (!last.ok() && wait == Wait::Late) {
        lastError_ = "the statement did not end within " + secondsText(statementLimitMs_) + " s and was cancelled";
        if (isAborted()) abortReason_ = lastError_;
    }
    return last;
}

PgConnection::Wait PgConnection::collect(Clock::time_point deadline, bool interruptible, PgResult& last) {
    const bool pipelined = PQpipelineStatus(connection_) != PQ_PIPELINE_OFF;
    for (;;) {
        const Wait wait = receive(deadline, interruptible);
        if (wait != Wait::Answered) return wait;
        PGresult* next = PQgetResult(connection_);
        if (next == nullptr) {
            // In a pipeline: the end of one statement's results, unless the connection failed.
            if (!pipelined || PQstatus(connection_) != CONNECTION_OK) return Wait::Answered;
            continue;
        }
        const ExecStatusType status = PQresultStatus(next);
        const bool failedBefore = last.handle() != nullptr && !last.ok();
        if (pipelined && (status == PGRES_PIPELINE_SYNC || status == PGRES_PIPELINE_ABORTED || failedBefore)) {
            PQclear(next);
            if (status == PGRES_PIPELINE_SYNC) return Wait::Answered;
            continue;
        }
        last = PgResult(next);
    }
}

PgConnection::Wait PgConnection::receive(Clock::time_point deadline, bool interruptible) {
    int unsent = PQflush(connection_);  // 1: more to send, -1: the connection failed
    while (unsent == 1 || (unsent == 0 && PQisBusy(connection_))) {
        const Wait wait = waitForSocket(unsent == 1, deadline, interruptible);
        if (wait != Wait::Answered) return wait;
        // A failed read marks the connection lost; PQgetResult then reports it without waiting.
        if (PQconsumeInput(connection_) == 0) break;
        if (unsent == 1) unsent = PQflush(connection_);
    }
    return Wait::Answered;
}

PgConnection::Wait PgConnection::waitForSocket(bool sending, Clock::time_point deadline,
                                               bool interruptible) const {
    pollfd socket{PQsocket(connection_), static_cast<short>(POLLIN | (sending ? POLLOUT : 0)), 0};
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return Wait::Late;
        // Errors too (a closed socket) are left for libpq to read and report.
        const int ready = poll(&socket, 1, static_cast<int>(std::min<long long>(left, kWaitSliceMs)));
        if (ready > 0 || (ready < 0 && errno != EINTR)) return Wait::Answered;
        if (interruptible && waitsInterrupted()) return Wait::Interrupted;
    }
}

void PgConnection::cancel() {
    PGcancel* request = PQgetCancel(connection_);
    if (request == nullptr) return;
    char error[256];
    PQcancel(request, error, sizeof error);  // failing to ask changes nothing: the grace runs out
    PQfreeCancel(request);
}

void PgConnection::fail(const PGresult* result) {
    const char* primary = result != nullptr ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
    std::string text = primary != nullptr ? primary
                       : connection_ != nullptr ? PQerrorMessage(connection_)
                                                : "out of memory";
    lastError_ = withoutSecrets(oneLine(text));
    const char* state = result != nullptr ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    lastSqlState_ = state != nullptr ? state : "";
    if (lastError_.empty()) lastError_ = "the server did not answer";
    if (!lastSqlState_.empty()) lastError_ += " (SQLSTATE " + lastSqlState_ + ")";
    if (isAborted()) {
        abortReason_ = lastError_;
        abortSqlState_ = lastSqlState_;
    }
}

bool PgConnection::isAborted() const {
    return connection_ != nullptr && PQstatus(connection_) == CONNECTION_OK &&
           PQtransactionStatus(connection_) == PQTRANS_INERROR;
}

// In an aborted transaction the server ignores everything but its end: say so without asking.
bool PgConnection::refuseInAbortedTransaction(const std::string& sql) {
    if (!isAborted() || sql.rfind("ROLLBACK", 0) == 0) return false;
    lastError_ = "the transaction was aborted by an earlier error: " + abortReason_;
    lastSqlState_.clear();
    return true;
}

// COMMIT of an aborted transaction rolls it back and answers success: that must read as a failure.
// A transaction of which nothing but the begin is queued has nothing to commit.
bool PgConnection::commit() {
    if (refuseInAbortedTransaction("COMMIT")) {
        endAborted();
        return false;
    }
    if (beginQueued_ && queued_.size() == 1) {
        dropQueued();
        return true;
    }
    return exec("COMMIT");
}

void PgConnection::endAborted() {
    if (!isAborted()) return;
    const std::string reason = lastError_;
    exec("ROLLBACK");
    lastError_ = reason;
}

std::string PgConnection::withoutSecrets(std::string text) const {
    for (const std::string& secret : secrets_) {
        if (secret.empty()) continue;
        for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + 3)) {
            text.replace(at, secret.size(), "***");
        }
    }
    return text;
}

}  // namespace vrex::internal
