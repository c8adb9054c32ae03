#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench {

// Shows every run as the console reporter does (and its rate on stderr, as progress) and keeps
// the rate (items per second) of each run, in order, by benchmark name
// ("library/direct_new/10000", "openssl/digest/16").
class RateCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override;
    // The median rate of `name`'s runs; 0 when it did not run or failed.
    double medianRate(const std::string& name) const;
    // The rates of `name`'s runs in the order they ran.
    std::vector<double> rates(const std::string& name) const;
    // The values of `name`'s user counter `counter` in the order its runs ran.
    std::vector<double> counters(const std::string& name, const std::string& counter) const;
    // Runs that failed (an unexpected outcome, a missing entry).
    int failures() const { return failures_; }

private:
    std::map<std::string, std::vector<double>> rates_;
    std::map<std::string, std::map<std::string, std::vector<double>>> counters_;
    int failures_ = 0;
};

// The median of `values`; 0 for none.
double median(std::vector<double> values);
// The median of numerator[k] / denominator[k] over the runs both have (runs taken in pairs under
// the same load); 0 without any.
double pairedRatio(const std::vector<double>& numerator, const std::vector<double>& denominator);

// The comparison table: each library line beside its baseline (median rates), the ratio (the
// median of the ratios of the k-th library and baseline runs) and the target the ratio must
// reach; then, for the registration and retrieval lines, the slowdown from the smallest to the
// largest store against raw SQLite's own slowdown, paired the same way. Returns the number of
// targets missed.
int printRatioTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes);

}  // namespace bench
