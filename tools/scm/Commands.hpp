#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ExitCode.hpp"

// The tool's subcommands. Each opens the registry, makes a few library calls, prints, and returns
// its exit code (ExitCode.hpp); a failure that ends it early is thrown as ToolError.
namespace scm_tool {

struct RegisterOptions {
    std::string registry;
    std::vector<std::string> manifests;  // "-" reads standard input
    bool json = false;                   // the summary as JSON
    bool verbose = false;                // one line per entry
    bool keepGoing = false;              // commit the entries that could be stored despite errors
};
// Registers every entry of the manifests in one transaction (see Registration): kept whole, or,
// when any line or manifest has an error and keepGoing is off, not at all.
int runRegister(const RegisterOptions& options);

struct ListOptions {
    std::string registry;
    std::string category;  // "" for every category
    bool names = false;    // names only, one per line
};
int runList(const ListOptions& options);

struct ShowOptions {
    std::string registry;
    std::string category;
    std::string name;
    std::string checksum;  // instead of category and name
    bool all = false;      // hidden properties too
};
int runShow(const ShowOptions& options);

struct ExportOptions {
    std::string registry;
    std::string category;  // "" for every category
};
int runExport(const ExportOptions& options);

struct StatsOptions {
    std::string registry;
    int top = 10;                  // how many of the most shared pieces to list
    std::string since;             // count the runs started since this UTC date or time
    std::string format = "text";   // text, json or openmetrics
    bool json = false;             // the same as format json
};
int runStats(const StatsOptions& options);

struct RunsOptions {
    std::string registry;
    std::string since;  // a UTC date or time; "" for every run
    bool json = false;
};
// Lists the `scm register` runs recorded in the registry, the newest first, with their counts.
int runRuns(const RunsOptions& options);

struct ExplainOptions {
    std::string registry;
    std::string category;
    std::string name;
    std::string checksum;  // instead of category and name
};
// Shows how an entry's key fields make its checksum, its stored record, and every run that
// created it, merged into it or clashed with it.
int runExplain(const ExplainOptions& options);

struct ForgetOptions {
    std::string registry;
    std::string model;
    bool dryRun = false;  // print what would change, whatever else is asked (the default)
    bool apply = false;   // remove the model from the utilities
    bool prune = false;   // apply, and delete the entries nothing needs that have provenance
};
// Retires a model (SCMModelRetirement) in one transaction and lists the entries nothing needs.
int runForget(const ForgetOptions& options);

struct CheckOptions {
    std::string registry;
    bool repair = false;  // fix what can be fixed after the read-only check
    bool quick = false;   // without the storage's search for damage
};
// Checks the registry read-only. With repair, then opens it for writing, which makes its missing
// parts again, deletes its torn rows and checks it again, exiting as that check does.
int runCheck(const CheckOptions& options);

}  // namespace scm_tool
