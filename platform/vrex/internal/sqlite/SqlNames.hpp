#pragma once

#include <string>

#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// SQL names of the registry schema. Class and property names are identifiers (the metamodel
// reader checks them) and are always quoted; the registry's own tables begin with "_vrex_",
// which no identifier can, and the key column is "_id".

// SQL compares names ignoring ASCII case; so do the metamodel reader and the schema check.
inline std::string asciiLowercase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

inline std::string quotedName(const std::string& name) {
    std::string text = "\"";
    for (char c : name) {
        if (c == '"') text += '"';
        text += c;
    }
    return text + "\"";
}

inline std::string tableName(const ClassInfo& cls) { return quotedName(cls.name); }

inline std::string columnName(const PropertyInfo& property) { return quotedName(property.name); }

// An index name cannot clash with a table: it holds a '.', which identifiers do not.
inline std::string indexName(const PropertyInfo& property) {
    return quotedName("index:" + property.owner->name + "." + property.name);
}

}  // namespace vrex::internal
