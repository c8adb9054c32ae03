#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "SCMExport.hpp"
#include "SCMRunRecord.hpp"
#include "tvdiag/diagnostics.hpp"

namespace SCM {

class SCMProvenanceClasses;
class SCMVrexDataAdapter;

// Records one `scm register` run in the registry an adapter has open for writing, inside the
// transaction the run holds open on that adapter (beginTransaction): the rows are kept or
// rolled back with the run's entries, so a run rolled back leaves no record. Each call writes one
// row that goes to the storage with the next write, in the same batch as the entries. Nothing is
// recorded unless a caller asks: the library's own registration records no run.
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

    // Records what the run did with one entry; false, with the reason in getLastError(), when
    // the row cannot be made (its write may also fail later, with the next write or the commit).
    bool recordEntry(const SCMRunEntry& entry);
    // Records the run itself; call it once, last, before the commit. False as above.
    bool recordRun(const SCMRun& run);
    // The registry's messages for the last call that answered false.
    const std::string& getLastError() const { return lastError_; }

private:
    bool keep(const tvdiag::util::diagnostics& diagnostics);

    SCMVrexDataAdapter& adapter_;
    std::unique_ptr<const SCMProvenanceClasses> classes_;
    std::string lastError_;
};

}  // namespace SCM
