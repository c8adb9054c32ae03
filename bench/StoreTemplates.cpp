#include "StoreTemplates.hpp"

#include <cstdio>
#include <filesystem>

#include "LibraryEntries.hpp"
#include "RawSqliteStore.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "Workload.hpp"

namespace bench {

namespace fs = std::filesystem;

namespace {

// Entries per transaction while a store is filled: bounds the write-ahead log.
constexpr std::uint64_t kFillTransaction = 10000;

void reportProgress(const char* what, std::uint64_t done, std::uint64_t total) {
    if (total >= 100000 && done % 100000 == 0) {
        std::fprintf(stderr, "  %s: %llu of %llu entries\n", what,
                     static_cast<unsigned long long>(done), static_cast<unsigned long long>(total));
    }
}

void removeWithJournal(const std::string& file) {
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file + suffix);
}

template <typename Identity, typename Data>
void registerEntry(SCM::SharedCodeManagerInterface& registry, const Identity& identity,
                   const Data& data) {
    if (registry.registerDataInTransaction(identity.get(), data.get()) != SCM::IS_REGISTERED) {
        std::fprintf(stderr, "cannot fill the benchmark registry\n");
        std::abort();
    }
}

void fillLibraryFunctions(SCM::SharedCodeManagerInterface& registry, std::uint64_t count) {
    SCM::SCMDataAdapter* adapter = registry.getDataAdapter();
    adapter->beginTransaction();
    for (std::uint64_t i = 0; i < count; ++i) registerEntry(registry, functionIdentity(i), functionData(i));
    adapter->endTransaction();
}

// Registers utilities first..end-1 through the library into the registry `file`, in explicit
// transactions of kFillTransaction entries.
void fillLibraryStore(const std::string& file, std::uint64_t first, std::uint64_t end) {
    SCM::SharedCodeManagerInterface registry(file);
    SCM::SCMDataAdapter* adapter = registry.getDataAdapter();
    for (std::uint64_t i = first; i < end; i += kFillTransaction) {
        adapter->beginTransaction();
        for (std::uint64_t j = i; j < end && j < i + kFillTransaction; ++j) {
            registerEntry(registry, utilityIdentity(j), utilityData(j));
            reportProgress("library store", j + 1, end);
        }
        adapter->endTransaction();
    }
}

void fillRawStore(const std::string& file, std::uint64_t entries) {
    RawSqliteStore store(file);
    for (std::uint64_t i = 0; i < entries; i += kFillTransaction) {
        store.begin();
        for (std::uint64_t j = i; j < entries && j < i + kFillTransaction; ++j) {
            store.insertIfAbsent(RawSqliteStore::Utilities, rawUtilityRow(j));
            reportProgress("raw SQLite store", j + 1, entries);
        }
        store.commit();
    }
    store.begin();
    for (std::uint64_t i = 0; i < listedEntries(entries); ++i) {
        store.insertIfAbsent(RawSqliteStore::Functions, rawFunctionRow(i));
    }
    store.commit();
}

}  // namespace

StoreTemplates::StoreTemplates(std::string workDirectory) : directory_(std::move(workDirectory)) {
    fs::create_directories(directory_);
}

std::string StoreTemplates::path(const std::string& name) const {
    return (fs::path(directory_) / name).string();
}

std::string StoreTemplates::libraryStore(std::uint64_t entries) {
    const std::string file = path("library-" + std::to_string(entries) + ".registry");
    if (fs::exists(file)) return file;
    std::fprintf(stderr, "preparing a registry of %llu entries\n",
                 static_cast<unsigned long long>(entries));
    const std::string partial = file + ".partial";
    removeWithJournal(partial);
    fillLibraryStore(partial, 0, entries);
    {
        SCM::SharedCodeManagerInterface registry(partial);
        fillLibraryFunctions(registry, listedEntries(entries));
    }
    fs::rename(partial, file);  // closed: the log was checkpointed and removed
    return file;
}

std::string StoreTemplates::rawStore(std::uint64_t entries) {
    const std::string file = path("raw-" + std::to_string(entries) + ".sqlite");
    if (fs::exists(file)) return file;
    std::fprintf(stderr, "preparing a raw SQLite store of %llu rows\n",
                 static_cast<unsigned long long>(entries));
    const std::string partial = file + ".partial";
    removeWithJournal(partial);
    fillRawStore(partial, entries);
    fs::rename(partial, file);
    return file;
}

std::string StoreTemplates::workCopy(const std::string& store, const std::string& name) {
    const std::string copy = path(name);
    removeWithJournal(copy);
    fs::copy_file(store, copy, fs::copy_options::overwrite_existing);
    return copy;
}

}  // namespace bench
