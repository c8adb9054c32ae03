#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SCMExport.hpp"

namespace SCM {

// The provenance of a registry: what each `scm register` run did, kept in the registry beside
// the entries (the metamodel's package SCM_PROVENANCE). Written by SCMRunRecorder, read by
// SCMProvenanceReader. Times are ISO 8601 UTC texts ("2026-11-24T01:02:03Z"), so they compare
// as texts.

// What a run did with one entry. Stored by name (runOutcomeName): the names are fixed.
enum class SCMRunOutcome {
    Created,    // stored as a new entry
    Merged,     // merged into the stored entry, which changed
    Unchanged,  // merged into the stored entry, which already held everything offered
    Clash,      // the stored entry refused it
};

// "created", "merged", "unchanged", "clash".
SCM_EXPORT const char* runOutcomeName(SCMRunOutcome outcome);
// The outcome called `name`; false when no outcome is.
SCM_EXPORT bool runOutcomeFromName(const std::string& name, SCMRunOutcome& outcome);

struct SCMRunCounts {
    std::uint64_t registered = 0;
    std::uint64_t merged = 0;
    std::uint64_t unchanged = 0;
    std::uint64_t clashes = 0;
    std::uint64_t errors = 0;

    // Every entry the run was offered, errors included.
    std::uint64_t offered() const { return registered + merged + unchanged + clashes + errors; }
    // The entries the registry already held (merged or unchanged).
    std::uint64_t reused() const { return merged + unchanged; }
};

// One `scm register` run.
struct SCMRun {
    std::string id;  // "20261124T010203Z-" and 8 hex digits: unique, and sorts by start
    std::string started;
    std::string ended;
    std::string host;
    std::string user;
    std::vector<std::string> manifests;  // as named on the command line
    std::vector<std::string> models;     // the model names its entries carry, ascending
    SCMRunCounts counts;
};

// What one run did with one entry.
struct SCMRunEntry {
    std::string run;  // SCMRun::id
    std::string category;
    std::string checksum;
    SCMRunOutcome outcome = SCMRunOutcome::Created;
    std::vector<std::string> differences;  // a clash's differing properties, one line each
};

}  // namespace SCM
