#pragma once

// What the reliability programs share: the registrations they make, and one way to read a
// registry back and compare it with what must be stored.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "shared_code_manager.hpp"

namespace reliability {

// One registration: the key and the record a contributor offers for it. Both owned.
struct Contribution {
    std::unique_ptr<SCM::SCMIdentity> identity;
    std::unique_ptr<SCM::SCMData> data;
};

// What `contributor` (a short tag such as "p3") registers for key number `key`; three categories
// take turns, each of whose merges grows the record: utilities gain the contributor in ModelNames
// and a traceability entry, SCM_OTHER function lists a name of the contributor's, constants are
// switched on by some contributors. The merge of contributions does not depend on their order
// except for the order of the grown lists.
Contribution contribution(unsigned key, const std::string& contributor);

// The records expected in a registry, by key number; `merge` adds one contribution.
using ExpectedRecords = std::map<unsigned, std::unique_ptr<SCM::SCMData>>;
void merge(ExpectedRecords& expected, unsigned key, const std::string& contributor);

// A text equal for two records exactly when they hold the same class and fields, the lists that
// merges grow taken in sorted order.
std::string canonical(const SCM::SCMData& record);

// A registry as read back: the result of the integrity check `scm check` runs, and every entry.
struct RegistryContents {
    std::vector<std::string> problems;  // one line each; empty for a sound registry
    std::size_t objects = 0;            // in every category
    std::map<std::string, std::unique_ptr<SCM::SCMData>> records;  // by "<category>/<checksum>"

    const SCM::SCMData* find(SCM::SCMIdentity& identity) const;  // null when absent
};

// Opens `location`, checks it and reads every entry. Never throws for a bad registry.
RegistryContents checkRegistry(const std::string& location);

// The check's problems and the differences between `contents` and `expected` (a key missing or
// holding another record, objects that no key expects), the first ten printed after `context`
// unless it is null.
unsigned compareRecords(const RegistryContents& contents, const ExpectedRecords& expected, const char* context);

// The number after `name` on the command line ("--name 12"), or `fallback`.
unsigned optionNumber(int argc, char** argv, const char* name, unsigned fallback);

}  // namespace reliability
