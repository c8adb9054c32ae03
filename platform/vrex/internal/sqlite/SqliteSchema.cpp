#include "vrex/internal/sqlite/SqliteSchema.hpp"

#include <sqlite3.h>

#include <set>

#include "vrex/internal/sqlite/RegistryFileProbe.hpp"
#include "vrex/internal/sqlite/SqliteNames.hpp"
#include "vrex/internal/sqlite/Statement.hpp"

namespace vrex::internal {

namespace {

// Ends an open transaction on every path: rolled back unless commit() succeeded.
class SchemaTransaction {
public:
    SchemaTransaction(Connection& connection, const char* beginSql)
        : connection_(connection), rc_(connection.exec(beginSql)) {}
    ~SchemaTransaction() {
        if (rc_ == SQLITE_OK && connection_.isInTransaction()) connection_.exec("ROLLBACK");
    }
    SchemaTransaction(const SchemaTransaction&) = delete;
    SchemaTransaction& operator=(const SchemaTransaction&) = delete;

    int beginResult() const { return rc_; }
    int commit() { return connection_.exec("COMMIT"); }

private:
    Connection& connection_;
    int rc_;
};

}  // namespace

SqliteSchema::SqliteSchema(Connection& connection, const Metamodel& metamodel)
    : connection_(connection), metamodel_(metamodel) {}

bool SqliteSchema::stampNewFile(tvdiag::util::diagnostics& diagnostics) {
    SchemaTransaction writing(connection_, "BEGIN IMMEDIATE");
    if (writing.beginResult() != SQLITE_OK) {
        reportFailure(writing.beginResult(), "cannot lock the new registry", diagnostics);
        return false;
    }
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
    if (rc == SQLITE_OK) rc = writing.commit();
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot make the new registry", diagnostics);
        return false;
    }
    return true;
}

bool SqliteSchema::prepare(bool readOnly, tvdiag::util::diagnostics& diagnostics) {
    Plan plan;
    {
        // Look first without the write lock: an up-to-date file (the usual case) needs no more.
        SchemaTransaction reading(connection_, "BEGIN");
        if (reading.beginResult() != SQLITE_OK) {
            reportFailure(reading.beginResult(), "cannot read the schema", diagnostics);
            return false;
        }
        if (!inspect(plan, diagnostics)) return false;
    }
    if (plan.empty()) return true;
    if (readOnly && plan.createHeader) {
        diagnostics.add("vrex:open:notFound",
                        "cannot open \"" + connection_.file() + "\" for reading: it is not a registry yet");
        return false;
    }
    if (readOnly) return true;  // reads what is there; checkIntegrity names what is missing
    // Another process may have extended the file meanwhile: look again under the write lock.
    SchemaTransaction writing(connection_, "BEGIN IMMEDIATE");
    if (writing.beginResult() != SQLITE_OK) {
        reportFailure(writing.beginResult(), "cannot lock the registry to extend its schema", diagnostics);
        return false;
    }
    plan = Plan();
    if (!inspect(plan, diagnostics) || !plan.apply(*this, diagnostics)) return false;
    int rc = writing.commit();
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot commit the schema", diagnostics);
        return false;
    }
    return true;
}

// Inside an open transaction the BEGIN fails harmlessly and the reads share that transaction.
bool SqliteSchema::findMissingParts(std::vector<std::string>& findings) {
    SchemaTransaction reading(connection_, "BEGIN");
    Plan plan;
    tvdiag::util::diagnostics problems;
    const bool inspected = inspect(plan, problems);
    return describeInspection(inspected, plan, problems, "vrex:open:sqliteError", findings);
}

// Inside an open transaction the BEGIN fails harmlessly and the reads share that transaction.
bool SqliteSchema::findForeignParts(std::vector<std::string>& findings) {
    SchemaTransaction reading(connection_, "BEGIN");
    Catalogue catalogue;
    tvdiag::util::diagnostics ignored;  // the connection keeps the error for its caller
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

bool SqliteSchema::inspect(Plan& plan, tvdiag::util::diagnostics& diagnostics) {
    if (!inspectHeader(plan, diagnostics)) return false;
    if (plan.createHeader) {
        plan.newTables = metamodel_.classes();
        return true;
    }
    Catalogue catalogue;
    return readCatalogue(catalogue, diagnostics) && dropWhatIsGone(catalogue, diagnostics) &&
           plan.compare(metamodel_, catalogue, connection_.file(), diagnostics);
}

bool SqliteSchema::inspectHeader(Plan& plan, tvdiag::util::diagnostics& diagnostics) {
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
    if (headerTables == "0") {
        // Stamped as a registry but without tables: a new file, or one whose making was cut short.
        if (allTables == "0") {
            plan.createHeader = true;
            return true;
        }
        diagnostics.add("vrex:open:notARegistry",
                        "\"" + connection_.file() + "\" is not a registry (it has no registry header)");
        return false;
    }
    std::string format;
    std::string version;
    rc = connection_.queryText("SELECT value FROM \"_vrex_registry\" WHERE key = 'format'", format);
    if (rc == SQLITE_OK) {
        rc = connection_.queryText("SELECT value FROM \"_vrex_registry\" WHERE key = 'formatVersion'",
                                   version);
    }
    if (rc != SQLITE_OK) {
        reportFailure(rc, "cannot read the registry header", diagnostics);
        return false;
    }
    if (format != kFormat) {
        diagnostics.add("vrex:open:notARegistry",
                        "\"" + connection_.file() + "\" is not a registry (unknown header)");
        return false;
    }
    if (version != std::to_string(kFormatVersion)) {
        diagnostics.add("vrex:open:unsupportedFormat",
                        "the registry \"" + connection_.file() + "\" has the format version " +
                            version + "; this program reads version " +
                            std::to_string(kFormatVersion));
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
        {"format", kFormat},
        {"formatVersion", std::to_string(kFormatVersion)},
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
