#include <iostream>

#include <nlohmann/json.hpp>

#include "Commands.hpp"
#include "RunHistory.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

using Json = nlohmann::ordered_json;

Json jsonTexts(const std::vector<std::string>& texts) {
    Json json = Json::array();
    for (const std::string& text : texts) json.push_back(jsonText(text));
    return json;
}

Json jsonRun(const SCM::SCMRun& run) {
    return {{"run", run.id},
            {"started", run.started},
            {"ended", run.ended},
            {"host", jsonText(run.host)},
            {"user", jsonText(run.user)},
            {"manifests", jsonTexts(run.manifests)},
            {"models", jsonTexts(run.models)},
            {"registered", run.counts.registered},
            {"merged", run.counts.merged},
            {"unchanged", run.counts.unchanged},
            {"clashes", run.counts.clashes},
            {"errors", run.counts.errors}};
}

std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& item : texts) text += (text.empty() ? "" : ", ") + cellText(item);
    return text;
}

void printRuns(const std::vector<SCM::SCMRun>& runs) {
    TextTable table({"RUN", "STARTED", "HOST", "USER", "REGISTERED", "MERGED", "UNCHANGED",
                     "CLASHES", "ERRORS", "MODELS"});
    for (std::size_t column = 4; column < 9; ++column) table.alignRight(column);
    for (const SCM::SCMRun& run : runs) {
        const SCM::SCMRunCounts& counts = run.counts;
        table.addRow({run.id, run.started, cellText(run.host), cellText(run.user),
                      std::to_string(counts.registered), std::to_string(counts.merged),
                      std::to_string(counts.unchanged), std::to_string(counts.clashes),
                      std::to_string(counts.errors), joined(run.models)});
    }
    table.print(std::cout);
}

}  // namespace

int runRuns(const RunsOptions& options) {
    const std::string since = options.since.empty() ? "" : sinceTime(options.since);
    RunHistory history(options.registry);
    const std::vector<SCM::SCMRun> runs = history.runs(since);
    const std::string registry = SCM::getPrintableRegistryName(options.registry);
    if (options.json) {
        Json json = {{"registry", jsonText(registry)}, {"runs", Json::array()}};
        for (const SCM::SCMRun& run : runs) json["runs"].push_back(jsonRun(run));
        std::cout << json.dump(2) << '\n';
    } else if (runs.empty()) {
        std::cout << "no runs recorded in " << registry << (since.empty() ? "" : " since " + since) << '\n';
    } else {
        printRuns(runs);
    }
    return kExitOk;
}

}  // namespace scm_tool
