// scm_bench: the registry's benchmarks beside their baselines, and the table of ratios.
//
//   scm_bench [--sizes=10000,100000,1000000] [--repetitions=5] [--work-dir=DIR]
//             [--benchmark_... options]
//   scm_bench --peak-memory=ENTRIES [--work-dir=DIR] [--smoke]   (--smoke: a peak above the
//                                                               target does not fail the run)
//   scm_bench --smoke [--work-dir=DIR]      every benchmark once, on tiny stores
//   scm_bench --reading-child=WHAT REGISTRY  a reading measurement's child process (see
//                                            ReadingBenchmarks.hpp)
//
// Prepared stores are kept in the work directory (default ./bench-data) for later runs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "RatioTable.hpp"
#include "ReadingBenchmarks.hpp"
#include "RegistryBenchmarks.hpp"
#include "RssRun.hpp"
#include "SCMModuleEntry.hpp"
#include "StoreTemplates.hpp"

namespace {

constexpr double kPeakMemoryLimitMiB = 64;

struct Options {
    std::vector<std::uint64_t> sizes{10000, 100000, 1000000};
    int repetitions = 5;
    std::string workDirectory = "bench-data";
    std::uint64_t peakMemoryEntries = 0;
    bool smoke = false;
    std::string readingChild;  // with the registry it reads
    std::string readingRegistry;
    std::vector<char*> benchmarkArguments;  // passed on to Google Benchmark
};

std::vector<std::uint64_t> parseSizes(const std::string& text) {
    std::vector<std::uint64_t> sizes;
    std::stringstream list(text);
    for (std::string item; std::getline(list, item, ',');) sizes.push_back(std::stoull(item));
    return sizes;
}

bool takeValue(const std::string& argument, const char* option, std::string& value) {
    const std::string prefix = std::string(option) + "=";
    if (argument.rfind(prefix, 0) != 0) return false;
    value = argument.substr(prefix.size());
    return true;
}

Options parseOptions(int argc, char** argv) {
    Options options;
    options.benchmarkArguments.push_back(argv[0]);
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        std::string value;
        if (takeValue(argument, "--sizes", value)) {
            options.sizes = parseSizes(value);
        } else if (takeValue(argument, "--repetitions", value)) {
            options.repetitions = std::stoi(value);
        } else if (takeValue(argument, "--work-dir", value)) {
            options.workDirectory = value;
        } else if (takeValue(argument, "--peak-memory", value)) {
            options.peakMemoryEntries = std::stoull(value);
        } else if (takeValue(argument, "--reading-child", value) && i + 1 < argc) {
            options.readingChild = value;
            options.readingRegistry = argv[++i];
        } else if (argument == "--smoke") {
            options.smoke = true;
        } else {
            options.benchmarkArguments.push_back(argv[i]);
        }
    }
    return options;
}

bench::Scale smokeScale() {
    bench::Scale scale;
    scale.directEntries = 20;
    scale.cachedEntries = 102;
    scale.toolEntries = 50;
    scale.lookups = 50;
    scale.listedRecords = 10;
    return scale;
}

}  // namespace

int main(int argc, char** argv) {
    Options options = parseOptions(argc, argv);
    HxInitialize_shared_code_manager();
    if (!options.readingChild.empty()) return bench::runReadingChild(options.readingChild, options.readingRegistry);
    if (options.peakMemoryEntries > 0) {
        const int result = bench::runPeakMemory(options.workDirectory, options.peakMemoryEntries,
                                                kPeakMemoryLimitMiB);
        // A smoke run checks that the run works; memory is judged by full runs, never by tests
        // (under the sanitizers a process is larger anyway).
        return options.smoke && result == bench::kPeakTargetMissed ? 0 : result;
    }
    bench::Scale scale;
    static char minTime[] = "--benchmark_min_time=0.2";
    if (options.smoke) {
        options.sizes = {200};
        options.repetitions = 1;
        scale = smokeScale();
        static char smokeMinTime[] = "--benchmark_min_time=0.001";
        options.benchmarkArguments.push_back(smokeMinTime);
    } else {
        options.benchmarkArguments.push_back(minTime);
    }
    // The digest benchmarks repeat through Google Benchmark; the store benchmarks run in rounds
    // of library-then-baseline pairs (see registerRegistryBenchmarks).
    std::string repetitions = "--benchmark_repetitions=" + std::to_string(options.repetitions);
    options.benchmarkArguments.push_back(repetitions.data());

    bench::StoreTemplates templates(options.workDirectory);
    for (std::uint64_t size : options.sizes) {
        templates.libraryStore(size);
        templates.rawStore(size);
    }
    bench::registerRegistryBenchmarks(templates, options.sizes, scale, options.repetitions);
    bench::registerReadingBenchmarks(templates, options.sizes, SCM_TOOL_PATH, SCM_RAW_READER_PATH, options.repetitions);

    int benchmarkArgc = static_cast<int>(options.benchmarkArguments.size());
    benchmark::Initialize(&benchmarkArgc, options.benchmarkArguments.data());
    if (benchmark::ReportUnrecognizedArguments(benchmarkArgc, options.benchmarkArguments.data())) {
        return 2;
    }
    bench::RateCollector rates;
    benchmark::RunSpecifiedBenchmarks(&rates);
    benchmark::Shutdown();

    const int missed = bench::printRatioTable(rates, options.sizes) + bench::printReadingTable(rates, options.sizes);
    std::printf("\ntargets missed: %d; failed runs: %d\n", missed, rates.failures());
    return rates.failures() > 0 ? 1 : 0;
}
