#pragma once

#include <ostream>
#include <string>

#include "ReuseStats.hpp"
#include "RunReuse.hpp"

namespace scm_tool {

// `scm stats` for programs: what the registry holds and shares, and the reuse its runs show.

// One JSON object: the entries per category, the models and the most shared pieces, then the
// runs since the date and the reuse per model.
void printStatsJson(std::ostream& out, const std::string& registry, const ReuseStats& stats,
                    const RunReuse& reuse);

// The OpenMetrics text exposition for a metrics collector: the entries per category as gauges,
// the runs, their entries per outcome and each model's offered, new and reused entries as
// counters; ends with "# EOF".
void printOpenMetrics(std::ostream& out, const ReuseStats& stats, const RunReuse& reuse);

}  // namespace scm_tool
