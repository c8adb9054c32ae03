#pragma once

#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/SchemaPlan.hpp"
#include "vrex/internal/session/SchemaStorage.hpp"

namespace vrex::internal {

// How every engine makes a registry ready for a metamodel: look without the write lock, and
// when something must be added, lock, look again, add it and commit. The engine runs the
// statements (SchemaStorage); the checks of the header and the catalogue are the same for all.
class SchemaPreparation {
public:
    // Stored in every registry: never change.
    static constexpr const char* kFormat = "vrex dictionary registry";
    static constexpr int kFormatVersion = 1;

    // Refers to all three; they must outlive it. `location` names the registry in messages.
    SchemaPreparation(SchemaStorage& storage, const Metamodel& metamodel, const std::string& location);

    // Verifies the storage is a registry and creates or extends its schema. When `readOnly`
    // nothing is added: a registry that lacks parts opens as it is, storage without a registry
    // is refused. False with "vrex:open:..." diagnostics; nothing is then changed.
    bool prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics);

    // Adds to `plan` what the storage lacks of the metamodel, inside the caller's transaction.
    // False with diagnostics when the storage is not a registry of a fitting format or metamodel.
    bool inspect(SchemaPlan& plan, tvdiag::util::diagnostics& diagnostics);

    // Adds a line to `findings` for each part of the metamodel the storage lacks (see
    // describeInspection); `failure` is the identifier of the engine's read errors.
    bool findMissingParts(const char* failure, std::vector<std::string>& findings);

private:
    bool inspectHeader(SchemaPlan& plan, tvdiag::util::diagnostics& diagnostics);

    SchemaStorage& storage_;
    const Metamodel& metamodel_;
    const std::string& location_;
};

}  // namespace vrex::internal
