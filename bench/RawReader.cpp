// The raw SQLite reading baseline as a program of its own: opens a raw store read-only (as a
// reading command opens a registry), reads every row of both tables in _id order and scans its
// identity and data as JSON to nothing. The reading table runs it as it runs each command, so
// that both sides pay a process's start, the opening of the file and a cold page cache.
//
//   scm_raw_reader STORE     prints "<N> entries"; exit 0 when every row scanned
#include <cstdio>

#include "RawSqliteStore.hpp"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: scm_raw_reader STORE\n");
        return 2;
    }
    bench::RawSqliteStore store(argv[1], bench::RawSqliteStore::Access::Read);
    const std::size_t scanned = store.scanAllEntries();
    std::printf("%zu entries\n", scanned);
    return scanned > 0 ? 0 : 1;
}
