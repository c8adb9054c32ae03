#include "RunRecord.hpp"

#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

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
    run_.started = SCM::SCMRunRecorder::utcText(now);
    run_.host = hostName();
    run_.user = userName();
    for (std::string& manifest : manifests) run_.manifests.push_back(manifest == "-" ? "<stdin>" : std::move(manifest));
}

void RunRecord::addEntry(const ReportedEntry& entry, const std::set<std::string>& models) {
    if (entry.outcome == Outcome::Error || !failure_.empty()) return;
    models_.insert(models.begin(), models.end());
    SCM::SCMRunEntry row{run_.id, entry.place.category, entry.place.key, runOutcome(entry.outcome), {}};
    for (const Difference& difference : entry.differences) row.differences.push_back(differenceText(difference));
    if (!recorder_.recordEntry(row)) failure_ = recorder_.getLastError();
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
