#include "vrex/internal/sqlite/Statement.hpp"

#include <sqlite3.h>

#include <utility>

namespace vrex::internal {

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement::Statement(Statement&& other) noexcept
    : statement_(std::exchange(other.statement_, nullptr)) {}

Statement& Statement::operator=(Statement&& other) noexcept {
    if (this != &other) {
        sqlite3_finalize(statement_);
        statement_ = std::exchange(other.statement_, nullptr);
    }
    return *this;
}

int Statement::prepare(sqlite3* db, const std::string& sql) {
    sqlite3_finalize(statement_);
    statement_ = nullptr;
    return sqlite3_prepare_v3(db, sql.c_str(), static_cast<int>(sql.size() + 1),
                              SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
}

void Statement::bindText(int index, const std::string& text) {
    sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Statement::bindBorrowedText(int index, const std::string& text) {
    sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

void Statement::bindNull(int index) { sqlite3_bind_null(statement_, index); }

void Statement::bindInt64(int index, std::int64_t value) {
    sqlite3_bind_int64(statement_, index, value);
}

int Statement::step() { return sqlite3_step(statement_); }

bool Statement::columnIsNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t Statement::columnInt64(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string Statement::columnText(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    int size = sqlite3_column_bytes(statement_, column);
    return text != nullptr ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

void Statement::reset() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

}  // namespace vrex::internal
