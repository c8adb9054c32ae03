#include "vrex/internal/sqlite/SqliteSchema.hpp"

#include <sqlite3.h>

#include <set>

#include "vrex/internal/session/SchemaPreparation.hpp"
#include "vrex/internal/session/SchemaTransaction.hpp"
#include "vrex/internal/sqlite/RegistryFileProbe.hpp"
#include "vrex/internal/sqlite/SqliteNames.hpp"
#include "vrex/internal/sqlite/Statement.hpp"

namespace vrex::internal {

SqliteSchema::SqliteSchema(Connection& connection, const Metamodel& metamodel)
    : connection_(connection), metamodel_(metamodel) {}

bool SqliteSchema::stampNewFile(tvdiag::util::diagnostics& diagnostics) {
    SchemaTransaction writing(*this, true, "cannot lock the new registry", diagnostics);
    if (!writing.begun()) return false;
    std::string stamp;
    std::string objects;
    int rc = connection_.queryText("PRAGMA application_id", stamp);
    if (rc == SQLITE_OK) rc = connection_.queryText("SELECT count(*) FROM sqlite_master", objects);
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot read the new registry", diagnostics);
        return false;
    }
    const std::string ours = std::to_string(RegistryFileProbe::kApplicationId);
    if (stamp == ours) return true;  // another process made it a registry first
    if (stamp != "0" || objects != "0") {
        diagnostics.add("vrex:open:notARegistry",
                        "\"" + connection_.file() + "\" became a database of another program");
        return false;
    }
    rc = connection_.exec("PRAGMA application_id = " + ours);
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot make the new registry", diagnostics);
        return false;
    }
    return writing.commit("cannot make the new registry", diagnostics);
}

bool SqliteSchema::prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics) {
    return SchemaPreparation(*this, metamodel_, connection_.file()).prepare(readOnly, diagnostics);
}

// Inside an open transaction the BEGIN fails harmlessly and the reads share that transaction.
bool SqliteSchema::findMissingParts(std::vector<std::string>& findings) {
    tvdiag::util::diagnostics ignored;
    SchemaTransaction reading(*this, false, "", ignored);
    return SchemaPreparation(*this, metamodel_, connection_.file()).findMissingParts("vrex:open:sqliteError", findings);
}

// Inside an open transaction the BEGIN fails harmlessly and the reads share that transaction.
bool SqliteSchema::findForeignParts(std::vector<std::string>& findings) {
    tvdiag::util::diagnostics ignored;  // the connection keeps the error for its caller
    SchemaTransaction reading(*this, false, "", ignored);
    Catalogue catalogue;
    if (!readCatalogue(catalogue, ignored)) return false;
    std::vector<SchemaObject> objects;
    Statement statement;
    int rc = statement.prepare(connection_.handle(),
                               "SELECT type, name, tbl_name FROM sqlite_master "
                               "WHERE name NOT LIKE 'sqlite\\_%' ESCAPE '\\'");
    while (rc == SQLITE_OK || rc == SQLITE_ROW) {
        rc = statement.step();
        if (rc == SQLITE_ROW) {
            objects.push_back({statement.columnText(0), statement.columnText(1), statement.columnText(2)});
        }
    }
    if (rc != SQLITE_DONE) return false;
    vrex::internal::findForeignParts(objects, catalogue, findings);
    return true;
}

bool SqliteSchema::begin(bool writeLock, const std::string& failure, tvdiag::util::diagnostics& diagnostics) {
    const int rc = connection_.exec(writeLock ? "BEGIN IMMEDIATE" : "BEGIN");
    if (rc != SQLITE_OK) reportFailure(rc, failure, diagnostics);
    return rc == SQLITE_OK;
}

bool SqliteSchema::commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) {
    const int rc = connection_.exec("COMMIT");
    if (rc != SQLITE_OK) reportFailure(rc, failure, diagnostics);
    return rc == SQLITE_OK;
}

void SqliteSchema::rollback() {
    if (connection_.isInTransaction()) connection_.exec("ROLLBACK");
}

// A file stamped as a registry but without tables is new, or one whose making was cut short.
bool SqliteSchema::readLayout(bool& hasHeader, bool& hasTables, tvdiag::util::diagnostics& diagnostics) {
    std::string headerTables;
    std::string allTables;
    int rc = connection_.queryText(
        "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = '_vrex_registry'",
        headerTables);
    if (rc == SQLITE_OK) rc = connection_.queryText("SELECT count(*) FROM sqlite_master", allTables);
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot read the schema", diagnostics);
        return false;
    }
    hasHeader = headerTables != "0";
    hasTables = allTables != "0";
    return true;
}

std::string SqliteSchema::notARegistryReason() const { return " (it has no registry header)"; }

bool SqliteSchema::readHeader(std::string& format, std::string& version, tvdiag::util::diagnostics& diagnostics) {
    int rc = connection_.queryText("SELECT value FROM \"_vrex_registry\" WHERE key = 'format'", format);
    if (rc == SQLITE_OK) {
        rc = connection_.queryText("SELECT value FROM \"_vrex_registry\" WHERE key = 'formatVersion'",
                                   version);
    }
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot read the registry header", diagnostics);
        return false;
    }
    return true;
}

bool SqliteSchema::readCatalogue(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) {
    Statement statement;
    int rc = statement.prepare(connection_.handle(),
                               "SELECT class, property, kind, indexed FROM \"_vrex_catalogue\"");
    while (rc == SQLITE_OK || rc == SQLITE_ROW) {
        rc = statement.step();
        if (rc != SQLITE_ROW) break;
        StoredProperty& stored =
            catalogue[asciiLowercase(statement.columnText(0))][asciiLowercase(statement.columnText(1))];
        stored.kind = statement.columnText(2);
        stored.indexed = statement.columnInt64(3) != 0;
    }
    if (rc != SQLITE_DONE) {
        reportFailure(rc, "cannot read the registry catalogue", diagnostics);
        return false;
    }
    return true;
}

