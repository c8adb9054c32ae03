#pragma once

#include <memory>
#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/RepositoryOptions.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/Driver.hpp"
#include "vrex/internal/session/RepositoryObjects.hpp"
#include "vrex/internal/session/TransactionState.hpp"

namespace vrex::internal {

// An open repository: its storage driver, its metamodel, its transaction state and its objects.
// DataModelRepository holds one while open and calls transactions() and objects() for its
// operations; the rules live there, the driver runs the statements.
class RepositorySession {
public:
    // Takes over `driver`, open on a registry made ready for `metamodel`.
    RepositorySession(std::unique_ptr<Driver> driver, std::shared_ptr<const Metamodel> metamodel,
                      const RepositoryOptions& options);
    ~RepositorySession();
    RepositorySession(const RepositorySession&) = delete;
    RepositorySession& operator=(const RepositorySession&) = delete;

    const std::string& file() const { return driver_->location(); }
    const std::shared_ptr<const Metamodel>& metamodel() const { return metamodel_; }
    bool isClosed() const { return !driver_->isOpen(); }
    // Rolls back what is open and closes the file.
    void close();

    TransactionState& transactions() { return transactions_; }
    const TransactionState& transactions() const { return transactions_; }
    RepositoryObjects& objects() { return objects_; }

    // DataModelRepository::checkIntegrity on an open registry.
    // `forDamage`: also the engine's search for damage.
    void checkIntegrity(tvdiag::util::diagnostics& diagnostics, bool forDamage);
    // DataModelRepository::holdsClass on an open registry.
    bool holdsClass(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);

private:
    std::shared_ptr<const Metamodel> metamodel_;  // before the driver: it may refer to it
    std::unique_ptr<Driver> driver_;
    RepositoryObjects objects_;  // refers to transactions_, built after it
    TransactionState transactions_;
};

}  // namespace vrex::internal
