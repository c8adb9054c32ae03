#include "StatsFormats.hpp"

#include <nlohmann/json.hpp>

#include "Categories.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

using Json = nlohmann::ordered_json;

Json jsonCounts(const RunReuse::Counts& counts) {
    return {{"runs", counts.runs},
            {"offered", counts.offered},
            {"new", counts.created},
            {"reused", counts.reused},
            {"reuseRatio", counts.ratio()}};
}

Json jsonTexts(const std::set<std::string>& texts) {
    Json json = Json::array();
    for (const std::string& text : texts) json.push_back(jsonText(text));
    return json;
}

Json jsonRuns(const RunReuse& reuse) {
    Json runs = Json::array();
    for (const RunReuse::Run& run : reuse.runs()) {
        Json json = {{"run", run.id}, {"started", run.started},
                     {"models", jsonTexts({run.models.begin(), run.models.end()})}};
        json.update(jsonCounts(run.counts));
        json.erase("runs");
        runs.push_back(std::move(json));
    }
    return runs;
}

// A label value with backslash, quote and line feed escaped.
std::string labelValue(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        if (c == '\\' || c == '"') escaped += '\\';
        escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return '"' + escaped + '"';
}

void family(std::ostream& out, const char* name, const char* type, const char* help) {
    out << "# TYPE " << name << ' ' << type << "\n# HELP " << name << ' ' << help << '\n';
}

void modelCounter(std::ostream& out, const RunReuse& reuse, const char* name, const char* help,
                  std::uint64_t RunReuse::Counts::*field) {
    family(out, name, "counter", help);
    for (const auto& [model, counts] : reuse.byModel()) {
        out << name << "_total{model=" << labelValue(model) << "} " << counts.*field << '\n';
    }
}

}  // namespace

void printStatsJson(std::ostream& out, const std::string& registry, const ReuseStats& stats,
                    const RunReuse& reuse) {
    Json json = {{"registry", jsonText(registry)}, {"entries", Json::object()}};
    for (SCM::SCMTypes type : allCategories()) json["entries"][shortName(type)] = stats.entries(type);
    json["total"] = stats.total();
    json["models"] = jsonTexts(stats.models());
    json["pieces"] = stats.pieces();
    json["mostShared"] = Json::array();
    for (const ReuseStats::Piece& piece : stats.mostShared()) {
        json["mostShared"].push_back({{"category", shortName(piece.category)}, {"name", jsonText(piece.name)},
                                      {"key", jsonText(piece.key)}, {"models", jsonTexts(piece.models)}});
    }
    json["since"] = reuse.since();
    json["reuse"] = jsonCounts(reuse.total());
    json["runs"] = jsonRuns(reuse);
    json["reuseByModel"] = Json::object();
    for (const auto& [model, counts] : reuse.byModel()) json["reuseByModel"][model] = jsonCounts(counts);
    out << json.dump(2) << '\n';
}

void printOpenMetrics(std::ostream& out, const ReuseStats& stats, const RunReuse& reuse) {
    family(out, "scm_registry_entries", "gauge", "Entries stored, per category.");
    for (SCM::SCMTypes type : allCategories()) {
        out << "scm_registry_entries{category=\"" << SCM::scmTypeToString(type) << "\"} "
            << stats.entries(type) << '\n';
    }
    family(out, "scm_register_runs", "counter", "Recorded scm register runs.");
    out << "scm_register_runs_total " << reuse.total().runs << '\n';
    family(out, "scm_register_entries", "counter", "Entries offered to register runs, per outcome.");
    const SCM::SCMRunCounts& outcomes = reuse.outcomes();
    const std::pair<const char*, std::uint64_t> perOutcome[] = {
        {"created", outcomes.registered}, {"merged", outcomes.merged}, {"unchanged", outcomes.unchanged},
        {"clash", outcomes.clashes},      {"error", outcomes.errors}};
    for (const auto& [outcome, count] : perOutcome) {
        out << "scm_register_entries_total{outcome=\"" << outcome << "\"} " << count << '\n';
    }
    modelCounter(out, reuse, "scm_model_entries_offered", "Entries offered by runs of the model.",
                 &RunReuse::Counts::offered);
    modelCounter(out, reuse, "scm_model_entries_new", "Entries runs of the model stored new.",
                 &RunReuse::Counts::created);
    modelCounter(out, reuse, "scm_model_entries_reused", "Entries runs of the model found stored.",
                 &RunReuse::Counts::reused);
    out << "# EOF\n";
}

}  // namespace scm_tool
