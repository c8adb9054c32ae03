#include "vrex/internal/session/SchemaPreparation.hpp"

#include "vrex/internal/session/SchemaTransaction.hpp"

namespace vrex::internal {

SchemaPreparation::SchemaPreparation(SchemaStorage& storage, const Metamodel& metamodel,
                                     const std::string& location)
    : storage_(storage), metamodel_(metamodel), location_(location) {}

bool SchemaPreparation::prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics) {
    SchemaPlan plan;
    {
        // Look first without the write lock: an up-to-date registry (the usual case) needs no more.
        SchemaTransaction reading(storage_, false, "cannot read the schema", diagnostics);
        if (!reading.begun() || !inspect(plan, diagnostics)) return false;
    }
    if (plan.empty()) return true;
    if (readOnly && plan.createHeader) {
        diagnostics.add("vrex:open:notFound",
                        "cannot open \"" + location_ + "\" for reading: it is not a registry yet");
        return false;
    }
    if (readOnly) return true;  // reads what is there; checkIntegrity names what is missing
    // Another process may have extended the registry meanwhile: look again under the write lock.
    SchemaTransaction writing(storage_, true, "cannot lock the registry to extend its schema", diagnostics);
    if (!writing.begun()) return false;
    plan = SchemaPlan();
    return inspect(plan, diagnostics) && plan.apply(storage_, diagnostics) &&
           writing.commit("cannot commit the schema", diagnostics);
}

bool SchemaPreparation::inspect(SchemaPlan& plan, tvdiag::util::diagnostics& diagnostics) {
    if (!inspectHeader(plan, diagnostics)) return false;
    if (plan.createHeader) {
        plan.newTables = metamodel_.classes();
        return true;
    }
    Catalogue catalogue;
    return storage_.readCatalogue(catalogue, diagnostics) && storage_.dropWhatIsGone(catalogue, diagnostics) &&
           plan.compare(metamodel_, catalogue, location_, diagnostics);
}

bool SchemaPreparation::findMissingParts(const char* failure, std::vector<std::string>& findings) {
    SchemaPlan plan;
    tvdiag::util::diagnostics problems;
    const bool inspected = inspect(plan, problems);
    return describeInspection(inspected, plan, problems, failure, findings);
}

// Storage without the header table is new when it holds no tables at all (or its making was cut
// short), and another program's otherwise.
bool SchemaPreparation::inspectHeader(SchemaPlan& plan, tvdiag::util::diagnostics& diagnostics) {
    bool hasHeader = false;
    bool hasTables = false;
    if (!storage_.readLayout(hasHeader, hasTables, diagnostics)) return false;
    if (!hasHeader) {
        if (!hasTables) {
            plan.createHeader = true;
            return true;
        }
        diagnostics.add("vrex:open:notARegistry",
                        "\"" + location_ + "\" is not a registry" + storage_.notARegistryReason());
        return false;
    }
    std::string format;
    std::string version;
    if (!storage_.readHeader(format, version, diagnostics)) return false;
    if (format != kFormat) {
        diagnostics.add("vrex:open:notARegistry", "\"" + location_ + "\" is not a registry (unknown header)");
        return false;
    }
    if (version != std::to_string(kFormatVersion)) {
        diagnostics.add("vrex:open:unsupportedFormat",
                        "the registry \"" + location_ + "\" has the format version " + version +
                            "; this program reads version " + std::to_string(kFormatVersion));
        return false;
    }
    return true;
}

}  // namespace vrex::internal
