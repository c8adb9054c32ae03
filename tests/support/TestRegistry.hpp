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
    // `fileName` names the SQLite file inside the temporary directory. Throws when the
    // PostgreSQL database cannot be created.
    explicit TestRegistry(const std::string& fileName = "registry.reg");
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

}  // namespace scm_test
