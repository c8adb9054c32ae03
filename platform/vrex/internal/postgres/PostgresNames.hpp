#pragma once

#include <cstdint>
#include <string>

#include "vrex/internal/metamodel/Identifiers.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// SQL names of a registry in a PostgreSQL database. Everything lives in one schema named after
// the metamodel's (first) package; schema, tables and columns are the metamodel's names in lower
// case, so that they compare ignoring ASCII case as registries do, and need no quotes in psql
// (SELECT * FROM scm.scm_utilities). Property columns are bytea: they keep any bytes, NUL too.
class PostgresNames {
public:
    // PostgreSQL cuts longer identifiers short.
    static constexpr std::size_t kMaxIdentifierBytes = 63;

    explicit PostgresNames(const Metamodel& metamodel)
        : schema_(asciiLowercase(metamodel.packages().front()->name)), quotedSchema_(quotedName(schema_)) {}

    // The schema's name, unquoted.
    const std::string& schema() const { return schema_; }
    const std::string& quotedSchema() const { return quotedSchema_; }
    std::string registryTable() const { return quotedSchema_ + ".\"_vrex_registry\""; }
    std::string catalogueTable() const { return quotedSchema_ + ".\"_vrex_catalogue\""; }

    // The registry's lock: a transaction-scoped advisory lock whose key is "vrex" in the high half
    // and the schema name's FNV-1a hash in the low. Schema work holds it alone; writers share it,
    // so that they wait for schema work and it waits for them.
    std::int64_t registryLockKey() const {
        std::uint32_t hash = 2166136261u;
        for (unsigned char c : schema_) hash = (hash ^ c) * 16777619u;
        return static_cast<std::int64_t>(std::uint64_t{0x76726578} << 32 | hash);
    }
    // Begins a transaction that holds the registry's lock alone; one round trip. The key is a
    // number of our own, not a value from outside.
    std::string schemaLockingBegin() const {
        return "BEGIN; SELECT pg_advisory_xact_lock(" + std::to_string(registryLockKey()) + ")";
    }

    // The advisory lock key of one value of a property: a 64-bit FNV-1a hash of the schema, the
    // table, the column and the value. Writers that search a property for one value lock it.
    std::int64_t valueLockKey(const PropertyInfo& property, const std::string& value) const {
        std::string text = schema_ + '.' + table(*property.owner) + '.' + column(property) + '=';
        text += value;
        return static_cast<std::int64_t>(fnv1a(text));
    }

    static std::string table(const ClassInfo& cls) { return asciiLowercase(cls.name); }
    static std::string column(const PropertyInfo& property) { return asciiLowercase(property.name); }
    static std::string index(const PropertyInfo& property) {
        return "index:" + table(*property.owner) + "." + column(property);
    }

    std::string qualifiedTable(const ClassInfo& cls) const { return quotedSchema_ + "." + quotedName(table(cls)); }
    static std::string quotedColumn(const PropertyInfo& property) { return quotedName(column(property)); }

private:
    static std::uint64_t fnv1a(const std::string& text) {
        std::uint64_t hash = 14695981039346656037ull;
        for (unsigned char c : text) hash = (hash ^ c) * 1099511628211ull;
        return hash;
    }

    std::string schema_;
    std::string quotedSchema_;
};

}  // namespace vrex::internal
