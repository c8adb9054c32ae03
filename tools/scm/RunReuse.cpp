#include "RunReuse.hpp"

namespace scm_tool {

double RunReuse::Counts::ratio() const {
    return offered == 0 ? 0.0 : static_cast<double>(reused) / static_cast<double>(offered);
}

void RunReuse::Counts::add(const SCM::SCMRunCounts& counts) {
    ++runs;
    offered += counts.offered();
    created += counts.registered;
    reused += counts.reused();
}

void RunReuse::add(const SCM::SCMRun& run) {
    if (run.started < since_) return;
    Run counted{run.id, run.started, run.models, {}};
    counted.counts.add(run.counts);
    for (const std::string& model : run.models) byModel_[model].add(run.counts);
    total_.add(run.counts);
    outcomes_.registered += run.counts.registered;
    outcomes_.merged += run.counts.merged;
    outcomes_.unchanged += run.counts.unchanged;
    outcomes_.clashes += run.counts.clashes;
    outcomes_.errors += run.counts.errors;
    runs_.push_back(std::move(counted));
}

}  // namespace scm_tool
