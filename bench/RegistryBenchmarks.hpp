#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

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

// Registers `run` as the benchmark "<name>/<stored>": one timed iteration (manual time) per
// repetition; repetitions come from registering it once per round.
void addMeasurement(const std::string& name, std::uint64_t stored, std::function<void(benchmark::State&)> run);

// Registers each library benchmark and its raw-SQLite baseline for stores of each size, named
// "library/<line>/<entries>" and "sqlite/<line>/<entries>", in `rounds` rounds: in every round
// each library measurement runs right before its baseline, so that the k-th runs of the two make
// a pair taken under the same load. `templates` must outlive the benchmark run.
void registerRegistryBenchmarks(StoreTemplates& templates, const std::vector<std::uint64_t>& sizes,
                                const Scale& scale, int rounds);

}  // namespace bench
