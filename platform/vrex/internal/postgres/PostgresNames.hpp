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

    // Begins a transaction that holds the registry's write lock: a transaction-scoped advisory
    // lock whose key is "vrex" in the high half and the schema name's FNV-1a hash in the low.
    // One round trip; the key is a number of our own, not a value from outside.
    std::string lockingBegin() const {
        std::uint32_t hash = 2166136261u;
        for (unsigned char c : schema_) hash = (hash ^ c) * 16777619u;
        const auto key = static_cast<std::int64_t>(std::uint64_t{0x76726578} << 32 | hash);
        return "BEGIN; SELECT pg_advisory_xact_lock(" + std::to_string(key) + ")";
    }

    static std::string table(const ClassInfo& cls) { return asciiLowercase(cls.name); }
    static std::string column(const PropertyInfo& property) { return asciiLowercase(property.name); }
    static std::string index(const PropertyInfo& property) {
        return "index:" + table(*property.owner) + "." + column(property);
    }

    std::string qualifiedTable(const ClassInfo& cls) const { return quotedSchema_ + "." + quotedName(table(cls)); }
    static std::string quotedColumn(const PropertyInfo& property) { return quotedName(column(property)); }

private:
    std::string schema_;
    std::string quotedSchema_;
};

}  // namespace vrex::internal
