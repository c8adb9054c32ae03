#include "vrex/internal/sqlite/StatementCache.hpp"

#include <sqlite3.h>

#include "vrex/internal/sqlite/SqliteNames.hpp"

namespace vrex::internal {

StatementCache::StatementCache(Connection& connection, const Metamodel& metamodel)
    : connection_(connection), classes_(metamodel.classes().size()) {
    for (const ClassInfo* cls : metamodel.classes()) {
        classes_[cls->index].properties.resize(cls->properties.size());
    }
}

Statement* StatementCache::insertObject(const ClassInfo& cls) {
    Statement& slot = classes_[cls.index].insert;
    if (slot.isPrepared()) return &slot;
    return ready(slot, "INSERT INTO " + tableName(cls) + " DEFAULT VALUES");
}

Statement* StatementCache::insertWholeObject(const ClassInfo& cls) {
    Statement& slot = classes_[cls.index].insertWhole;
    if (slot.isPrepared()) return &slot;
    std::string columns = "\"_id\"";
    std::string values = "?1";
    for (const auto& property : cls.properties) {
        columns += ", " + columnName(*property);
        values += ", ?" + std::to_string(property->position + 2);
    }
    return ready(slot, "INSERT INTO " + tableName(cls) + " (" + columns + ") VALUES (" + values + ")");
}

Statement* StatementCache::largestId(const ClassInfo& cls) {
    Statement& slot = classes_[cls.index].largestId;
    if (slot.isPrepared()) return &slot;
    return ready(slot, "SELECT max(\"_id\") FROM " + tableName(cls));
}

Statement* StatementCache::listObjects(const ClassInfo& cls) {
    Statement& slot = classes_[cls.index].list;
    if (slot.isPrepared()) return &slot;
    return ready(slot, "SELECT \"_id\" FROM " + tableName(cls) + " ORDER BY \"_id\"");
}

Statement* StatementCache::readProperty(const PropertyInfo& property) {
    Statement& slot = statementsOf(property).read;
    if (slot.isPrepared()) return &slot;
    return ready(slot,
                 "SELECT " + columnName(property) + " FROM " + tableName(*property.owner) +
                     " WHERE \"_id\" = ?1");
}

Statement* StatementCache::writeProperty(const PropertyInfo& property) {
    Statement& slot = statementsOf(property).write;
    if (slot.isPrepared()) return &slot;
    return ready(slot,
                 "UPDATE " + tableName(*property.owner) + " SET " + columnName(property) +
                     " = ?1 WHERE \"_id\" = ?2");
}

Statement* StatementCache::findEqual(const PropertyInfo& property) {
    Statement& slot = statementsOf(property).findEqual;
    if (slot.isPrepared()) return &slot;
    return ready(slot,
                 "SELECT \"_id\" FROM " + tableName(*property.owner) + " WHERE " +
                     columnName(property) + " = ?1 ORDER BY \"_id\"");
}

Statement* StatementCache::readFirstMatch(const PropertyInfo& key, const PropertyInfo& property) {
    std::vector<Statement>& slots = statementsOf(key).readFirstMatch;
    if (slots.size() <= property.position) slots.resize(property.owner->properties.size());
    Statement& slot = slots[property.position];
    if (slot.isPrepared()) return &slot;
    return ready(slot, "SELECT " + columnName(property) + " FROM " + tableName(*key.owner) + " WHERE " +
                           columnName(key) + " = ?1 ORDER BY \"_id\" LIMIT 1");
}

Statement* StatementCache::bySql(const std::string& sql) {
    Statement& slot = bySql_[sql];
    if (slot.isPrepared()) return &slot;
    Statement* prepared = ready(slot, sql);
    if (prepared == nullptr) bySql_.erase(sql);
    return prepared;
}

StatementCache::PropertyStatements& StatementCache::statementsOf(const PropertyInfo& property) {
    return classes_[property.owner->index].properties[property.position];
}

Statement* StatementCache::ready(Statement& slot, const std::string& sql) {
    return slot.prepare(connection_.handle(), sql) == SQLITE_OK ? &slot : nullptr;
}

}  // namespace vrex::internal
