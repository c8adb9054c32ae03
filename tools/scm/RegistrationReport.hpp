#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "ExitCode.hpp"
#include "RecordProperties.hpp"
#include "SCMRunRecord.hpp"

namespace scm_tool {

// Merged: the stored record changed; Unchanged: it already held everything offered.
enum class Outcome { Registered, Merged, Unchanged, Clash, Error };

// Where an entry came from and what it is: enough for a person to find the line and the entry.
struct EntryPlace {
    std::string source;    // the manifest as named on the command line, "<stdin>" for -
    std::size_t line = 0;  // 1-based; 0 for a problem of the whole manifest
    std::string category;  // "" when the line did not decode
    std::string key;
    std::string name;
};

// A clash (with the properties that differ) or an error (with what went wrong).
struct ReportedEntry {
    EntryPlace place;
    Outcome outcome = Outcome::Error;
    std::string message;
    std::vector<Difference> differences;
};

// What one `scm register` run did: a count per outcome, the clashes and the errors in detail,
// and whether the run was kept.
class RegistrationReport {
public:
    void count(Outcome outcome);
    // Counts the entry and keeps it for the report (a clash or an error).
    void add(ReportedEntry entry);
    // The run as a whole was not committed: `message` says so and why, as a sentence.
    void setFailure(std::string message);
    void setSeconds(double seconds) { seconds_ = seconds; }
    // The id under which the run is recorded in the registry.
    void setRun(std::string id) { run_ = std::move(id); }

    std::uint64_t total() const { return counts_.offered(); }
    const SCM::SCMRunCounts& counts() const { return counts_; }
    // True unless setFailure was called.
    bool committed() const { return failure_.empty(); }
    // True when an entry or a manifest could not be read or stored.
    bool hasErrors() const { return counts_.errors > 0; }
    // kExitError when anything failed, else kExitFindings when something clashed, else kExitOk.
    ExitCode exitCode() const;

    // Every clash and error as "source:line: clash: ..." lines, then a summary line.
    void printText(std::ostream& out) const;
    // The same as one JSON object, for build scripts.
    void printJson(std::ostream& out, const std::string& registry) const;

private:
    SCM::SCMRunCounts counts_;
    std::vector<ReportedEntry> reported_;
    std::string failure_;
    std::string run_;
    double seconds_ = 0;
};

// "Name: stored "a", offered "b"": how the report prints a clash's difference.
std::string differenceText(const Difference& difference);

// "source:line: <what>: SCM_SHARED_FUNCTIONS key "..." name "..."" (the category, key and name
// only when known): how the report and the verbose listing name an entry.
std::string describeEntry(const EntryPlace& place, const std::string& what);

}  // namespace scm_tool
