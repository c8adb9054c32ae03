#pragma once

#include <cstdint>

#include "StoreTemplates.hpp"

namespace bench {

// How many operations one measurement times (each measurement starts from a fresh copy of the
// prepared store).
struct Scale {
    std::uint64_t directEntries = 3000;   // direct road: one transaction per entry
    std::uint64_t cachedEntries = 10200;  // cached road: a multiple of the 51-entry batch
    std::uint64_t toolEntries = 20000;    // `scm register`: one transaction
    std::uint64_t lookups = 20000;        // retrieveData, retrieveDataForName
    std::uint64_t listedRecords = 20000;  // retrieveAllData: category listings until this many
};

// Registers, for a store of `storedEntries` entries, each library benchmark and its raw-SQLite
// baseline, named "library/<line>/<entries>" and "sqlite/<line>/<entries>". `templates` must
// outlive the benchmark run.
void registerRegistryBenchmarks(StoreTemplates& templates, std::uint64_t storedEntries,
                                const Scale& scale, int repetitions);

}  // namespace bench
