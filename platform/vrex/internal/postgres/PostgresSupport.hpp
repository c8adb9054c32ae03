#pragma once

#include <memory>
#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/RepositoryOptions.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/Driver.hpp"

namespace vrex::internal {

// Registries on a PostgreSQL server, as the platform reaches them. The engine (and libpq with the
// dozens of libraries it needs) lives in a library of its own, libscm_platform_postgres, loaded
// the first time a postgresql:// location is opened or named: a process that only opens registry
// files neither loads it nor needs it installed.
struct PostgresSupport {
    // Connects to the database `uri` names and readies its registry schema for `metamodel`. Null
    // with diagnostics when that fails; no message holds the URI's password.
    std::unique_ptr<Driver> (*open)(const std::string& uri, const Metamodel& metamodel,
                                    const RepositoryOptions& options, tvdiag::util::diagnostics& diagnostics);
    // `uri` with its secrets replaced by "***".
    std::string (*redacted)(const std::string& uri);
};

// Whether `location` names a PostgreSQL database (postgresql://... or postgres://...) rather than
// a registry file.
bool namesPostgresDatabase(const std::string& location);

// The engine, loaded once from beside the platform library (or else by the loader's search path).
// Null, with the loader's reason in `error`, when it cannot be loaded.
const PostgresSupport* postgresSupport(std::string& error);

}  // namespace vrex::internal

// The engine library's one entry point, found by name.
extern "C" const vrex::internal::PostgresSupport* scm_postgres_support();
