#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "SCMRunRecord.hpp"

namespace scm_tool {

// How much a farm reuses, from the recorded runs: per run and per model, the entries offered,
// the new ones (created) and the reused ones (merged or unchanged). A run counts for every model
// its entries carry. Keeps one small line per run, never the entries.
class RunReuse {
public:
    struct Counts {
        std::uint64_t runs = 0;
        std::uint64_t offered = 0;
        std::uint64_t created = 0;
        std::uint64_t reused = 0;
        // reused / offered; 0 when nothing was offered.
        double ratio() const;
        void add(const SCM::SCMRunCounts& counts);
    };
    struct Run {
        std::string id;
        std::string started;
        std::vector<std::string> models;
        Counts counts;
    };

    // Counts the runs started at or after `since` (ISO 8601 UTC; "" for all).
    explicit RunReuse(std::string since) : since_(std::move(since)) {}

    void add(const SCM::SCMRun& run);

    const std::string& since() const { return since_; }
    // The runs counted, in the order added.
    const std::vector<Run>& runs() const { return runs_; }
    const std::map<std::string, Counts>& byModel() const { return byModel_; }
    const Counts& total() const { return total_; }
    // Every outcome summed over the runs counted.
    const SCM::SCMRunCounts& outcomes() const { return outcomes_; }

private:
    std::string since_;
    std::vector<Run> runs_;
    std::map<std::string, Counts> byModel_;
    Counts total_;
    SCM::SCMRunCounts outcomes_;
};

}  // namespace scm_tool
