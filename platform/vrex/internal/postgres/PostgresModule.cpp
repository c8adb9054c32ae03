// The entry point of libscm_platform_postgres, which the platform loads on first use.

#include "vrex/internal/postgres/PostgresDriver.hpp"
#include "vrex/internal/postgres/PostgresSupport.hpp"
#include "vrex/internal/postgres/PostgresUri.hpp"

namespace {

std::unique_ptr<vrex::internal::Driver> openDriver(const std::string& uri, const vrex::internal::Metamodel& metamodel,
                                                   const vrex::RepositoryOptions& options,
                                                   tvdiag::util::diagnostics& diagnostics) {
    return vrex::internal::PostgresDriver::open(uri, metamodel, options, diagnostics);
}

std::string redacted(const std::string& uri) { return vrex::internal::PostgresUri(uri).redacted(); }

}  // namespace

extern "C" const vrex::internal::PostgresSupport* scm_postgres_support() {
    static const vrex::internal::PostgresSupport support{&openDriver, &redacted};
    return &support;
}
