#pragma once

#include <cstdint>
#include <string>

namespace bench {

// What runPeakMemory returns besides 0 (every registration done, the peak within the limit).
constexpr int kPeakTargetMissed = 1;  // every registration done, the peak above the limit
constexpr int kPeakRunFailed = 2;     // a registration failed

// Registers `entries` new utilities on the cached road into a new registry file in
// `workDirectory` (removed afterwards), as one code-generation run would, then prints the
// process's peak resident set size and the rate.
int runPeakMemory(const std::string& workDirectory, std::uint64_t entries, double limitMiB);

}  // namespace bench
