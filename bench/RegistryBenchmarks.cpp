#include "RegistryBenchmarks.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "LibraryEntries.hpp"
#include "RawSqliteStore.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "Workload.hpp"
#include "scm/ManifestLine.hpp"
#include "scm/OpenRegistry.hpp"
#include "scm/ProgressBar.hpp"
#include "scm/Registration.hpp"
#include "scm/RegistrationReport.hpp"
#include "scm/RunRecord.hpp"
#include "tv/TvFeature.hpp"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
using Work = std::function<bool()>;

// Times `work` once (the benchmark runs one iteration per repetition) and reports `items`
// operations; a false answer marks the measurement as failed.
void timeOnce(benchmark::State& state, std::uint64_t items, const Work& work) {
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        const bool ok = work();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        if (!ok) state.SkipWithError("an outcome differed from the expected one");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(items));
}

struct Entries {
    std::vector<std::unique_ptr<SCM::SCMIdentity>> identities;
    std::vector<std::unique_ptr<SCM::SCMData>> records;
};

Entries newEntries(std::uint64_t first, std::uint64_t count) {
    Entries entries;
    for (std::uint64_t i = first; i < first + count; ++i) {
        entries.identities.push_back(utilityIdentity(i));
        entries.records.push_back(utilityData(i));
    }
    return entries;
}

Entries mergingEntries(std::uint64_t stored, std::uint64_t count) {
    Entries entries;
    for (std::uint64_t k = 0; k < count; ++k) {
        const std::uint64_t i = scattered(k, stored);
        entries.identities.push_back(utilityIdentity(i));
        entries.records.push_back(mergingUtilityData(i));
    }
    return entries;
}

// Registers every entry on the direct road; true when each answers `expected`.
bool registerDirectly(SCM::SharedCodeManagerInterface& registry, const Entries& entries,
                      SCM::SCMRegistry expected) {
    bool ok = true;
    for (std::size_t i = 0; i < entries.identities.size(); ++i) {
        ok &= registry.registerDataInTransaction(entries.identities[i].get(),
                                                 entries.records[i].get()) == expected;
    }
    return ok;
}

// Registers every entry on the cached road, then finalizes.
bool registerCached(SCM::SharedCodeManagerInterface& registry, const Entries& entries) {
    bool ok = true;
    for (std::size_t i = 0; i < entries.identities.size(); ++i) {
        const SCM::SCMRegistry outcome =
            registry.registerData(entries.identities[i].get(), entries.records[i].get());
        ok &= outcome == SCM::WILL_BE_REGISTERED || outcome == SCM::IS_REGISTERED;
    }
    return ok && registry.finalize() == SCM::IS_REGISTERED;
}

// True when the registry holds the last entry's record with the expected model count.
bool holdsLast(SCM::SharedCodeManagerInterface& registry, const Entries& entries,
               std::size_t modelNames) {
    std::unique_ptr<SCM::SCMData> stored(registry.retrieveData(entries.identities.back().get()));
    const auto* utility = dynamic_cast<const SCM::SCMBasicUtilityData*>(stored.get());
    return utility != nullptr && utility->getModelNames().size() == modelNames;
}

void libraryRoad(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
                 std::uint64_t count, bool cached, bool merge) {
    const std::string file = templates.workCopy(templates.libraryStore(stored), "library-work.registry");
    SCM::SharedCodeManagerInterface registry(file);
    TvFeature::setValue("UseVrexCache", 1);
    const Entries entries = merge ? mergingEntries(stored, count) : newEntries(stored, count);
    timeOnce(state, count, [&] {
        if (cached) return registerCached(registry, entries);
        return registerDirectly(registry, entries,
                                merge ? SCM::IS_PRESENT_UPDATE : SCM::IS_REGISTERED);
    });
    if (!holdsLast(registry, entries, merge ? 3 : 2)) state.SkipWithError("an entry is missing");
}

// The tool's run as `scm register` makes it; `recorded`: with its provenance, as the command
// records it (a row per entry and the run's own row, in the run's transaction).
void toolRun(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
             std::uint64_t count, bool recorded) {
    const std::string file = templates.workCopy(templates.libraryStore(stored),
                                                recorded ? "recorded-work.registry" : "library-work.registry");
    scm_tool::OpenRegistry registry(file);
    std::string manifest;
    for (std::uint64_t i = stored; i < stored + count; ++i) {
        manifest += scm_tool::manifestLine(*utilityIdentity(i), *utilityData(i));
        manifest += '\n';
    }
    std::istringstream in(std::move(manifest));
    scm_tool::RegistrationReport report;
    scm_tool::ProgressBar progress(0, false);
    timeOnce(state, count, [&] {
        bool ok = registry.adapter().beginTransaction();
        std::optional<scm_tool::RunRecord> run;
        if (recorded) run.emplace(registry, std::vector<std::string>{"bench"});
        scm_tool::Registration registration(registry, report, progress, nullptr, true,
                                            run ? &*run : nullptr);
        registration.registerManifest(in, "bench");
        std::string reason;
        ok = ok && (!run || run->finish(report, reason));
        return registry.adapter().endTransaction() && ok;
    });
    if (report.total() != count || report.exitCode() != scm_tool::kExitOk) {
        state.SkipWithError("an entry was not registered");
    }
}

