#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "SCMExport.hpp"
#include "SCMRunRecord.hpp"
#include "tvdiag/diagnostics.hpp"

namespace SCM {

class SCMProvenanceClasses;
class SCMRunEntryBlock;
class SCMVrexDataAdapter;

// Records one `scm register` run in the registry an adapter has open for writing, inside the
// transaction the run holds open on that adapter (beginTransaction): the rows are kept or
// rolled back with the run's entries, so a run rolled back leaves no record. The entries are
// gathered in blocks, by category and by a hash of the checksum, and a block is written as one
// row when it is full; recordRun writes the rest. Nothing is recorded unless a caller asks: the
// library's own registration records no run.
class SCM_EXPORT SCMRunRecorder {
public:
    // `adapter` stays the caller's and must outlive this.
    explicit SCMRunRecorder(SCMVrexDataAdapter& adapter);
    ~SCMRunRecorder();
    SCMRunRecorder(const SCMRunRecorder&) = delete;
    SCMRunRecorder& operator=(const SCMRunRecorder&) = delete;

    // A new run id for a run started at `start`: its UTC time and 8 random hex digits.
    static std::string newRunId(std::chrono::system_clock::time_point start);
    // `time` as ISO 8601 UTC, to the second ("2026-11-24T01:02:03Z").
    static std::string utcText(std::chrono::system_clock::time_point time);

    // Records what the run did with one entry, whose `run` is the run's id; false, with the
    // reason in getLastError(), when the block it fills cannot be written (a write may also fail
    // later, with the next write or the commit).
    bool recordEntry(const SCMRunEntry& entry);
    // Writes the entries not yet written, then the run itself (`run.id` as in the entries); call
    // it once, last, before the commit. False as above.
    bool recordRun(const SCMRun& run);
    // The registry's messages for the last call that answered false.
    const std::string& getLastError() const { return lastError_; }

private:
    struct PendingBlocks;

    bool writeBlock(const std::string& run, const std::string& category, unsigned bucket, SCMRunEntryBlock& block);
    bool keep(const tvdiag::util::diagnostics& diagnostics);

    SCMVrexDataAdapter& adapter_;
    std::unique_ptr<const SCMProvenanceClasses> classes_;
    std::unique_ptr<PendingBlocks> pending_;  // the entries not yet written
    std::string lastError_;
};

}  // namespace SCM
