#include "RunRecord.hpp"

#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "ReuseStats.hpp"

namespace scm_tool {

namespace {

std::string hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

std::string userName() {
    if (const passwd* user = ::getpwuid(::geteuid())) return user->pw_name;
    const char* name = std::getenv("USER");
    return name != nullptr ? name : std::to_string(::geteuid());
}

SCM::SCMRunOutcome runOutcome(Outcome outcome) {
    switch (outcome) {
        case Outcome::Registered: return SCM::SCMRunOutcome::Created;
        case Outcome::Merged: return SCM::SCMRunOutcome::Merged;
        case Outcome::Unchanged: return SCM::SCMRunOutcome::Unchanged;
        default: return SCM::SCMRunOutcome::Clash;
    }
}

}  // namespace

RunRecord::RunRecord(OpenRegistry& registry, std::vector<std::string> manifests)
    : recorder_(registry.adapter()) {
    const auto now = std::chrono::system_clock::now();
    run_.id = SCM::SCMRunRecorder::newRunId(now);
    row_.run = run_.id;
    run_.started = SCM::SCMRunRecorder::utcText(now);
    run_.host = hostName();
    run_.user = userName();
    for (std::string& manifest : manifests) run_.manifests.push_back(manifest == "-" ? "<stdin>" : std::move(manifest));
}

void RunRecord::addEntry(const ReportedEntry& entry, const SCM::SCMData& offered) {
    if (entry.outcome == Outcome::Error || !failure_.empty()) return;
    ReuseStats::forEachModelOf(offered, [this](std::string_view model) {
        if (model != lastModel_ && models_.find(model) == models_.end()) models_.emplace(model);
        lastModel_ = model;
    });
    row_.category = entry.place.category;  // assigned into the same row: no allocation per entry
    row_.checksum = entry.place.key;
    row_.outcome = runOutcome(entry.outcome);
    row_.differences.clear();
    for (const Difference& difference : entry.differences) row_.differences.push_back(differenceText(difference));
    if (!recorder_.recordEntry(row_)) failure_ = recorder_.getLastError();
}

bool RunRecord::finish(const RegistrationReport& report, std::string& reason) {
    run_.ended = SCM::SCMRunRecorder::utcText(std::chrono::system_clock::now());
    run_.models.assign(models_.begin(), models_.end());
    run_.counts = report.counts();
    if (failure_.empty() && !recorder_.recordRun(run_)) failure_ = recorder_.getLastError();
    reason = failure_;
    return failure_.empty();
}

}  // namespace scm_tool
