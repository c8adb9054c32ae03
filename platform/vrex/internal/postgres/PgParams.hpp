#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace vrex::internal {

// The parameters of one PostgreSQL statement, all bound in binary form: texts as their bytes
// (bytea, text), integers as 8-byte big-endian values (bigint). Texts are borrowed: each must
// outlive the statement's execution.
class PgParams {
public:
    PgParams& bytes(const std::string& text);
    PgParams& null();
    PgParams& int64(std::int64_t value);

    int count() const { return static_cast<int>(values_.size()); }
    const char* const* values() const { return values_.data(); }
    const int* lengths() const { return lengths_.data(); }
    const int* formats() const { return formats_.data(); }

private:
    std::vector<const char*> values_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
    std::deque<std::array<char, 8>> integers_;  // a deque keeps each value where it was put
};

}  // namespace vrex::internal
