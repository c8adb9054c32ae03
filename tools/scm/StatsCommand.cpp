#include <algorithm>
#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "RegistryReader.hpp"
#include "ProgressBar.hpp"
#include "ReuseStats.hpp"
#include "RunHistory.hpp"
#include "RunReuse.hpp"
#include "StatsFormats.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

std::string joined(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + cellText(name);
    return text;
}

void printCategories(const ReuseStats& stats) {
    TextTable table({"CATEGORY", "ENTRIES"});
    table.alignRight(1);
    for (SCM::SCMTypes type : allCategories()) {
        // The marker category only holds entries whose category is outside the enumeration.
        if (type == SCM::SCM_NUM && stats.entries(type) == 0) continue;
        table.addRow({shortName(type), std::to_string(stats.entries(type))});
    }
    table.addRow({"total", std::to_string(stats.total())});
    table.print(std::cout);
}

void printReuse(const ReuseStats& stats) {
    const std::set<std::string>& models = stats.models();
    std::cout << "\nmodels: " << models.size()
              << (models.empty() ? "" : " (" + joined(models) + ")")
              << "\npieces that name their models: " << stats.pieces() << '\n';
    const auto& counts = stats.piecesPerModelCount();
    for (auto count = counts.rbegin(); count != counts.rend(); ++count) {
        std::cout << "  used by " << count->first << (count->first == 1 ? " model: " : " models: ")
                  << count->second << '\n';
    }
    const std::vector<ReuseStats::Piece> pieces = stats.mostShared();
    if (pieces.empty()) return;
    std::cout << "\nmost shared pieces:\n";
    TextTable table({"MODELS", "CATEGORY", "NAME", "KEY", "TRACES", "USED BY"});
    table.alignRight(0);
    table.alignRight(4);
    for (const ReuseStats::Piece& piece : pieces) {
        table.addRow({std::to_string(piece.models.size()), shortName(piece.category),
                      cellText(piece.name), cellText(piece.key), std::to_string(piece.traceability),
                      joined(piece.models)});
    }
    table.print(std::cout);
}

std::string percent(double ratio) { return std::to_string(static_cast<int>(ratio * 100 + 0.5)) + "%"; }

void addReuseRow(TextTable& table, const std::string& what, const RunReuse::Counts& counts) {
    table.addRow({what, std::to_string(counts.runs), std::to_string(counts.offered),
                  std::to_string(counts.created), std::to_string(counts.reused), percent(counts.ratio())});
}

// What the recorded runs reused, per model and in all.
void printRunReuse(const RunReuse& reuse) {
    const std::string since = reuse.since().empty() ? "" : " since " + reuse.since();
    if (reuse.runs().empty()) {
        std::cout << "\nno runs recorded" << since << '\n';
        return;
    }
    std::cout << "\nreuse by the runs" << since << ":\n";
    TextTable table({"MODEL", "RUNS", "OFFERED", "NEW", "REUSED", "RATIO"});
    for (std::size_t column = 1; column < 6; ++column) table.alignRight(column);
    for (const auto& [model, counts] : reuse.byModel()) addReuseRow(table, cellText(model), counts);
    addReuseRow(table, "all runs", reuse.total());
    table.print(std::cout);
}

}  // namespace

int runStats(const StatsOptions& options) {
    const std::string format = options.json ? "json" : options.format;
    RunReuse reuse(options.since.empty() ? "" : sinceTime(options.since));
    RegistryReader registry(options.registry);
    RunHistory(options.registry).forEachRun([&reuse](const SCM::SCMRun& run) { reuse.add(run); });
    registry.showProgress(progressWanted(false));
    ReuseStats stats(static_cast<std::size_t>(options.top));
    registry.forEachEntry(allCategories(),
                          [&stats](OwnedEntry& entry) { stats.add(*entry.identity, *entry.data); });
    if (format == "json") {
        printStatsJson(std::cout, registry.path(), stats, reuse);
    } else if (format == "openmetrics") {
        printOpenMetrics(std::cout, stats, reuse);
    } else {
        std::cout << "registry: " << registry.path() << "\n\n";
        printCategories(stats);
        printReuse(stats);
        printRunReuse(reuse);
    }
    return kExitOk;
}

}  // namespace scm_tool
