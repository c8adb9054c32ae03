#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "SCMExport.hpp"
#include "SCMRunRecord.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

class SCMProvenanceClasses;

// Reads a registry's provenance (SCMRunRecord.hpp): its runs, and what each did with each entry.
// It opens the registry itself, for reading, apart from any facade: nothing is ever created or
// changed. A registry made before runs were recorded, and not written since, has no runs: every
// read finds nothing. Storage errors never throw; they stay in the diagnostics each read takes,
// whose messages name the registry. Belongs to one thread at a time.
class SCM_EXPORT SCMProvenanceReader {
public:
    // Opens `registry` (a file path or a postgresql:// URI). On failure isOpen() is false and
    // getOpenError() says why.
    explicit SCMProvenanceReader(const std::string& registry);
    ~SCMProvenanceReader();
    SCMProvenanceReader(const SCMProvenanceReader&) = delete;
    SCMProvenanceReader& operator=(const SCMProvenanceReader&) = delete;

    bool isOpen() const;
    const std::string& getOpenError() const;

    // Calls `visit` with every run, in the order they were recorded, all read in one read
    // transaction. Stops at an error, which stays in `diagnostics`.
    void visitRuns(const std::function<void(const SCMRun&)>& visit,
                   tvdiag::util::diagnostics& diagnostics);
    // The run `id` into `run`; false when there is none or on error.
    bool findRun(const std::string& id, SCMRun& run, tvdiag::util::diagnostics& diagnostics);
    // What every run did with the entries whose checksum is `checksum` (of any category), in the
    // order recorded.
    std::vector<SCMRunEntry> entryHistory(const std::string& checksum,
                                          tvdiag::util::diagnostics& diagnostics);
    // Calls `visit` with what every run did with every entry, a page of rows at a time, all in
    // one read transaction: the runs in the order recorded, and within a run an entry's lines in
    // order, grouped in blocks. Entries of an unknown outcome are left out. Stops at an error.
    void visitRunEntries(const std::function<void(const SCMRunEntry&)>& visit,
                         tvdiag::util::diagnostics& diagnostics);

private:
    // False, with nothing added, when the registry has no provenance tables.
    bool hasRuns(tvdiag::util::diagnostics& diagnostics);

    vrex::DataModelRepository repository_;
    std::string openError_;
    std::unique_ptr<const SCMProvenanceClasses> classes_;  // null when not open
};

}  // namespace SCM