// Forgets from `catalogue` what the file no longer holds (see keepWhatExists).
bool SqliteSchema::dropWhatIsGone(Catalogue& catalogue, tvdiag::util::diagnostics& diagnostics) {
    std::map<std::string, std::set<std::string>> columns;
    std::set<std::string> indexes;
    Statement statement;
    int rc = statement.prepare(connection_.handle(),
                               "SELECT m.type, m.name, p.name FROM sqlite_master AS m "
                               "LEFT JOIN pragma_table_info(m.name) AS p ON m.type = 'table' "
                               "WHERE m.type IN ('table', 'index')");
    while (rc == SQLITE_OK || rc == SQLITE_ROW) {
        rc = statement.step();
        if (rc != SQLITE_ROW) break;
        const std::string name = asciiLowercase(statement.columnText(1));
        if (statement.columnText(0) == "index") {
            indexes.insert(name);
        } else {
            columns[name].insert(asciiLowercase(statement.columnText(2)));
        }
    }
    if (rc != SQLITE_DONE) {
        reportFailure(rc, "cannot read the registry's tables", diagnostics);
        return false;
    }
    keepWhatExists(catalogue, columns, indexes);
    return true;
}

// Stamps the file again in the same transaction: a kill while a new file was stamped may have
// left the stamp to be rolled back when the file is next opened.
bool SqliteSchema::createHeader(tvdiag::util::diagnostics& diagnostics) {
    if (!run("PRAGMA application_id = " + std::to_string(RegistryFileProbe::kApplicationId),
             "cannot stamp the registry", diagnostics) ||
        !run("CREATE TABLE \"_vrex_registry\" (key TEXT PRIMARY KEY, value TEXT NOT NULL)",
             "cannot create the registry header", diagnostics) ||
        !run("CREATE TABLE \"_vrex_catalogue\" (class TEXT NOT NULL COLLATE NOCASE, "
             "property TEXT NOT NULL COLLATE NOCASE, kind TEXT NOT NULL, indexed INTEGER NOT NULL, "
             "PRIMARY KEY (class, property))",
             "cannot create the registry catalogue", diagnostics)) {
        return false;
    }
    const std::pair<const char*, std::string> rows[] = {
        {"format", SchemaPreparation::kFormat},
        {"formatVersion", std::to_string(SchemaPreparation::kFormatVersion)},
        {"metamodel", metamodel_.description()},
        {"metamodelFile", metamodel_.file()},
    };
    Statement insert;
    int rc = insert.prepare(connection_.handle(),
                            "INSERT INTO \"_vrex_registry\" (key, value) VALUES (?1, ?2)");
    for (const auto& row : rows) {
        if (rc != SQLITE_OK) break;
        insert.bindText(1, row.first);
        insert.bindText(2, row.second);
        int stepped = insert.step();
        insert.reset();
        rc = stepped == SQLITE_DONE ? SQLITE_OK : stepped;
    }
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot write the registry header", diagnostics);
        return false;
    }
    return true;
}

bool SqliteSchema::createTable(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "CREATE TABLE " + tableName(cls) + " (\"_id\" INTEGER PRIMARY KEY";
    for (const auto& property : cls.properties) sql += ", " + columnName(*property) + " TEXT";
    sql += ")";
    return run(sql, "cannot create the table of " + cls.name, diagnostics);
}

bool SqliteSchema::addColumn(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "ALTER TABLE " + tableName(*property.owner) + " ADD COLUMN " +
                      columnName(property) + " TEXT";
    return run(sql, "cannot add the column " + property.owner->name + "." + property.name, diagnostics);
}

bool SqliteSchema::addIndex(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    std::string sql = "CREATE INDEX IF NOT EXISTS " + indexName(property) + " ON " +
                      tableName(*property.owner) + " (" + columnName(property) + ")";
    return run(sql, "cannot index " + property.owner->name + "." + property.name, diagnostics);
}

bool SqliteSchema::record(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    Statement upsert;
    int rc = upsert.prepare(connection_.handle(),
                            "INSERT OR REPLACE INTO \"_vrex_catalogue\" (class, property, kind, indexed) "
                            "VALUES (?1, ?2, ?3, ?4)");
    if (rc == SQLITE_OK) {
        upsert.bindText(1, property.owner->name);
        upsert.bindText(2, property.name);
        upsert.bindText(3, propertyKindText(property.kind));
        upsert.bindInt64(4, property.indexed ? 1 : 0);
        rc = upsert.step();
    }
    if (rc != SQLITE_DONE) {
        reportFailure(rc, "cannot record " + property.owner->name + "." + property.name, diagnostics);
        return false;
    }
    return true;
}

bool SqliteSchema::run(const std::string& sql, const std::string& action,
                         tvdiag::util::diagnostics& diagnostics) {
    int rc = connection_.exec(sql);
    if (rc != SQLITE_OK) reportFailure(rc, action, diagnostics);
    return rc == SQLITE_OK;
}

void SqliteSchema::reportFailure(int rc, const std::string& action,
                                   tvdiag::util::diagnostics& diagnostics) {
    int primary = rc & 0xff;
    bool damaged = primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
    connection_.report(diagnostics, damaged ? "vrex:open:damaged" : "vrex:open:sqliteError", action);
}

}  // namespace vrex::internal
