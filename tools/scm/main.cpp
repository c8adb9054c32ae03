// scm: the shared code registry from the command line. Each subcommand is a few library calls;
// see Commands.hpp, and README.md ("The scm tool") for the exit codes.
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "Commands.hpp"
#include "ExitCode.hpp"
#include "SCMModuleEntry.hpp"
#include "StandardOutput.hpp"

namespace {

using namespace scm_tool;

const char* const kCategoryHelp =
    "category: utilities, functions, types, data, constants, other, num, or the full name "
    "(SCM_SHARED_FUNCTIONS)";

// A subcommand whose first argument is the registry.
CLI::App* addCommand(CLI::App& app, const char* name, const char* description,
                     std::string& registry,
                     const char* registryHelp = "registry file or postgresql:// URI") {
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("registry", registry, registryHelp)->required();
    return command;
}

// The two ways show and explain name an entry: CATEGORY NAME, or --checksum KEY.
void addEntrySearch(CLI::App* command, std::string& category, std::string& name, std::string& checksum) {
    command->add_option("category", category, kCategoryHelp);
    command->add_option("name", name, "entry name");
    command->add_option("--checksum", checksum, "the entry's key, in every category");
}

CLI::App* addRegister(CLI::App& app, RegisterOptions& options) {
    CLI::App* command = addCommand(
        app, "register",
        "Register the entries of JSON Lines manifests (docs/manifest.md) in one transaction; "
        "exit 1 on clashes, 2 on errors",
        options.registry, "registry file or postgresql:// URI (created when absent)");
    command->add_option("manifests", options.manifests, "manifest files; - reads standard input")
        ->required();
    CLI::Option* json = command->add_flag("--json", options.json, "print the summary as JSON");
    command->add_flag("-v,--verbose", options.verbose, "print every entry's outcome")
        ->excludes(json);  // the JSON summary stays the only output
    command->add_flag("--keep-going", options.keepGoing,
                      "keep the entries that could be stored when others have errors (by default "
                      "a run with any error writes nothing)");
    return command;
}

CLI::App* addList(CLI::App& app, ListOptions& options) {
    CLI::App* command =
        addCommand(app, "list", "List the entries, as a table or by name", options.registry);
    command->add_option("category", options.category, kCategoryHelp);
    command->add_flag("--names", options.names, "print only the names, one per line");
    return command;
}

CLI::App* addShow(CLI::App& app, ShowOptions& options) {
    CLI::App* command = addCommand(
        app, "show",
        "Show an entry by category and name, or by checksum; exit 1 when there is none",
        options.registry);
    addEntrySearch(command, options.category, options.name, options.checksum);
    command->add_flag("--all", options.all, "show hidden properties too");
    return command;
}

CLI::App* addExport(CLI::App& app, ExportOptions& options) {
    CLI::App* command = addCommand(
        app, "export", "Write the entries as a manifest (JSON Lines) that register reads back",
        options.registry);
    CLI::Option* positional = command->add_option("category", options.category, kCategoryHelp);
    command->add_option("--category", options.category, kCategoryHelp)->excludes(positional);
    return command;
}

CLI::App* addStats(CLI::App& app, StatsOptions& options) {
    CLI::App* command = addCommand(app, "stats", "Entries per category, what the models share and what the runs reuse",
                                   options.registry);
    command->add_option("--top", options.top, "how many of the most shared pieces to list")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    command->add_option("--since", options.since,
                        "count the reuse of the register runs started since this UTC date or time");
    CLI::Option* format =
        command->add_option("--format", options.format, "text, json, or openmetrics (for a metrics collector)")
            ->capture_default_str()
            ->check(CLI::IsMember({"text", "json", "openmetrics"}));
    command->add_flag("--json", options.json, "the same as --format json")->excludes(format);
    return command;
}

CLI::App* addRuns(CLI::App& app, RunsOptions& options) {
    CLI::App* command = addCommand(app, "runs", "List the register runs, newest first, with their counts",
                                   options.registry);
    command->add_option("--since", options.since, "only runs started since this UTC date or time");
    command->add_flag("--json", options.json, "print the runs as JSON");
    return command;
}

CLI::App* addExplain(CLI::App& app, ExplainOptions& options) {
    CLI::App* command = addCommand(
        app, "explain",
        "Show how an entry's key makes its checksum, its record, and the runs that created, "
        "merged or clashed with it; exit 1 when there is none",
        options.registry);
    addEntrySearch(command, options.category, options.name, options.checksum);
    return command;
}

CLI::App* addForget(CLI::App& app, ForgetOptions& options) {
    CLI::App* command = addCommand(
        app, "forget",
        "Retire a model: remove it from every utility and list the entries nothing needs any "
        "more; a dry run unless --apply or --prune",
        options.registry);
    command->add_option("--model", options.model, "the model to retire")->required();
    command->add_flag("--dry-run", options.dryRun, "print what would change and change nothing (the default)");
    command->add_flag("--apply", options.apply, "remove the model from the utilities");
    command->add_flag("--prune", options.prune,
                      "also delete the entries nothing needs, when runs recorded them");
    return command;
}

// Throws ToolError when the first argument names no command: CLI11 would only say that a command
// is required.
void requireKnownCommand(CLI::App& app, int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '-') return;
    std::string known;
    for (const CLI::App* command : app.get_subcommands({})) {
        if (command->get_name() == argv[1]) return;
        known += (known.empty() ? "" : ", ") + command->get_name();
    }
    throw ToolError("unknown command \"" + std::string(argv[1]) + "\": use one of " + known +
                    " (scm --help)");
}

}  // namespace

