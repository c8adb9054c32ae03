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
    {"retrieveData (vs select by checksum)", "library/retrieveData", "sqlite/retrieveData", 0.5},
    {"retrieveDataForName (vs select by name)", "library/retrieveDataForName",
     "sqlite/retrieveDataForName", 0.5},
    {"retrieveAllData (vs select all rows)", "library/retrieveAllData", "sqlite/retrieveAllData",
     0.0},
};

constexpr double kSlowdownTarget = 0.9;

std::string sized(const char* name, std::uint64_t size) {
    return std::string(name) + "/" + std::to_string(size);
}

std::string verdict(double ratio, double target) {
    if (target <= 0) return "";
    if (ratio <= 0) return "no data";
    return ratio >= target ? "holds" : "MISSED";
}

// Prints one row; true when a target was missed.
bool printRow(const char* label, const char* stored, double library, double baseline,
              double target, int decimals = 0) {
    const double ratio = baseline > 0 ? library / baseline : 0;
    char targetText[16] = "";
    if (target > 0) std::snprintf(targetText, sizeof targetText, ">= %.2f", target);
    const std::string result = verdict(ratio, target);
    std::printf("| %-42s | %9s | %12.*f | %12.*f | %6.2f | %-7s | %-7s |\n", label, stored, decimals,
                library, decimals, baseline, ratio, targetText, result.c_str());
    return result == "MISSED" || result == "no data";
}

void printHeader(const char* first, const char* rates) {
    std::printf("\n| %-42s | %9s | %12s | %12s | %6s | %-7s | %-7s |\n", first, "stored", rates, "baseline",
                "ratio", "target", "result");
    std::printf("|%s|%s|%s|%s|%s|%s|%s|\n", std::string(44, '-').c_str(), std::string(11, '-').c_str(),
                std::string(14, '-').c_str(), std::string(14, '-').c_str(), std::string(8, '-').c_str(),
                std::string(9, '-').c_str(), std::string(9, '-').c_str());
}

}  // namespace

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
    }
}

double RateCollector::medianRate(const std::string& name) const {
    const auto found = rates_.find(name);
    if (found == rates_.end() || found->second.empty()) return 0;
    std::vector<double> rates = found->second;
    std::sort(rates.begin(), rates.end());
    const std::size_t middle = rates.size() / 2;
    return rates.size() % 2 == 1 ? rates[middle] : (rates[middle - 1] + rates[middle]) / 2;
}

int printRatioTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes) {
    int missed = 0;
    printHeader("operation (library vs baseline)", "library/s");
    for (const Line& line : kDigestLines) {
        missed += printRow(line.label, "-", rates.medianRate(line.library),
                           rates.medianRate(line.baseline), line.target);
    }
    for (const Line& line : kStoreLines) {
        for (std::uint64_t size : sizes) {
            missed += printRow(line.label, std::to_string(size).c_str(),
                               rates.medianRate(sized(line.library, size)),
                               rates.medianRate(sized(line.baseline, size)), line.target);
        }
    }
    if (sizes.size() < 2) return missed;

    const std::uint64_t small = sizes.front();
    const std::uint64_t large = sizes.back();
    const std::string span = std::to_string(small) + "->" + std::to_string(large);
    printHeader("slowdown with the store's size (rate ratio)", "library");
    for (const Line& line : kStoreLines) {
        const double library =
            rates.medianRate(sized(line.library, large)) / rates.medianRate(sized(line.library, small));
        const double baseline = rates.medianRate(sized(line.baseline, large)) /
                                rates.medianRate(sized(line.baseline, small));
        missed += printRow(line.label, span.c_str(), library, baseline, kSlowdownTarget, 2);
    }
    return missed;
}

}  // namespace bench
