#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/sqlite/Connection.hpp"
#include "vrex/internal/sqlite/Statement.hpp"

namespace vrex::internal {

// The prepared statements of one open repository, prepared on first use and kept until close:
// per class (insert, list) and per property (read, write, find by equality), plus any other SQL
// by its text. Each getter returns a statement owned by the cache, or null when SQLite cannot
// prepare it (the connection's last error says why).
class StatementCache {
public:
    StatementCache(Connection& connection, const Metamodel& metamodel);
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // INSERT INTO class DEFAULT VALUES
    Statement* insertObject(const ClassInfo& cls);
    // INSERT INTO class (_id, every property in order) VALUES (?1, ?2, ...)
    Statement* insertWholeObject(const ClassInfo& cls);
    // SELECT max(_id) FROM class
    Statement* largestId(const ClassInfo& cls);
    // SELECT _id FROM class ORDER BY _id
    Statement* listObjects(const ClassInfo& cls);
    // SELECT property FROM class WHERE _id = ?1
    Statement* readProperty(const PropertyInfo& property);
    // UPDATE class SET property = ?1 WHERE _id = ?2
    Statement* writeProperty(const PropertyInfo& property);
    // SELECT _id FROM class WHERE property = ?1 ORDER BY _id
    Statement* findEqual(const PropertyInfo& property);
    // SELECT property FROM class WHERE key = ?1 ORDER BY _id LIMIT 1 (both of one class)
    Statement* readFirstMatch(const PropertyInfo& key, const PropertyInfo& property);
    // Any other statement, cached by its text.
    Statement* bySql(const std::string& sql);

private:
    struct PropertyStatements {
        Statement read;
        Statement write;
        Statement findEqual;
        std::vector<Statement> readFirstMatch;  // by the read property's position
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
    Statement* ready(Statement& slot, const std::string& sql);

    Connection& connection_;
    std::vector<ClassStatements> classes_;  // by ClassInfo::index
    std::unordered_map<std::string, Statement> bySql_;
};

}  // namespace vrex::internal