// What `scm register` does with a manifest, through the tool's own code: the manifest's text
// read line by line (each line decoded as the tool decodes it), one explicit transaction, each
// entry registered and its outcome recorded in the run's report. Only the command line, the
// file itself and the printed report are left out.
void libraryTool(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
                 std::uint64_t count) {
    toolRun(state, templates, stored, count, false);
}

void libraryRetrieveData(benchmark::State& state, StoreTemplates& templates,
                         std::uint64_t stored, std::uint64_t count) {
    SCM::SharedCodeManagerInterface registry(templates.libraryStore(stored));
    std::vector<std::unique_ptr<SCM::SCMIdentity>> identities;
    for (std::uint64_t k = 0; k < count; ++k) identities.push_back(utilityIdentity(scattered(k, stored)));
    timeOnce(state, count, [&] {
        bool ok = true;
        for (const auto& identity : identities) {
            std::unique_ptr<SCM::SCMData> data(registry.retrieveData(identity.get()));
            ok &= data != nullptr;
        }
        return ok;
    });
}

void libraryRetrieveDataForName(benchmark::State& state, StoreTemplates& templates,
                                std::uint64_t stored, std::uint64_t count) {
    SCM::SharedCodeManagerInterface registry(templates.libraryStore(stored));
    std::vector<std::string> names;
    for (std::uint64_t k = 0; k < count; ++k) names.push_back(utilityName(scattered(k, stored)));
    timeOnce(state, count, [&] {
        bool ok = true;
        for (const std::string& name : names) {
            std::unique_ptr<SCM::SCMData> data(registry.retrieveDataForName(SCM::SCM_UTILITIES, name));
            ok &= data != nullptr;
        }
        return ok;
    });
}

void libraryRetrieveAllData(benchmark::State& state, StoreTemplates& templates,
                            std::uint64_t stored, std::uint64_t count) {
    SCM::SharedCodeManagerInterface registry(templates.libraryStore(stored));
    std::uint64_t listed = 0;
    timeOnce(state, count, [&] {
        listed = 0;
        while (listed < count) {
            std::vector<SCM::SCMData*> records = registry.retrieveAllData(SCM::SCM_SHARED_FUNCTIONS);
            if (records.empty()) return false;
            listed += records.size();
            for (SCM::SCMData* record : records) delete record;
        }
        return true;
    });
    state.SetItemsProcessed(static_cast<std::int64_t>(listed));
}

// --- baselines ------------------------------------------------------------------------------

std::vector<RawRow> newRows(std::uint64_t first, std::uint64_t count) {
    std::vector<RawRow> rows;
    for (std::uint64_t i = first; i < first + count; ++i) rows.push_back(rawUtilityRow(i));
    return rows;
}

// Look-up-then-insert of every row, `perTransaction` rows per transaction (0: all in one).
void rawInsert(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
               std::uint64_t count, std::uint64_t perTransaction) {
    RawSqliteStore store(templates.workCopy(templates.rawStore(stored), "raw-work.sqlite"));
    const std::vector<RawRow> rows = newRows(stored, count);
    const std::uint64_t batch = perTransaction == 0 ? count : perTransaction;
    timeOnce(state, count, [&] {
        bool ok = true;
        for (std::uint64_t i = 0; i < count; i += batch) {
            store.begin();
            for (std::uint64_t j = i; j < count && j < i + batch; ++j) {
                ok &= store.insertIfAbsent(RawSqliteStore::Utilities, rows[j]);
            }
            store.commit();
        }
        return ok;
    });
}

// Look-up, read, then rewrite of the data of stored rows (a merge), `perTransaction` per
// transaction.
void rawMerge(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
              std::uint64_t count, std::uint64_t perTransaction) {
    RawSqliteStore store(templates.workCopy(templates.rawStore(stored), "raw-work.sqlite"));
    std::vector<std::pair<std::string, std::string>> merges;
    for (std::uint64_t k = 0; k < count; ++k) {
        const std::uint64_t i = scattered(k, stored);
        merges.emplace_back(rawUtilityRow(i).checksum, rawMergedUtilityData(i));
    }
    timeOnce(state, count, [&] {
        bool ok = true;
        for (std::uint64_t i = 0; i < count; i += perTransaction) {
            store.begin();
            for (std::uint64_t j = i; j < count && j < i + perTransaction; ++j) {
                ok &= store.replaceData(RawSqliteStore::Utilities, merges[j].first, merges[j].second);
            }
            store.commit();
        }
        return ok;
    });
}

