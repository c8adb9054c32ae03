#include "vrex/internal/postgres/PostgresSchema.hpp"

#include <map>
#include <set>

#include "vrex/internal/session/SchemaPreparation.hpp"

namespace vrex::internal {

namespace {

const char* const kReadOnlyBegin = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";

}  // namespace

PostgresSchema::PostgresSchema(PgConnection& connection, const Metamodel& metamodel,
                               const PostgresNames& names, const std::string& location)
    : connection_(connection), metamodel_(metamodel), names_(names), location_(location) {}

bool PostgresSchema::prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics) {
    return checkNameLengths(diagnostics) &&
           SchemaPreparation(*this, metamodel_, location_).prepare(readOnly, diagnostics);
}

bool PostgresSchema::findMissingParts(std::vector<std::string>& findings) {
    return SchemaPreparation(*this, metamodel_, location_).findMissingParts("vrex:open:serverError", findings);
}

// Types and primary keys a writable opening does not make again: "_id" bigint and the primary
// key, every property column bytea.
bool PostgresSchema::findAlteredParts(std::vector<std::string>& findings) {
    PgResult types;
    PgResult keyed;
    if (!querySchema("SELECT table_name::text, column_name::text, data_type::text FROM information_schema.columns "
                     "WHERE table_schema = $1::text",
                     "SELECT t.relname::text FROM pg_catalog.pg_index AS i "
                     "JOIN pg_catalog.pg_class AS t ON t.oid = i.indrelid "
                     "JOIN pg_catalog.pg_namespace AS n ON n.oid = t.relnamespace "
                     "WHERE n.nspname = $1::text AND i.indisprimary",
                     types, keyed)) {
        return false;
    }
    std::map<std::string, std::map<std::string, std::string>> typeOf;
    for (int row = 0; row < types.rows(); ++row) typeOf[types.bytes(row, 0)][types.bytes(row, 1)] = types.bytes(row, 2);
    std::set<std::string> withKey;
    for (int row = 0; row < keyed.rows(); ++row) withKey.insert(keyed.bytes(row, 0));
    for (const ClassInfo* cls : metamodel_.classes()) {
        auto table = typeOf.find(PostgresNames::table(*cls));
        if (table == typeOf.end()) continue;  // missing: findMissingParts names it
        const auto expect = [&](const std::string& column, const std::string& wanted, const std::string& what) {
            auto found = table->second.find(column);
            if (found == table->second.end() || found->second == wanted) return;
            findings.push_back("the column of " + what + " is of type " + found->second + ", not " + wanted);
        };
        expect("_id", "bigint", cls->name + "._id");
        for (const auto& property : cls->properties) {
            expect(PostgresNames::column(*property), "bytea", cls->name + "." + property->name);
        }
        if (withKey.count(table->first) == 0) findings.push_back("the table of " + cls->name + " has no primary key");
    }
    return true;
}

bool PostgresSchema::findForeignParts(std::vector<std::string>& findings) {
    Catalogue catalogue;
    tvdiag::util::diagnostics ignored;  // the connection keeps the error for its caller
    if (!readCatalogue(catalogue, ignored)) return false;
    PgResult rows = connection_.query(
        "SELECT CASE c.relkind WHEN 'i' THEN 'index' WHEN 'I' THEN 'index' WHEN 'v' THEN 'view' "
        "WHEN 'm' THEN 'view' WHEN 'S' THEN 'sequence' ELSE 'table' END, c.relname::text, "
        "coalesce(t.relname, c.relname)::text "
        "FROM pg_catalog.pg_class AS c JOIN pg_catalog.pg_namespace AS n ON n.oid = c.relnamespace "
        "LEFT JOIN pg_catalog.pg_index AS i ON i.indexrelid = c.oid "
        "LEFT JOIN pg_catalog.pg_class AS t ON t.oid = i.indrelid "
        "WHERE n.nspname = $1::text AND c.relkind IN ('r', 'p', 'f', 'v', 'm', 'S', 'i', 'I') "
        "AND NOT coalesce(i.indisprimary, false) "
        "UNION ALL SELECT 'trigger', g.tgname::text, t.relname::text "
        "FROM pg_catalog.pg_trigger AS g JOIN pg_catalog.pg_class AS t ON t.oid = g.tgrelid "
        "JOIN pg_catalog.pg_namespace AS n ON n.oid = t.relnamespace "
        "WHERE n.nspname = $1::text AND NOT g.tgisinternal",
        PgParams().bytes(names_.schema()));
    if (!rows.ok()) return false;
    std::vector<SchemaObject> objects;
    for (int row = 0; row < rows.rows(); ++row) {
        objects.push_back({rows.bytes(row, 0), rows.bytes(row, 1), rows.bytes(row, 2)});
    }
    vrex::internal::findForeignParts(objects, catalogue, findings);
    return true;
}

