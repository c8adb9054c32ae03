#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/Connection.hpp"
#include "vrex/internal/Metamodel.hpp"
#include "vrex/internal/Statement.hpp"

namespace vrex::internal {

// The prepared statements of one open repository, prepared on first use and kept until close:
// per class (insert, list) and per property (read, write, find by equality), plus any other SQL
// by its text. Each getter returns a statement owned by the cache, or null with a diagnostic
// ("vrex:sql:prepareFailed") when SQLite cannot prepare it.
class StatementCache {
public:
    StatementCache(Connection& connection, const Metamodel& metamodel);
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // INSERT INTO class DEFAULT VALUES
    Statement* insertObject(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics);
    // INSERT INTO class (_id, every property in order) VALUES (?1, ?2, ...)
    Statement* insertWholeObject(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics);
    // SELECT max(_id) FROM class
    Statement* largestId(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics);
    // SELECT _id FROM class ORDER BY _id
    Statement* listObjects(const ClassInfo& cls, tvdiag::util::diagnostics& diagnostics);
    // SELECT property FROM class WHERE _id = ?1
    Statement* readProperty(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics);
    // UPDATE class SET property = ?1 WHERE _id = ?2
    Statement* writeProperty(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics);
    // SELECT _id FROM class WHERE property = ?1 ORDER BY _id
    Statement* findEqual(const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics);
    // Any other statement, cached by its text.
    Statement* bySql(const std::string& sql, tvdiag::util::diagnostics& diagnostics);

private:
    struct PropertyStatements {
        Statement read;
        Statement write;
        Statement findEqual;
    };
    struct ClassStatements {
        Statement insert;
        Statement insertWhole;
        Statement largestId;
        Statement list;
        std::vector<PropertyStatements> properties;
    };

    PropertyStatements& statementsOf(const PropertyInfo& property);
    // `slot` itself once prepared; else prepares `sql` into it.
    Statement* ready(Statement& slot, const std::string& sql, tvdiag::util::diagnostics& diagnostics);

    Connection& connection_;
    std::vector<ClassStatements> classes_;  // by ClassInfo::index
    std::unordered_map<std::string, Statement> bySql_;
};

}  // namespace vrex::internal
