#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace vrex::internal {

// The parameters of one PostgreSQL statement, all bound in binary form: texts as their bytes
// (bytea, text), integers as 8-byte big-endian values (bigint). Texts given to bytes() are
// borrowed: each must outlive the statement's execution; texts given to copy() are kept here.
class PgParams {
public:
    PgParams() = default;
    // Copies and moves point at their own integers and copied texts.
    PgParams(const PgParams& other);
    PgParams(PgParams&& other) noexcept;
    PgParams& operator=(const PgParams& other);
    PgParams& operator=(PgParams&& other) noexcept;
    ~PgParams() = default;

    PgParams& bytes(const std::string& text);
    PgParams& copy(std::string text);
    PgParams& null();
    PgParams& int64(std::int64_t value);

    int count() const { return static_cast<int>(values_.size()); }
    const char* const* values() const { return values_.data(); }
    const int* lengths() const { return lengths_.data(); }
    const int* formats() const { return formats_.data(); }

private:
    // Points the values held here at integers_ and copies_ (after a copy or a move).
    void repoint();

    std::vector<const char*> values_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
    std::deque<std::array<char, 8>> integers_;  // a deque keeps each value where it was put
    std::deque<std::string> copies_;
    std::vector<std::size_t> integerAt_;  // the position in values_ of each of integers_
    std::vector<std::size_t> copyAt_;     // the position in values_ of each of copies_
};

}  // namespace vrex::internal