void rawSelect(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
               std::uint64_t count, bool byName) {
    RawSqliteStore store(templates.rawStore(stored));
    std::vector<std::string> keys;
    for (std::uint64_t k = 0; k < count; ++k) {
        const RawRow row = rawUtilityRow(scattered(k, stored));
        keys.push_back(byName ? row.name : row.checksum);
    }
    timeOnce(state, count, [&] {
        bool ok = true;
        for (const std::string& key : keys) {
            const std::string data = byName ? store.dataByName(RawSqliteStore::Utilities, key)
                                            : store.dataByChecksum(RawSqliteStore::Utilities, key);
            ok &= !data.empty();
        }
        return ok;
    });
}

// Reads the shared functions' data until `count` rows were read: copying each text, or scanning
// it as JSON in place (`scan`).
void rawSelectAll(benchmark::State& state, StoreTemplates& templates, std::uint64_t stored,
                  std::uint64_t count, bool scan) {
    RawSqliteStore store(templates.rawStore(stored));
    std::uint64_t listed = 0;
    timeOnce(state, count, [&] {
        listed = 0;
        while (listed < count) {
            const std::size_t rows = scan ? store.scanAllData(RawSqliteStore::Functions)
                                          : store.readAllData(RawSqliteStore::Functions);
            if (rows == 0) return false;
            listed += rows;
        }
        return true;
    });
    state.SetItemsProcessed(static_cast<std::int64_t>(listed));
}

// `scm register` recording its runs, against the same run without (library/scm_register).
void registerRecordedLine(StoreTemplates& templates, std::uint64_t stored, const Scale& s) {
    StoreTemplates* t = &templates;
    addMeasurement("library/scm_register_recorded", stored,
        [=](benchmark::State& st) { toolRun(st, *t, stored, s.toolEntries, true); });
}

void registerRound(StoreTemplates& templates, std::uint64_t stored, const Scale& s) {
    StoreTemplates* t = &templates;
    auto pair = [&](const std::string& line, std::function<void(benchmark::State&)> library,
                    std::function<void(benchmark::State&)> baseline) {
        addMeasurement("library/" + line, stored, std::move(library));
        addMeasurement("sqlite/" + line, stored, std::move(baseline));
    };
    pair("direct_new",
         [=](benchmark::State& st) { libraryRoad(st, *t, stored, s.directEntries, false, false); },
         [=](benchmark::State& st) { rawInsert(st, *t, stored, s.directEntries, 1); });
    pair("direct_merge",
         [=](benchmark::State& st) { libraryRoad(st, *t, stored, s.directEntries, false, true); },
         [=](benchmark::State& st) { rawMerge(st, *t, stored, s.directEntries, 1); });
    pair("cached_new",
         [=](benchmark::State& st) { libraryRoad(st, *t, stored, s.cachedEntries, true, false); },
         [=](benchmark::State& st) { rawInsert(st, *t, stored, s.cachedEntries, 51); });
    pair("cached_merge",
         [=](benchmark::State& st) { libraryRoad(st, *t, stored, s.cachedEntries, true, true); },
         [=](benchmark::State& st) { rawMerge(st, *t, stored, s.cachedEntries, 51); });
    pair("scm_register",
         [=](benchmark::State& st) { libraryTool(st, *t, stored, s.toolEntries); },
         [=](benchmark::State& st) { rawInsert(st, *t, stored, s.toolEntries, 0); });
    registerRecordedLine(templates, stored, s);
    pair("retrieveData",
         [=](benchmark::State& st) { libraryRetrieveData(st, *t, stored, s.lookups); },
         [=](benchmark::State& st) { rawSelect(st, *t, stored, s.lookups, false); });
    pair("retrieveDataForName",
         [=](benchmark::State& st) { libraryRetrieveDataForName(st, *t, stored, s.lookups); },
         [=](benchmark::State& st) { rawSelect(st, *t, stored, s.lookups, true); });
    pair("retrieveAllData",
         [=](benchmark::State& st) { libraryRetrieveAllData(st, *t, stored, s.listedRecords); },
         [=](benchmark::State& st) { rawSelectAll(st, *t, stored, s.listedRecords, false); });
    addMeasurement("sqlite/retrieveAllData_scan", stored,
        [=](benchmark::State& st) { rawSelectAll(st, *t, stored, s.listedRecords, true); });
}

}  // namespace

void addMeasurement(const std::string& name, std::uint64_t stored, std::function<void(benchmark::State&)> run) {
    benchmark::RegisterBenchmark((name + "/" + std::to_string(stored)).c_str(),
                                 [run](benchmark::State& state) { run(state); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(1)
        ->Unit(benchmark::kMillisecond);
}

void registerRegistryBenchmarks(StoreTemplates& templates, const std::vector<std::uint64_t>& sizes,
                                const Scale& scale, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        for (std::uint64_t stored : sizes) registerRound(templates, stored, scale);
    }
}

}  // namespace bench
