#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench {

// Shows every run as the console reporter does and keeps the rate (items per second) of each
// repetition, by benchmark name ("library/direct_new/10000", "openssl/digest/16").
class RateCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override;
    // The median rate of `name`'s repetitions; 0 when it did not run or failed.
    double medianRate(const std::string& name) const;
    // Runs that failed (an unexpected outcome, a missing entry).
    int failures() const { return failures_; }

private:
    std::map<std::string, std::vector<double>> rates_;
    int failures_ = 0;
};

// The comparison table: each library line beside its baseline, the ratio, and the target the
// ratio must reach; then, for the registration and retrieval lines, the slowdown from the
// smallest to the largest store against raw SQLite's own slowdown. Returns the number of
// targets missed.
int printRatioTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes);

}  // namespace bench
