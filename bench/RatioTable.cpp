#include "RatioTable.hpp"

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

struct Line {
    const char* label;
    const char* library;   // benchmark name without the store size
    const char* baseline;
    double target;         // the least ratio library / baseline; 0: none
};

const Line kDigestLines[] = {
    {"getChecksum, fresh four-element identity", "library/checksum_four_element",
     "openssl/checksum_four_element", 0.5},
    {"getChecksum, fresh utility identity", "library/checksum_utility", "openssl/checksum_utility",
     0.5},
    {"digest alone, 16 bytes", "library/digest/16", "openssl/digest/16", 0.9},
    {"digest alone, 1 MiB", "library/digest/1048576", "openssl/digest/1048576", 0.9},
};

const Line kStoreLines[] = {
    {"direct road, new entries (vs 1 per txn)", "library/direct_new", "sqlite/direct_new", 0.7},
    {"direct road, merges (vs 1 per txn)", "library/direct_merge", "sqlite/direct_merge", 0.7},
    {"cached road, new entries (vs 51 per txn)", "library/cached_new", "sqlite/cached_new", 0.6},
    {"cached road, merges (vs 51 per txn)", "library/cached_merge", "sqlite/cached_merge", 0.6},
    {"scm register (vs 1 txn)", "library/scm_register", "sqlite/scm_register", 0.5},
    {"scm register, runs recorded (vs not)", "library/scm_register_recorded", "library/scm_register", 0.9},
    {"retrieveData (vs select by checksum)", "library/retrieveData", "sqlite/retrieveData", 0.7},
    {"retrieveDataForName (vs select by name)", "library/retrieveDataForName",
     "sqlite/retrieveDataForName", 0.7},
    {"retrieveAllData (vs select all rows)", "library/retrieveAllData", "sqlite/retrieveAllData",
     0.0},
    {"retrieveAllData (vs select and scan)", "library/retrieveAllData",
     "sqlite/retrieveAllData_scan", 0.5},
    {"inspector walk (vs read and scan all)", "library/walk", "sqlite/read_decode", 0.5},
};

constexpr double kSlowdownTarget = 0.9;

std::string sized(const char* name, std::uint64_t size) {
    return std::string(name) + "/" + std::to_string(size);
}

// The runs' rates at the large store divided by those at the small one, run by run.
std::vector<double> slowdowns(const RateCollector& rates, const char* name, std::uint64_t small,
                              std::uint64_t large) {
    const std::vector<double> atSmall = rates.rates(sized(name, small));
    const std::vector<double> atLarge = rates.rates(sized(name, large));
    std::vector<double> result;
    for (std::size_t k = 0; k < atSmall.size() && k < atLarge.size(); ++k) {
        result.push_back(atSmall[k] > 0 ? atLarge[k] / atSmall[k] : 0);
    }
    return result;
}

std::string verdict(double ratio, double target) {
    if (target <= 0) return "";
    if (ratio <= 0) return "no data";
    return ratio >= target ? "holds" : "MISSED";
}

// Prints one row; true when a target was missed.
bool printRow(const char* label, const std::string& stored, double library, double baseline,
              double ratio, double target, int decimals) {
    char targetText[16] = "";
    if (target > 0) std::snprintf(targetText, sizeof targetText, ">= %.2f", target);
    const std::string result = verdict(ratio, target);
    std::printf("| %-42s | %15s | %12.*f | %12.*f | %6.2f | %-7s | %-7s |\n", label, stored.c_str(),
                decimals, library, decimals, baseline, ratio, targetText, result.c_str());
    return result == "MISSED" || result == "no data";
}

void printHeader(const char* first, const char* stored, const char* rates) {
    std::printf("\n| %-42s | %15s | %12s | %12s | %6s | %-7s | %-7s |\n", first, stored, rates,
                "baseline", "ratio", "target", "result");
    std::printf("|%s|%s|%s|%s|%s|%s|%s|\n", std::string(44, '-').c_str(),
                std::string(17, '-').c_str(), std::string(14, '-').c_str(),
                std::string(14, '-').c_str(), std::string(8, '-').c_str(),
                std::string(9, '-').c_str(), std::string(9, '-').c_str());
}

}  // namespace

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double pairedRatio(const std::vector<double>& numerator, const std::vector<double>& denominator) {
    std::vector<double> ratios;
    for (std::size_t k = 0; k < numerator.size() && k < denominator.size(); ++k) {
        if (numerator[k] > 0 && denominator[k] > 0) ratios.push_back(numerator[k] / denominator[k]);
    }
    return median(ratios);
}

void RateCollector::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) continue;
        if (run.error_occurred) {
            ++failures_;
            continue;
        }
        const auto counter = run.counters.find("items_per_second");
        if (counter == run.counters.end()) continue;
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
        rates_[name].push_back(counter->second.value);
        for (const auto& [counterName, value] : run.counters) counters_[name][counterName].push_back(value.value);
        std::fprintf(stderr, "  %-45s %12.0f /s\n", name.c_str(), counter->second.value);
    }
}

std::vector<double> RateCollector::counters(const std::string& name, const std::string& counter) const {
    const auto found = counters_.find(name);
    if (found == counters_.end()) return {};
    const auto values = found->second.find(counter);
    return values == found->second.end() ? std::vector<double>() : values->second;
}

double RateCollector::medianRate(const std::string& name) const { return median(rates(name)); }

std::vector<double> RateCollector::rates(const std::string& name) const {
    const auto found = rates_.find(name);
    return found == rates_.end() ? std::vector<double>() : found->second;
}

int printRatioTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes) {
    int missed = 0;
    printHeader("operation (library vs baseline)", "stored", "library/s");
    auto printLine = [&](const Line& line, const std::string& library, const std::string& baseline,
                         const std::string& stored) {
        missed += printRow(line.label, stored, rates.medianRate(library), rates.medianRate(baseline),
                           pairedRatio(rates.rates(library), rates.rates(baseline)), line.target, 0);
    };
    for (const Line& line : kDigestLines) printLine(line, line.library, line.baseline, "-");
    for (const Line& line : kStoreLines) {
        for (std::uint64_t size : sizes) {
            printLine(line, sized(line.library, size), sized(line.baseline, size), std::to_string(size));
        }
    }
    if (sizes.size() < 2) return missed;

    const std::uint64_t small = sizes.front();
    const std::uint64_t large = sizes.back();
    printHeader("slowdown with the store's size", "stored", "library");
    for (const Line& line : kStoreLines) {
        const std::vector<double> library = slowdowns(rates, line.library, small, large);
        const std::vector<double> baseline = slowdowns(rates, line.baseline, small, large);
        // Only the lines with a target compare equal work at both sizes (a listing grows with
        // the store).
        missed += printRow(line.label, std::to_string(small) + "->" + std::to_string(large),
                           median(library), median(baseline), pairedRatio(library, baseline),
                           line.target > 0 ? kSlowdownTarget : 0, 2);
    }
    return missed;
}

}  // namespace bench
