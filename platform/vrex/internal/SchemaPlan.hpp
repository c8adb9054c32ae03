#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/Metamodel.hpp"

namespace vrex::internal {

// What a registry's catalogue says it holds: class -> property -> kind and index, names in
// lower case (registries compare names ignoring ASCII case).
struct StoredProperty {
    std::string kind;
    bool indexed = false;
};
using Catalogue = std::map<std::string, std::map<std::string, StoredProperty>>;

// What a registry lacks of a metamodel, to be added when it is opened: every engine keeps the
// same catalogue and extends its schema by the same rules.
struct SchemaPlan {
    bool createHeader = false;
    std::vector<const ClassInfo*> newTables;
    std::vector<const PropertyInfo*> newColumns;
    std::vector<const PropertyInfo*> newIndexes;

    bool empty() const {
        return !createHeader && newTables.empty() && newColumns.empty() && newIndexes.empty();
    }

    // Adds to the plan what `catalogue` lacks of `metamodel`. False with a
    // "vrex:open:metamodelMismatch" diagnostic per property whose stored kind differs.
    bool compare(const Metamodel& metamodel, const Catalogue& catalogue, const std::string& location,
                 tvdiag::util::diagnostics& diagnostics);
};

// Drops from `catalogue` the tables and columns the storage does not hold (`columns`: lower-case
// table -> its lower-case columns), and marks as unindexed the properties whose index is gone
// (`indexes`: lower-case "index:<class>.<property>"), so that what was removed behind the
// registry's back is made again like any part it lacks.
void keepWhatExists(Catalogue& catalogue, const std::map<std::string, std::set<std::string>>& columns,
                    const std::set<std::string>& indexes);

}  // namespace vrex::internal
