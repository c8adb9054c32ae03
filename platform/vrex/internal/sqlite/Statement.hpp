#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace vrex::internal {

// A prepared SQLite statement. Movable, not copyable; finalized by its owner's destructor.
// Bind, step, read the columns, then reset() (a Statement::Use does that on every path).
class Statement {
public:
    Statement() = default;
    ~Statement();
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Prepares `sql` on `db` for repeated use. Returns the SQLite result code; on failure this
    // statement stays unprepared and sqlite3_errmsg(db) says why.
    int prepare(sqlite3* db, const std::string& sql);
    bool isPrepared() const { return statement_ != nullptr; }

    // Parameters are numbered from 1. Text is copied by SQLite, byte for byte.
    void bindText(int index, const std::string& text);
    // Binds `text` without a copy: it must stay unchanged until the statement is reset.
    void bindBorrowedText(int index, const std::string& text);
    void bindNull(int index);
    void bindInt64(int index, std::int64_t value);

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int step();

    bool columnIsNull(int column) const;
    std::int64_t columnInt64(int column) const;
    std::string columnText(int column) const;

    // Makes the statement ready for its next use and drops its bindings.
    void reset();

    // Resets a statement when the scope of its use ends, so none stays pending.
    class Use {
    public:
        explicit Use(Statement& statement) : statement_(statement) {}
        ~Use() { statement_.reset(); }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        Statement& statement_;
    };

private:
    sqlite3_stmt* statement_ = nullptr;
};

}  // namespace vrex::internal
