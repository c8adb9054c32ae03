#include "RunHistory.hpp"

#include <algorithm>
#include <regex>

#include "ExitCode.hpp"
#include "RegistryReader.hpp"

namespace scm_tool {

namespace {

// Runs the read `fn` with a fresh diagnostics list; throws ToolError when it failed.
template <typename Fn>
void readOrThrow(Fn fn) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    fn(diagnostics);
    if (!diagnostics.empty()) throwUnreadable(diagnostics);
}

}  // namespace

RunHistory::RunHistory(const std::string& path) : reader_(path) {
    if (!reader_.isOpen()) throw ToolError("cannot open the registry: " + reader_.getOpenError());
}

void RunHistory::forEachRun(const std::function<void(const SCM::SCMRun&)>& visit) {
    readOrThrow([&](tvdiag::util::diagnostics& diagnostics) { reader_.visitRuns(visit, diagnostics); });
}

std::vector<SCM::SCMRun> RunHistory::runs(const std::string& since) {
    std::vector<SCM::SCMRun> runs;
    forEachRun([&](const SCM::SCMRun& run) {
        if (run.started >= since) runs.push_back(run);
    });
    std::reverse(runs.begin(), runs.end());  // runs of one second: the last recorded first
    std::stable_sort(runs.begin(), runs.end(), [](const SCM::SCMRun& a, const SCM::SCMRun& b) {
        return a.started > b.started;
    });
    return runs;
}

std::vector<SCM::SCMRunEntry> RunHistory::entryHistory(const std::string& category,
                                                       const std::string& checksum) {
    std::vector<SCM::SCMRunEntry> history;
    readOrThrow([&](tvdiag::util::diagnostics& diagnostics) {
        history = reader_.entryHistory(checksum, diagnostics);
    });
    history.erase(std::remove_if(history.begin(), history.end(),
                                 [&](const SCM::SCMRunEntry& entry) { return entry.category != category; }),
                  history.end());
    return history;
}

SCM::SCMRun RunHistory::run(const std::string& id) {
    SCM::SCMRun run;
    readOrThrow([&](tvdiag::util::diagnostics& diagnostics) {
        if (!reader_.findRun(id, run, diagnostics)) run.id = id;
    });
    return run;
}

std::string sinceTime(const std::string& text) {
    static const std::regex date(R"(\d{4}-\d{2}-\d{2})");
    static const std::regex time(R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z)");
    if (std::regex_match(text, date)) return text + "T00:00:00Z";
    if (std::regex_match(text, time)) return text;
    throw ToolError("--since takes a UTC date or time (2026-11-24 or 2026-11-24T13:00:00Z), not \"" +
                    text + "\"");
}

}  // namespace scm_tool
