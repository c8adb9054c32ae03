#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/postgres/PgConnection.hpp"
#include "vrex/internal/postgres/PostgresNames.hpp"
#include "vrex/internal/session/SchemaStorage.hpp"

namespace vrex::internal {

// The tables of a registry in a PostgreSQL database, derived from a metamodel like those of a
// registry file (see SqliteSchema): in the schema PostgresNames gives, one table per class
// ("_id" bigint identity column and primary key, one bytea column per property), an index per
// indexed property,
// and the registry's own "_vrex_registry" (header) and "_vrex_catalogue" tables.
//
// A database becomes a registry only when it holds no tables at all: a database with tables of
// its own and no registry header is refused, untouched.
class PostgresSchema : private SchemaStorage {
public:
    PostgresSchema(PgConnection& connection, const Metamodel& metamodel, const PostgresNames& names,
                   const std::string& location);

    // Makes the database ready for the metamodel: looks in a read-only transaction first, then,
    // when something must be added, adds it under the registry's lock after looking again.
    // When `readOnly` nothing is added: a registry that lacks parts opens as it is (reading a
    // missing table fails then), a database without a registry is refused. False with
    // "vrex:open:..." diagnostics; nothing is then changed.
    bool prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics);

    // The parts of the metamodel the registry's tables lack (each one line), for an integrity
    // check. False with lastError() when the tables cannot be read.
    bool findMissingParts(std::vector<std::string>& findings);
    // The registry's tables whose primary key is gone or whose columns changed type (each one
    // line). False with lastError() when the schema cannot be read.
    bool findAlteredParts(std::vector<std::string>& findings);
    // The tables, indexes (primary keys aside), triggers and views of the registry's schema that
    // the registry does not make, for an integrity check (see findForeignParts). False with
    // lastError() when the schema cannot be read.
    bool findForeignParts(std::vector<std::string>& findings);

private:
    bool checkNameLengths(tvdiag::util::diagnostics& diagnostics) const;
    bool giveIdsFromServer(tvdiag::util::diagnostics& diagnostics);
    // The tables of the metamodel's classes whose "_id" is no identity column.
    bool findTablesWithoutIdentity(std::vector<const ClassInfo*>& tables, tvdiag::util::diagnostics& diagnostics);
    bool begin(bool writeLock, const std::string& failure, tvdiag::util::diagnostics& diagnostics) override;
    bool commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) override;
    void rollback() override;
    bool readLayout(bool& hasHeader, bool& hasTables, tvdiag::util::diagnostics& diagnostics) override;
    std::string notARegistryReason() const override;
    bool readHeader(std::string& format, std::string& version, tvdiag::util::diagnostics& diagnostics) override;
    bool readCatalogue(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) override;
    bool dropWhatIsGone(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) override;
    // Runs two queries that take the schema's name as $1, the second only when the first
    // succeeded; false unless both did.
    bool querySchema(const char* firstSql, const char* secondSql, PgResult& first, PgResult& second);
    bool createHeader(tvdiag::util::diagnostics& diagnostics) override;
    bool createTable(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics) override;
    bool addColumn(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    bool addIndex(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    bool record(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) override;
    // Runs one statement; false with a "vrex:open:serverError" diagnostic.
    bool run(const std::string& sql, const std::string& action, tvdiag::util::diagnostics& diagnostics,
             const PgParams& params = PgParams());
    void reportFailure(const std::string& action, tvdiag::util::diagnostics& diagnostics) const;

    PgConnection& connection_;
    const Metamodel& metamodel_;
    const PostgresNames& names_;
    const std::string& location_;
};

}  // namespace vrex::internal
