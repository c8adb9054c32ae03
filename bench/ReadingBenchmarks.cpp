#include "ReadingBenchmarks.hpp"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

#include "RawSqliteStore.hpp"
#include "RegistryBenchmarks.hpp"
#include "SCMRegistryInspector.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "Workload.hpp"

extern char** environ;

namespace bench {

namespace {

constexpr double kPeakLimitMiB = 40;
constexpr double kPeakGrowthLimitMiB = 8;
constexpr double kWalkRatio = 0.5;
constexpr double kCheckRate = 100000;

constexpr SCM::SCMTypes kCategories[] = {SCM::SCM_UTILITIES, SCM::SCM_SHARED_FUNCTIONS, SCM::SCM_SHARED_TYPES,
                                         SCM::SCM_SHARED_DATA, SCM::SCM_SHARED_CONSTANTS};

struct ReadingLine {
    const char* label;
    const char* name;                   // "reading/<name>/<entries>"
    std::vector<std::string> arguments;  // after the program; the store's path is appended
    bool ofThisProgram;                 // a child of scm_bench rather than `scm`
    bool streams;                       // held to the memory targets
    double ratioTarget;                 // 0: none
    double rateTarget;                  // entries/s; 0: none
};

const std::vector<ReadingLine>& readingLines() {
    static const std::vector<ReadingLine> lines = {
        {"scm export", "export", {"export"}, false, true, 0, 0},
        {"scm list", "list", {"list"}, false, true, 0, 0},
        {"scm stats", "stats", {"stats"}, false, true, 0, 0},
        {"scm check", "check", {"check"}, false, true, 0, 0},
        {"scm check --quick", "check_quick", {"check", "--quick"}, false, true, 0, kCheckRate},
        {"inspector walk (visitEntries)", "walk", {"--reading-child=walk"}, true, true, kWalkRatio, 0},
        {"retrieveAllData, every category", "retrieve_all", {"--reading-child=retrieve-all"}, true, false,
         kWalkRatio, 0},
    };
    return lines;
}

// Visits every entry of every category and drops it; the number visited.
std::uint64_t walkEveryEntry(SCM::SCMRegistryInspector& inspector, tvdiag::util::diagnostics& diagnostics) {
    std::uint64_t visited = 0;
    for (SCM::SCMTypes type : kCategories) {
        visited += inspector.visitEntries(type, [](SCM::SCMRegistryInspector::StoredEntry&) {}, diagnostics);
    }
    return visited;
}

std::string selfPath() {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

struct ChildRun {
    double seconds = 0;
    double peakMiB = 0;
    bool ok = false;
    std::string errors;  // its standard error when it failed
};

// Runs `command` with standard output thrown away, waits, and reads its time and peak memory. The
// peak comes from /usr/bin/time, a small process that starts the command: a process started by
// this one would count this one's memory too (the high-water mark survives the exec).
ChildRun runChild(const std::vector<std::string>& command, const std::string& errorFile) {
    ChildRun run;
    const std::string peakFile = errorFile + ".peak";
    std::vector<std::string> argv{"/usr/bin/time", "-f", "%M", "-o", peakFile};
    argv.insert(argv.end(), command.begin(), command.end());
    std::vector<char*> args;
    for (const std::string& argument : argv) args.push_back(const_cast<char*>(argument.c_str()));
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int spawned = posix_spawn(&child, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        run.errors = "cannot start " + argv[0];
        return run;
    }
    int status = 0;
    waitpid(child, &status, 0);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    double peakKiB = 0;
    std::ifstream(peakFile) >> peakKiB;
    run.peakMiB = peakKiB / 1024.0;
    run.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0 && peakKiB > 0;
    if (!run.ok) {
        std::ifstream errors(errorFile);
        std::ostringstream text;
        text << command[0] << " " << command[1] << " failed: " << errors.rdbuf();
        run.errors = text.str();
    }
    return run;
}

std::uint64_t entriesOf(std::uint64_t stored) { return stored + listedEntries(stored); }

// Runs `argv` once per iteration as a process of its own, timing it and keeping its peak memory.
void measureProcess(benchmark::State& state, const std::vector<std::string>& argv, const std::string& errorFile,
                    std::uint64_t entries) {
    for (auto _ : state) {
        const ChildRun run = runChild(argv, errorFile);
        state.SetIterationTime(run.seconds);
        state.counters["peak_MiB"] = run.peakMiB;
        if (!run.ok) state.SkipWithError(run.errors.c_str());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(entries));
}

void measureLine(benchmark::State& state, const ReadingLine& line, const std::string& program,
                 const std::string& store, const std::string& errorFile, std::uint64_t entries) {
    std::vector<std::string> argv{program};
    argv.insert(argv.end(), line.arguments.begin(), line.arguments.end());
    argv.push_back(store);
    measureProcess(state, argv, errorFile, entries);
}

void measureRawReading(benchmark::State& state, const std::string& store, std::uint64_t entries) {
    RawSqliteStore raw(store);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const std::size_t decoded = raw.scanAllEntries();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (decoded != entries) state.SkipWithError("a row did not decode");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(entries));
}

// The walk in this process on a registry kept open, as the raw loop reads: the walk's own cost
// without a process's start, the opening and a cold page cache.
void measureWalkInProcess(benchmark::State& state, const std::string& registry, std::uint64_t entries) {
    SCM::SCMRegistryInspector inspector(registry, SCM::SCMRegistryInspector::Access::Read);
    for (auto _ : state) {
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        const auto start = std::chrono::steady_clock::now();
        const std::uint64_t visited = walkEveryEntry(inspector, diagnostics);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (visited != entries || !diagnostics.empty()) state.SkipWithError("an entry was not visited");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(entries));
}

std::string sized(const std::string& name, std::uint64_t size) { return name + "/" + std::to_string(size); }

}  // namespace

void registerReadingBenchmarks(StoreTemplates& templates, const std::vector<std::uint64_t>& sizes,
                               const std::string& scmTool, const std::string& rawReader, int rounds) {
    StoreTemplates* t = &templates;
    const std::string self = selfPath();
    const std::string errorFile = templates.directory() + "/reading-child.err";
    for (int round = 0; round < rounds; ++round) {
        for (std::uint64_t stored : sizes) {
            const std::uint64_t entries = entriesOf(stored);
            for (const ReadingLine& line : readingLines()) {
                const std::string program = line.ofThisProgram ? self : scmTool;
                addMeasurement("reading/" + std::string(line.name), stored, [=](benchmark::State& state) {
                    measureLine(state, line, program, t->libraryStore(stored), errorFile, entries);
                });
            }
            addMeasurement("sqlite/read_decode_program", stored, [=](benchmark::State& state) {
                measureProcess(state, {rawReader, t->rawStore(stored)}, errorFile, entries);
            });
            addMeasurement("sqlite/read_decode", stored, [=](benchmark::State& state) {
                measureRawReading(state, t->rawStore(stored), entries);
            });
            addMeasurement("library/walk", stored, [=](benchmark::State& state) {
                measureWalkInProcess(state, t->libraryStore(stored), entries);
            });
        }
    }
}

int runReadingChild(const std::string& what, const std::string& registry) {
    std::uint64_t read = 0;
    if (what == "retrieve-all") {
        SCM::SharedCodeManagerInterface library(registry);
        for (SCM::SCMTypes type : kCategories) {
            for (SCM::SCMData* record : library.retrieveAllData(type)) {
                delete record;
                ++read;
            }
        }
    } else if (what == "walk") {
        SCM::SCMRegistryInspector inspector(registry, SCM::SCMRegistryInspector::Access::Read);
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        read = walkEveryEntry(inspector, diagnostics);
        if (!diagnostics.empty()) {
            std::fprintf(stderr, "%s\n", diagnostics.messages().c_str());
            return 1;
        }
    } else {
        std::fprintf(stderr, "unknown reading child \"%s\"\n", what.c_str());
        return 2;
    }
    std::printf("%llu entries\n", static_cast<unsigned long long>(read));
    return read > 0 ? 0 : 1;
}

int printReadingTable(const RateCollector& rates, const std::vector<std::uint64_t>& sizes) {
    int missed = 0;
    std::printf("\n| %-32s | %8s | %10s | %13s | %5s | %12s | %5s | %9s | %-28s | %-7s |\n",
                "reading the whole registry", "stored", "entries/s", "raw program/s", "ratio", "raw loop/s",
                "ratio", "peak MiB", "target", "result");
    std::printf("|%s|%s|%s|%s|%s|%s|%s|%s|%s|%s|\n", std::string(34, '-').c_str(), std::string(10, '-').c_str(),
                std::string(12, '-').c_str(), std::string(15, '-').c_str(), std::string(7, '-').c_str(),
                std::string(14, '-').c_str(), std::string(7, '-').c_str(), std::string(11, '-').c_str(),
                std::string(30, '-').c_str(), std::string(9, '-').c_str());
    for (const ReadingLine& line : readingLines()) {
        const std::string name = "reading/" + std::string(line.name);
        for (std::uint64_t size : sizes) {
            const std::vector<double> library = rates.rates(sized(name, size));
            const std::vector<double> rawProgram = rates.rates(sized("sqlite/read_decode_program", size));
            const std::vector<double> rawLoop = rates.rates(sized("sqlite/read_decode", size));
            const double rate = median(library);
            const double ratio = pairedRatio(library, rawProgram);
            const double peak = median(rates.counters(sized(name, size), "peak_MiB"));
            std::string target;
            bool holds = rate > 0;
            auto require = [&](bool condition, const std::string& text) {
                target += (target.empty() ? "" : ", ") + text;
                holds = holds && condition;
            };
            char text[64];
            if (line.ratioTarget > 0) {
                std::snprintf(text, sizeof text, "ratio >= %.2f", line.ratioTarget);
                require(ratio >= line.ratioTarget, text);
            }
            if (line.rateTarget > 0) {
                std::snprintf(text, sizeof text, ">= %.0fk/s", line.rateTarget / 1000);
                require(rate >= line.rateTarget, text);
            }
            if (line.streams) {
                std::snprintf(text, sizeof text, "<= %.0f MiB", kPeakLimitMiB);
                require(peak <= kPeakLimitMiB, text);
            }
            const char* result = target.empty() ? "" : holds ? "holds" : "MISSED";
            missed += holds || target.empty() ? 0 : 1;
            std::printf("| %-32s | %8llu | %10.0f | %13.0f | %5.2f | %12.0f | %5.2f | %9.1f | %-28s | %-7s |\n",
                        line.label, static_cast<unsigned long long>(size), rate, median(rawProgram), ratio,
                        median(rawLoop), pairedRatio(library, rawLoop), peak, target.c_str(), result);
        }
    }
    if (sizes.size() < 2) return missed;
    std::printf("\n| %-32s | %17s | %9s | %-12s | %-7s |\n", "peak memory growth", "stored", "MiB", "target",
                "result");
    std::printf("|%s|%s|%s|%s|%s|\n", std::string(34, '-').c_str(), std::string(19, '-').c_str(),
                std::string(11, '-').c_str(), std::string(14, '-').c_str(), std::string(9, '-').c_str());
    for (const ReadingLine& line : readingLines()) {
        if (!line.streams) continue;
        const std::string name = "reading/" + std::string(line.name);
        const double growth = median(rates.counters(sized(name, sizes.back()), "peak_MiB")) -
                              median(rates.counters(sized(name, sizes.front()), "peak_MiB"));
        const bool holds = growth <= kPeakGrowthLimitMiB;
        missed += holds ? 0 : 1;
        std::printf("| %-32s | %17s | %9.1f | <= %-9.0f | %-7s |\n", line.label,
                    (std::to_string(sizes.front()) + "->" + std::to_string(sizes.back())).c_str(), growth,
                    kPeakGrowthLimitMiB, holds ? "holds" : "MISSED");
    }
    return missed;
}

}  // namespace bench