bool PostgresSchema::checkNameLengths(tvdiag::util::diagnostics& diagnostics) const {
    std::vector<std::string> names = {names_.schema()};
    for (const ClassInfo* cls : metamodel_.classes()) {
        names.push_back(PostgresNames::table(*cls));
        for (const auto& property : cls->properties) {
            names.push_back(PostgresNames::column(*property));
            if (property->indexed) names.push_back(PostgresNames::index(*property));
        }
    }
    for (const std::string& name : names) {
        if (name.size() <= PostgresNames::kMaxIdentifierBytes) continue;
        diagnostics.add("vrex:open:nameTooLong",
                        "cannot open \"" + location_ + "\" with the metamodel \"" + metamodel_.file() +
                            "\": the name \"" + name + "\" is longer than PostgreSQL's " +
                            std::to_string(PostgresNames::kMaxIdentifierBytes) + " bytes");
        return false;
    }
    return true;
}

bool PostgresSchema::begin(bool writeLock, const std::string& failure, tvdiag::util::diagnostics& diagnostics) {
    if (connection_.exec(writeLock ? names_.lockingBegin() : kReadOnlyBegin)) return true;
    reportFailure(failure, diagnostics);
    return false;
}

bool PostgresSchema::commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) {
    if (connection_.exec("COMMIT")) return true;
    reportFailure(failure, diagnostics);
    return false;
}

void PostgresSchema::rollback() {
    if (connection_.isInTransaction()) connection_.exec("ROLLBACK");
}

// Counts the database's tables only when the registry schema lacks its header.
bool PostgresSchema::readLayout(bool& hasHeader, bool& hasTables, tvdiag::util::diagnostics& diagnostics) {
    PgResult header = connection_.query(
        "SELECT count(*) FROM pg_catalog.pg_tables WHERE schemaname = $1::text AND tablename = '_vrex_registry'",
        PgParams().bytes(names_.schema()));
    if (!header.ok()) {
        reportFailure("cannot read the schema", diagnostics);
        return false;
    }
    hasHeader = header.int64(0, 0) != 0;
    if (hasHeader) return true;
    PgResult tables = connection_.query(
        "SELECT count(*) FROM pg_catalog.pg_class AS c JOIN pg_catalog.pg_namespace AS n "
        "ON n.oid = c.relnamespace WHERE c.relkind IN ('r', 'p', 'v', 'm', 'f') "
        "AND n.nspname <> 'information_schema' AND n.nspname NOT LIKE 'pg\\_%'");
    if (!tables.ok()) {
        reportFailure("cannot read the schema", diagnostics);
        return false;
    }
    hasTables = tables.int64(0, 0) != 0;
    return true;
}

std::string PostgresSchema::notARegistryReason() const {
    return ": the database holds tables of its own and no registry schema \"" + names_.schema() + "\"";
}

bool PostgresSchema::readHeader(std::string& format, std::string& version, tvdiag::util::diagnostics& diagnostics) {
    PgResult rows = connection_.query("SELECT key, value FROM " + names_.registryTable() +
                                      " WHERE key IN ('format', 'formatVersion')");
    if (!rows.ok()) {
        reportFailure("cannot read the registry header", diagnostics);
        return false;
    }
    for (int row = 0; row < rows.rows(); ++row) {
        (rows.bytes(row, 0) == "format" ? format : version) = rows.bytes(row, 1);
    }
    return true;
}

bool PostgresSchema::readCatalogue(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) {
    PgResult rows = connection_.query("SELECT class, property, kind, indexed FROM " + names_.catalogueTable());
    if (!rows.ok()) {
        reportFailure("cannot read the registry catalogue", diagnostics);
        return false;
    }
    for (int row = 0; row < rows.rows(); ++row) {
        StoredProperty& stored = catalogue[asciiLowercase(rows.bytes(row, 0))][asciiLowercase(rows.bytes(row, 1))];
        stored.kind = rows.bytes(row, 2);
        stored.indexed = rows.boolean(row, 3);
    }
    return true;
}

