#pragma once

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "OpenRegistry.hpp"
#include "RegistrationReport.hpp"
#include "SCMRunRecorder.hpp"

namespace scm_tool {

// The provenance of one `scm register` run, written into the run's own transaction as it goes:
// a row per entry stored, merged or clashing, then the run itself (its times, host, user,
// manifests, the models its entries carry and its counts). The registry stays the caller's and
// must outlive this.
class RunRecord {
public:
    RunRecord(OpenRegistry& registry, std::vector<std::string> manifests);

    const std::string& id() const { return run_.id; }
    // Records what the run did with one entry, offered as `offered`. Errors leave no row.
    void addEntry(const ReportedEntry& entry, const SCM::SCMData& offered);
    // Records the run with the report's counts; call it last, before the commit. False, with
    // the registry's reason, when this or any row could not be recorded.
    bool finish(const RegistrationReport& report, std::string& reason);

private:
    SCM::SCMRunRecorder recorder_;
    SCM::SCMRun run_;
    SCM::SCMRunEntry row_;  // the row being recorded, reused
    std::set<std::string, std::less<>> models_;  // the models the entries carry
    std::string lastModel_;                      // the last one seen, the likeliest next
    std::string failure_;  // the first row that could not be recorded
};

}  // namespace scm_tool
