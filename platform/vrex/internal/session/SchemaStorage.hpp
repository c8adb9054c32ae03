#pragma once

#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/session/SchemaPlan.hpp"

namespace vrex::internal {

// One engine's side of preparing a registry's schema (see SchemaPreparation): its transactions
// and its reads of the header and the catalogue, besides the steps that build the schema. Every
// operation that takes diagnostics returns false with one, saying "<failure>" or its own action,
// when the engine refuses.
class SchemaStorage : public SchemaSteps {
public:
    // Begins a transaction that sees one state of the storage; with `writeLock` it also holds
    // the registry's write lock until it ends.
    virtual bool begin(bool writeLock, const std::string& failure, tvdiag::util::diagnostics& diagnostics) = 0;
    virtual bool commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) = 0;
    // Rolls back what begin opened, unless the engine has ended it already.
    virtual void rollback() = 0;

    // Whether the storage holds the registry header table, and whether it holds any table at all.
    virtual bool readLayout(bool& hasHeader, bool& hasTables, tvdiag::util::diagnostics& diagnostics) = 0;
    // Why storage with tables and no header is not a registry: the end of the message
    // `"<location>" is not a registry<reason>`.
    virtual std::string notARegistryReason() const = 0;
    // The header's "format" and "formatVersion" values (empty when absent).
    virtual bool readHeader(std::string& format, std::string& version, tvdiag::util::diagnostics& diagnostics) = 0;
    virtual bool readCatalogue(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) = 0;
    // Forgets from `catalogue` what the storage no longer holds (see keepWhatExists).
    virtual bool dropWhatIsGone(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) = 0;
};

}  // namespace vrex::internal
