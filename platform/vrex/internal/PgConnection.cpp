#include "vrex/internal/PgConnection.hpp"

namespace vrex::internal {

namespace {

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
    PQsetNoticeProcessor(connection_, ignoreNotice, nullptr);
    if (exec(sessionSetup_)) return true;
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
    PQsetNoticeProcessor(connection_, ignoreNotice, nullptr);
    return exec(sessionSetup_);
}

void PgConnection::close() {
    if (connection_ == nullptr) return;
    PQfinish(connection_);  // the server rolls back whatever is open
    connection_ = nullptr;
    statementNames_.clear();
}

bool PgConnection::isInTransaction() const {
    if (connection_ == nullptr || PQstatus(connection_) != CONNECTION_OK) return false;
    const PGTransactionStatusType status = PQtransactionStatus(connection_);
    return status == PQTRANS_INTRANS || status == PQTRANS_INERROR || status == PQTRANS_ACTIVE;
}

bool PgConnection::exec(const std::string& sql) {
    if (connection_ == nullptr || refuseInAbortedTransaction(sql)) return false;
    PgResult result(PQexec(connection_, sql.c_str()));
    if (!result.ok()) fail(result.handle());
    return result.ok();
}

PgResult PgConnection::query(const std::string& sql, const PgParams& params) {
    if (connection_ == nullptr || refuseInAbortedTransaction(sql)) return PgResult();
    const std::string* name = prepared(sql, params.count());
    if (name == nullptr) return PgResult();
    PgResult result(PQexecPrepared(connection_, name->c_str(), params.count(), params.values(),
                                   params.lengths(), params.formats(), 1));
    if (!result.ok()) fail(result.handle());
    return result;
}

const std::string* PgConnection::prepared(const std::string& sql, int parameters) {
    auto known = statementNames_.find(sql);
    if (known != statementNames_.end()) return &known->second;
    const std::string name = "vrex_" + std::to_string(statementNames_.size() + 1);
    PgResult result(PQprepare(connection_, name.c_str(), sql.c_str(), parameters, nullptr));
    if (!result.ok()) {
        fail(result.handle());
        return nullptr;
    }
    return &statementNames_.emplace(sql, name).first->second;
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
    if (isAborted()) abortReason_ = lastError_;
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
bool PgConnection::commit() {
    if (refuseInAbortedTransaction("COMMIT")) {
        endAborted();
        return false;
    }
    return exec("COMMIT");
}

void PgConnection::endAborted() {
    if (isAborted()) PQclear(PQexec(connection_, "ROLLBACK"));
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
