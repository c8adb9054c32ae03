#pragma once

#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/SchemaStorage.hpp"
#include "vrex/internal/sqlite/Connection.hpp"

namespace vrex::internal {

// The tables of a registry file, derived from a metamodel: one table per class ("_id" INTEGER
// PRIMARY KEY, then one TEXT column per property), an index per indexed property, and two tables
// of the registry's own:
//   "_vrex_registry"  (key, value): marks the file as a registry: "format", "formatVersion", and
//                     the metamodel the file was made with ("metamodel" holds its one-line
//                     description, "metamodelFile" its path then);
//   "_vrex_catalogue" (class, property, kind, indexed): every class and property the file holds.
// On a file made with another metamodel, missing classes, properties and indexes are added;
// others are kept; a property whose kind differs is refused. A table, column or index that the
// catalogue lists but the file lacks (dropped by another program) counts as missing too.
class SqliteSchema : private SchemaStorage {
public:
    SqliteSchema(Connection& connection, const Metamodel& metamodel);

    // For a file that was absent or empty: stamps it as a registry (PRAGMA application_id) under
    // the write lock, before anything else is written. False with "vrex:open:notARegistry" when
    // another program has made it a database of its own meanwhile.
    bool stampNewFile(tvdiag::util::diagnostics& diagnostics);

    // Makes the file ready for the metamodel: verifies it is a registry, creates or extends its
    // tables. When `readOnly` nothing is added: a registry that lacks parts opens as it is
    // (reading a missing table fails then), a file without tables is refused. False with
    // diagnostics ("vrex:open:...") when the file cannot serve the metamodel; nothing is then
    // changed.
    bool prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics);

    // Adds a line to `findings` for each part of the metamodel the file lacks (see
    // SchemaPlan::describe). False with the connection's error when the schema cannot be read.
    bool findMissingParts(std::vector<std::string>& findings);

    // Adds a line to `findings` for each table, index, trigger and view of the file that the
    // registry does not make (see findForeignParts in SchemaPlan.hpp). False with the
    // connection's error when the schema cannot be read.
    bool findForeignParts(std::vector<std::string>& findings);

private:
    bool begin(bool writeLock, const std::string& failure, tvdiag::util::diagnostics& diagnostics) override;
    bool commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) override;
    void rollback() override;
    bool readLayout(bool& hasHeader, bool& hasTables, tvdiag::util::diagnostics& diagnostics) override;
    std::string notARegistryReason() const override;
    bool readHeader(std::string& format, std::string& version, tvdiag::util::diagnostics& diagnostics) override;
    bool readCatalogue(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) override;
    bool dropWhatIsGone(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) override;
    bool createHeader(tvdiag::util::diagnostics& diagnostics) override;
    bool createTable(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics) override;
    bool addColumn(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    bool addIndex(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    bool record(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    bool run(const std::string& sql, const std::string& action, tvdiag::util::diagnostics& diagnostics);
    // Reports a failed SQLite call: "vrex:open:damaged" when the file is corrupt.
    void reportFailure(int rc, const std::string& action, tvdiag::util::diagnostics& diagnostics);

    Connection& connection_;
    const Metamodel& metamodel_;
};

}  // namespace vrex::internal
