#pragma once

#include <cstdint>
#include <string>

// The rows the raw-SQLite baselines store: for entry i, texts of the same content and length as
// the library stores for it (see Workload.hpp), written here by hand. The checksum is a 22-letter
// stand-in (the digest has baselines of its own).
namespace bench {

struct RawRow {
    std::string checksum;
    std::string name;
    std::string identity;
    std::string data;
};

RawRow rawUtilityRow(std::uint64_t i);
// The stored data text of utility i after a merge (see mergingUtilityData).
std::string rawMergedUtilityData(std::uint64_t i);
RawRow rawFunctionRow(std::uint64_t i);

}  // namespace bench
