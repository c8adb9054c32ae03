#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "RatioTable.hpp"
#include "StoreTemplates.hpp"

namespace bench {

// The reading side on whole prepared stores, each measurement a process of its own so that its
// peak resident memory is its own: the `scm` commands export, list, stats, check and
// check --quick on the library store, and two children of this program (see runReadingChild):
// the library's retrieveAllData and the inspector's walk of every entry. Beside them, in the same
// round, raw SQLite reading and decoding the same rows (RawSqliteStore::scanAllEntries) twice: as
// the program `rawReader`, a process of its own like each line, and as a loop in this process on
// a store kept open (warm connection and page cache); and, to compare with that loop, the
// inspector's walk in this process on a registry kept open. Named "reading/<line>/<entries>",
// "sqlite/read_decode_program/<entries>", "sqlite/read_decode/<entries>" and
// "library/walk/<entries>"; the rate counts every
// entry of the store and the counter "peak_MiB" holds a process's peak. `templates` must outlive
// the run.
void registerReadingBenchmarks(StoreTemplates& templates, const std::vector<std::uint64_t>& sizes,
                               const std::string& scmTool, const std::string& rawReader, int rounds);

// The children's work, chosen by `what` ("retrieve-all" or "walk") on `registry`: reads every
// entry of every category and drops it. Returns the exit code (0 when every entry decoded).
int runReadingChild(const std::string& what, const std::string& registry);

// The reading table: each line's rate beside raw SQLite's, program and loop, the two ratios, the
// peak memory and the targets (the walks at 0.5x the raw program, process against process;
// check --quick at 100k entries/s, the streaming commands
// within 40 MiB, growing by at most 8 MiB from the smallest store to the largest). Returns the
// number of targets missed.
int printReadingTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes);

}  // namespace bench