int main(int argc, char** argv) {
    guardStandardStreams();
    CLI::App app("scm: the shared code registry of code generation runs", "scm");
    app.require_subcommand(1);
    app.set_version_flag("--version", "scm " SCM_VERSION);
    RegisterOptions registerOptions;
    ListOptions listOptions;
    ShowOptions showOptions;
    ExportOptions exportOptions;
    StatsOptions statsOptions;
    CheckOptions checkOptions;
    RunsOptions runsOptions;
    ExplainOptions explainOptions;
    ForgetOptions forgetOptions;
    CLI::App* registerCommand = addRegister(app, registerOptions);
    CLI::App* listCommand = addList(app, listOptions);
    CLI::App* showCommand = addShow(app, showOptions);
    CLI::App* exportCommand = addExport(app, exportOptions);
    CLI::App* statsCommand = addStats(app, statsOptions);
    CLI::App* runsCommand = addRuns(app, runsOptions);
    CLI::App* explainCommand = addExplain(app, explainOptions);
    CLI::App* forgetCommand = addForget(app, forgetOptions);
    CLI::App* checkCommand = addCommand(
        app, "check",
        "Check the storage and every entry (decoding, checksums, duplicates); exit 1 on problems",
        checkOptions.registry);
    checkCommand->add_flag("--repair", checkOptions.repair,
                           "then make missing parts of the storage again and delete torn entries");
    checkCommand->add_flag("--quick", checkOptions.quick,
                           "leave out the search of every page of the file for damage");
    try {
        requireKnownCommand(app, argc, argv);
        int exitCode = kExitError;
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {  // --help and --version end here too
            exitCode = app.exit(error) == 0 ? kExitOk : kExitError;
            finishStandardOutput();
            return exitCode;
        }
        HxInitialize_shared_code_manager();  // the library's classes, for reading manifests
        if (registerCommand->parsed()) exitCode = runRegister(registerOptions);
        if (listCommand->parsed()) exitCode = runList(listOptions);
        if (showCommand->parsed()) exitCode = runShow(showOptions);
        if (exportCommand->parsed()) exitCode = runExport(exportOptions);
        if (statsCommand->parsed()) exitCode = runStats(statsOptions);
        if (checkCommand->parsed()) exitCode = runCheck(checkOptions);
        if (runsCommand->parsed()) exitCode = runRuns(runsOptions);
        if (explainCommand->parsed()) exitCode = runExplain(explainOptions);
        if (forgetCommand->parsed()) exitCode = runForget(forgetOptions);
        finishStandardOutput();
        return exitCode;
    } catch (const ToolError& error) {
        std::cerr << "scm: " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "scm: unexpected error: " << error.what() << '\n';
    }
    return kExitError;
}
