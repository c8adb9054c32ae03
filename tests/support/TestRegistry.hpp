#pragma once

// Where one test's registry lives, for as long as the object lives: a file in a temporary
// directory of its own on SQLite; a fresh database on the tests' PostgreSQL server (created here,
// dropped with its connections at the end) in the PostgreSQL variant. Tests open location()
// exactly as they would open a file path.

#include <memory>
#include <string>

#include "support/TempDir.hpp"

namespace scm_test {

class TestRegistry {
public:
    // On SQLite `sqliteLocation` as given (a path in the caller's own directory, possibly relative
    // to the directory the registry is opened from), or when empty a file in a temporary directory
    // of its own. Throws when the PostgreSQL database cannot be created.
    explicit TestRegistry(std::string sqliteLocation = "");
    ~TestRegistry();
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    // The path or URI to hand to DataModelRepository::open, the facades and the scm tool.
    const std::string& location() const { return location_; }

private:
    std::unique_ptr<TempDir> directory_;  // SQLite only
    std::string database_;                // PostgreSQL only
    std::string location_;
};

// A registry's whole content as one string, to compare registries or one registry over time: per
// category in value order, one line per entry in store order: the category, then the identity's
// and the record's whole-object encodings. Opens (and so creates) the registry.
std::string registryDump(const std::string& location);

}  // namespace scm_test
