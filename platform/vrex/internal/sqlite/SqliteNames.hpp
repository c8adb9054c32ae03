#pragma once

#include <string>

#include "vrex/internal/metamodel/Identifiers.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// SQL names of the registry schema in an SQLite file: tables and columns carry the metamodel's
// names, quoted; the registry's own tables begin with "_vrex_", which no identifier can, and the
// key column is "_id".

inline std::string tableName(const ClassInfo& cls) { return quotedName(cls.name); }

inline std::string columnName(const PropertyInfo& property) { return quotedName(property.name); }

// An index name cannot clash with a table: it holds a '.', which identifiers do not.
inline std::string indexName(const PropertyInfo& property) {
    return quotedName("index:" + property.owner->name + "." + property.name);
}

}  // namespace vrex::internal
