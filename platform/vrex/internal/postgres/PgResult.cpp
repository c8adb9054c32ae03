#include "vrex/internal/postgres/PgResult.hpp"

#include <cstdlib>
#include <utility>

namespace vrex::internal {

PgResult& PgResult::operator=(PgResult&& other) noexcept {
    std::swap(result_, other.result_);
    return *this;
}

bool PgResult::ok() const {
    if (result_ == nullptr) return false;
    const ExecStatusType status = PQresultStatus(result_);
    return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
}

long PgResult::changed() const {
    return result_ != nullptr ? std::strtol(PQcmdTuples(result_), nullptr, 10) : 0;
}

std::string PgResult::bytes(int row, int column) const {
    return std::string(PQgetvalue(result_, row, column),
                       static_cast<std::size_t>(PQgetlength(result_, row, column)));
}

std::int64_t PgResult::int64(int row, int column) const {
    if (isNull(row, column) || PQgetlength(result_, row, column) != 8) return 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(PQgetvalue(result_, row, column));
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8 | bytes[i];
    return static_cast<std::int64_t>(value);
}

bool PgResult::boolean(int row, int column) const {
    return !isNull(row, column) && PQgetlength(result_, row, column) == 1 &&
           *PQgetvalue(result_, row, column) != 0;
}

}  // namespace vrex::internal