// Forgets from `catalogue` what the database no longer holds (see keepWhatExists).
bool PostgresSchema::dropWhatIsGone(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) {
    PgResult columnRows;
    PgResult indexRows;
    if (!querySchema("SELECT table_name::text, column_name::text FROM information_schema.columns "
                     "WHERE table_schema = $1::text",
                     "SELECT indexname::text FROM pg_catalog.pg_indexes WHERE schemaname = $1::text", columnRows,
                     indexRows)) {
        reportFailure("cannot read the registry's tables", diagnostics);
        return false;
    }
    std::map<std::string, std::set<std::string>> columns;
    for (int row = 0; row < columnRows.rows(); ++row) {
        columns[asciiLowercase(columnRows.bytes(row, 0))].insert(asciiLowercase(columnRows.bytes(row, 1)));
    }
    std::set<std::string> indexes;
    for (int row = 0; row < indexRows.rows(); ++row) indexes.insert(asciiLowercase(indexRows.bytes(row, 0)));
    keepWhatExists(catalogue, columns, indexes);
    return true;
}

bool PostgresSchema::querySchema(const char* firstSql, const char* secondSql, PgResult& first, PgResult& second) {
    const PgParams schema = PgParams().bytes(names_.schema());
    first = connection_.query(firstSql, schema);
    if (first.ok()) second = connection_.query(secondSql, schema);
    return second.ok();
}

bool PostgresSchema::createHeader(tvdiag::util::diagnostics& diagnostics) {
    if (!run("CREATE SCHEMA IF NOT EXISTS " + names_.quotedSchema(), "cannot create the registry schema",
             diagnostics) ||
        !run("CREATE TABLE " + names_.registryTable() + " (key text PRIMARY KEY, value text NOT NULL)",
             "cannot create the registry header", diagnostics) ||
        !run("CREATE TABLE " + names_.catalogueTable() +
                 " (class text NOT NULL, property text NOT NULL, kind text NOT NULL, "
                 "indexed boolean NOT NULL, PRIMARY KEY (class, property))",
             "cannot create the registry catalogue", diagnostics)) {
        return false;
    }
    const std::string version = std::to_string(SchemaPreparation::kFormatVersion);
    const std::string description = metamodel_.description();
    const std::pair<std::string, const std::string*> rows[] = {
        {"format", nullptr},
        {"formatVersion", &version},
        {"metamodel", &description},
        {"metamodelFile", &metamodel_.file()},
    };
    const std::string format = SchemaPreparation::kFormat;
    for (const auto& [key, value] : rows) {
        if (!run("INSERT INTO " + names_.registryTable() + " (key, value) VALUES ($1::text, $2::text)",
                 "cannot write the registry header", diagnostics,
                 PgParams().bytes(key).bytes(value != nullptr ? *value : format))) {
            return false;
        }
    }
    return true;
}

bool PostgresSchema::createTable(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "CREATE TABLE " + names_.qualifiedTable(cls) + " (\"_id\" bigint PRIMARY KEY";
    for (const auto& property : cls.properties) sql += ", " + PostgresNames::quotedColumn(*property) + " bytea";
    sql += ")";
    return run(sql, "cannot create the table of " + cls.name, diagnostics);
}

bool PostgresSchema::addColumn(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "ALTER TABLE " + names_.qualifiedTable(*property.owner) + " ADD COLUMN " +
                      PostgresNames::quotedColumn(property) + " bytea";
    return run(sql, "cannot add the column " + property.owner->name + "." + property.name, diagnostics);
}

bool PostgresSchema::addIndex(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "CREATE INDEX IF NOT EXISTS " + quotedName(PostgresNames::index(property)) + " ON " +
                      names_.qualifiedTable(*property.owner) + " (" + PostgresNames::quotedColumn(property) + ")";
    return run(sql, "cannot index " + property.owner->name + "." + property.name, diagnostics);
}

bool PostgresSchema::record(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    const std::string cls = PostgresNames::table(*property.owner);
    const std::string name = PostgresNames::column(property);
    const std::string kind = propertyKindText(property.kind);
    return run("INSERT INTO " + names_.catalogueTable() +
                   " (class, property, kind, indexed) VALUES ($1::text, $2::text, $3::text, $4::bigint <> 0) "
                   "ON CONFLICT (class, property) DO UPDATE SET kind = EXCLUDED.kind, indexed = EXCLUDED.indexed",
               "cannot record " + property.owner->name + "." + property.name, diagnostics,
               PgParams().bytes(cls).bytes(name).bytes(kind).int64(property.indexed ? 1 : 0));
}

bool PostgresSchema::run(const std::string& sql, const std::string& action,
                         tvdiag::util::diagnostics& diagnostics, const PgParams& params) {
    const bool ran = params.count() == 0 ? connection_.exec(sql) : connection_.query(sql, params).ok();
    if (ran) return true;
    reportFailure(action, diagnostics);
    return false;
}

void PostgresSchema::reportFailure(const std::string& action, tvdiag::util::diagnostics& diagnostics) const {
    diagnostics.add("vrex:open:serverError",
                    action + " in the registry \"" + location_ + "\": " + connection_.lastError());
}

}  // namespace vrex::internal
