#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// What a registry's catalogue says it holds: class -> property -> kind and index, names in
// lower case (registries compare names ignoring ASCII case).
struct StoredProperty {
    std::string kind;
    bool indexed = false;
    bool recorded = true;  // false: a column the storage holds without its catalogue row
};
using Catalogue = std::map<std::string, std::map<std::string, StoredProperty>>;

// The statements that build a registry's schema on one engine. Each returns false with a
// diagnostic when the engine refuses.
class SchemaSteps {
public:
    virtual ~SchemaSteps() = default;
    // The registry header and catalogue.
    virtual bool createHeader(tvdiag::util::diagnostics& diagnostics) = 0;
    // The table of `cls` with a column per property, without indexes.
    virtual bool createTable(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics) = 0;
    virtual bool addColumn(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) = 0;
    virtual bool addIndex(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) = 0;
    // Writes the catalogue row of `property`, replacing an older one.
    virtual bool record(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) = 0;
};

// What a registry lacks of a metamodel, to be added when it is opened: every engine keeps the
// same catalogue and extends its schema by the same rules.
struct SchemaPlan {
    bool createHeader = false;
    std::vector<const ClassInfo*> newTables;
    std::vector<const PropertyInfo*> newColumns;
    std::vector<const PropertyInfo*> newIndexes;
    std::vector<const PropertyInfo*> newRecords;  // columns that lost their catalogue row

    bool empty() const {
        return !createHeader && newTables.empty() && newColumns.empty() && newIndexes.empty() &&
               newRecords.empty();
    }

    // Adds to the plan what `catalogue` lacks of `metamodel`. False with a
    // "vrex:open:metamodelMismatch" diagnostic per property whose stored kind differs.
    bool compare(const Metamodel& metamodel, const Catalogue& catalogue, const std::string& location,
                 tvdiag::util::diagnostics& diagnostics);

    // Adds what the plan lists, each new property with its index (when indexed) and its
    // catalogue row. False at the first step that fails.
    bool apply(SchemaSteps& steps, tvdiag::util::diagnostics& diagnostics) const;

    // Adds one line per part the plan lists to `findings` ("the index of C.p is missing").
    void describe(std::vector<std::string>& findings) const;
    // The lines describe() adds for the table of `cls` and for the column of `property`.
    static std::string missingTable(const ClassInfo& cls);
    static std::string missingColumn(const PropertyInfo& property);
};

// Adds to `findings` what an inspection of the storage found: the parts `plan` lists when
// `inspected`, else the messages of `problems` (a header or catalogue the metamodel does not
// fit). False when one of `problems` is `failure`: the storage could not be read at all.
bool describeInspection(bool inspected, const SchemaPlan& plan, const tvdiag::util::diagnostics& problems,
                        const std::string& failure, std::vector<std::string>& findings);

// Drops from `catalogue` the tables and columns the storage does not hold (`columns`: lower-case
// table -> its lower-case columns), and marks as unindexed the properties whose index is gone
// (`indexes`: lower-case "index:<class>.<property>"), so that what was removed behind the
// registry's back is made again like any part it lacks. A column the storage holds without a
// catalogue row is added as not `recorded`: its row is written again, the column kept.
void keepWhatExists(Catalogue& catalogue, const std::map<std::string, std::set<std::string>>& columns,
                    const std::set<std::string>& indexes);

// A table, index, trigger or view as the storage lists it: its kind in SQLite's words ("table",
// "index", "trigger", "view"), its name and the table it belongs to.
struct SchemaObject {
    std::string type;
    std::string name;
    std::string table;
};

// Adds to `findings` one line for each of `objects` that a registry with `catalogue` (as stored,
// see readCatalogue) does not make: its header and catalogue tables, a table per class and the
// index "index:<class>.<property>" of a property. Names compare ignoring ASCII case. A line reads
// `trigger "x" on table "T" is not part of the registry's schema`.
void findForeignParts(const std::vector<SchemaObject>& objects, const Catalogue& catalogue,
                      std::vector<std::string>& findings);

}  // namespace vrex::internal
