#pragma once

#include <cstdint>
#include <string>

namespace bench {

// Prepared stores of a given number of entries, made once and kept in a work directory across
// runs: a library registry file and a raw-SQLite baseline file with the same rows (see
// Workload.hpp). A benchmark that writes takes a fresh copy of one.
class StoreTemplates {
public:
    // `workDirectory` is created when missing.
    explicit StoreTemplates(std::string workDirectory);

    // The registry file holding `entries` entries, made through the library when missing.
    std::string libraryStore(std::uint64_t entries);
    // The baseline file holding the same rows, made with raw SQLite when missing.
    std::string rawStore(std::uint64_t entries);
    // Copies `store` to the work file `name` (replacing it) and returns the copy's path.
    std::string workCopy(const std::string& store, const std::string& name);
    const std::string& directory() const { return directory_; }

private:
    std::string path(const std::string& name) const;

    std::string directory_;
};

}  // namespace bench
