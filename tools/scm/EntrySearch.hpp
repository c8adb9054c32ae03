#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "OwnedEntry.hpp"
#include "RegistryReader.hpp"

namespace scm_tool {

// How show and explain name the entries they look for: CATEGORY NAME, or a checksum (in every
// category).
struct EntrySearch {
    std::string category;
    std::string name;
    std::string checksum;

    // Throws ToolError unless exactly one of the two forms is given; `command` names the caller.
    void requireOneForm(const std::string& command) const;
    // "named "x" in functions" or "with the checksum "k"", for messages.
    std::string description() const;
};

// What a search found: the entries that decode, and how many matched but do not.
struct FoundEntries {
    std::vector<OwnedEntry> entries;
    std::size_t undecodable = 0;
};

// The entries `search` names. Throws ToolError when the registry cannot be read.
FoundEntries findEntries(RegistryReader& registry, const EntrySearch& search);

// Says on standard error what was not found or does not decode; returns the exit code of a
// search: kExitFindings when nothing decodable was found or some match does not decode.
int reportSearch(const RegistryReader& registry, const EntrySearch& search, const FoundEntries& found);

// The entry as a two-column table: category, key, name, then the identity's class and its
// properties, then the record's (hidden properties too when `all`).
void printEntry(std::ostream& out, const OwnedEntry& entry, bool all);

}  // namespace scm_tool
