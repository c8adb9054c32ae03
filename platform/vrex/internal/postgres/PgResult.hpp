#pragma once

#include <cstdint>
#include <string>

#include <libpq-fe.h>

namespace vrex::internal {

// The result of one PostgreSQL statement, in binary form (see PgConnection::query). Owns the
// libpq result; movable, not copyable. A default-constructed result is a failure.
class PgResult {
public:
    PgResult() = default;
    explicit PgResult(PGresult* result) : result_(result) {}
    ~PgResult() { PQclear(result_); }
    PgResult(PgResult&& other) noexcept : result_(other.result_) { other.result_ = nullptr; }
    PgResult& operator=(PgResult&& other) noexcept;
    PgResult(const PgResult&) = delete;
    PgResult& operator=(const PgResult&) = delete;

    // Whether the statement ran (with or without rows).
    bool ok() const;
    int rows() const { return result_ != nullptr ? PQntuples(result_) : 0; }
    // Rows an INSERT, UPDATE or DELETE changed.
    long changed() const;

    bool isNull(int row, int column) const { return PQgetisnull(result_, row, column) != 0; }
    // A bytea or text value: its bytes.
    std::string bytes(int row, int column) const;
    // A bigint value (0 for NULL).
    std::int64_t int64(int row, int column) const;
    // A boolean value (false for NULL).
    bool boolean(int row, int column) const;

    PGresult* handle() const { return result_; }

private:
    PGresult* result_ = nullptr;
};

}  // namespace vrex::internal
