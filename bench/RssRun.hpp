#pragma once

#include <cstdint>
#include <string>

namespace bench {

// Registers `entries` new utilities on the cached road into a new registry file in
// `workDirectory` (removed afterwards), as one code-generation run would, then prints the
// process's peak resident set size and the rate. Returns 0 when the peak is within `limitMiB`.
int runPeakMemory(const std::string& workDirectory, std::uint64_t entries, double limitMiB);

}  // namespace bench
