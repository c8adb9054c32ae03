#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Commands.hpp"
#include "Registration.hpp"
#include "RunTransaction.hpp"
#include "StandardOutput.hpp"

namespace scm_tool {

namespace {

// The size of every manifest that is a regular file; 0 (unknown) when one is standard input.
std::uint64_t totalSize(const std::vector<std::string>& manifests) {
    std::uint64_t total = 0;
    for (const std::string& manifest : manifests) {
        std::error_code error;
        if (manifest == "-") return 0;
        if (std::filesystem::is_regular_file(manifest, error)) {
            total += std::filesystem::file_size(manifest, error);
        }
    }
    return total;
}

void registerManifest(Registration& registration, const std::string& manifest) {
    if (manifest == "-") return registration.registerManifest(std::cin, "<stdin>");
    std::error_code error;
    if (std::filesystem::is_directory(manifest, error)) {
        return registration.reportUnreadable(manifest, "it is a directory");
    }
    std::ifstream in(manifest, std::ios::binary);
    if (!in) return registration.reportUnreadable(manifest, std::strerror(errno));
    registration.registerManifest(in, manifest);
}

}  // namespace

int runRegister(const RegisterOptions& options) {
    const auto start = std::chrono::steady_clock::now();
    OpenRegistry registry(options.registry);
    RegistrationReport report;
    ProgressBar progress(totalSize(options.manifests),
                         !options.verbose && ::isatty(STDERR_FILENO) == 1);

    // One transaction for the whole run, its provenance included: batch speed, and either the
    // whole run is kept or none.
    RunTransaction run(registry);
    RunRecord record(registry, options.manifests);
    report.setRun(record.id());
    Registration registration(registry, report, progress, options.verbose ? &std::cout : nullptr,
                              !options.keepGoing, &record);
    for (const std::string& manifest : options.manifests) {
        if (!registration.stopped()) registerManifest(registration, manifest);
    }
    std::string reason;
    if (report.hasErrors() && !options.keepGoing) {
        run.abandon();
        report.setFailure(registration.stopped()
                              ? "nothing was written: the run stopped at the first entry the "
                                "registry could not store"
                              : "nothing was written: the run had errors (--keep-going keeps the "
                                "entries that could be stored)");
    } else if (!record.finish(report, reason)) {
        run.abandon();
        report.setFailure("nothing was written: the run could not be recorded in the registry \"" +
                          registry.path() + "\": " + reason);
    } else if (!run.commit(reason)) {
        report.setFailure("nothing was kept: the registry \"" + registry.path() +
                          "\" could not commit the run: " + reason);
    }
    progress.finish();

    report.setSeconds(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (options.json) {
        report.printJson(std::cout, registry.path());
    } else {
        report.printText(std::cout);
    }
    try {
        finishStandardOutput();
    } catch (const ToolError& error) {  // the report decides nothing: say what became of the run
        throw ToolError(std::string(error.what()) + " (" +
                        (report.committed() ? "the run was committed" : "nothing was kept") + ")");
    }
    return report.exitCode();
}

}  // namespace scm_tool
