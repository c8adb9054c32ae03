#pragma once

// The integrity check of a registry file, the one `scm check` runs (SCMRegistryInspector::
// checkEntries: the file's structure, every object decodes, every stored checksum equals the one
// its identity computes, no two objects of a class share a checksum, each "Name" is its record's
// name), and the entries the file holds, for comparing with what was acknowledged.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "shared_code_manager.hpp"

namespace reliability {

// One registry entry as read back from the file; the objects are owned.
struct StoredEntry {
    std::string checksum;
    std::unique_ptr<SCM::SCMIdentity> identity;
    std::unique_ptr<SCM::SCMData> data;
};

struct RegistryContents {
    bool opened = false;
    // What the check found wrong, one line each; empty for a sound registry.
    std::vector<std::string> problems;
    // The entries of each category class, keyed by checksum (the first object of a duplicate).
    std::map<std::string, std::map<std::string, StoredEntry>> entries;

    bool sound() const { return opened && problems.empty(); }
    std::size_t count(SCM::SCMTypes type) const;
    // The stored record of `identity`'s key, or null.
    const SCM::SCMData* find(SCM::SCMIdentity& identity) const;
};

// Opens `file` with the installed metamodel, checks it and reads every entry. Never throws for a
// bad file: an open that fails gives opened = false.
RegistryContents checkRegistry(const std::string& file);

}  // namespace reliability
