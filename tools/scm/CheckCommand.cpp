#include <iostream>

#include "Commands.hpp"
#include "ProgressBar.hpp"
#include "RegistryReader.hpp"

namespace scm_tool {

namespace {

std::string count(std::size_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

// Opening the registry for writing makes its missing parts again; then the torn rows go.
void repair(const std::string& path, std::size_t missingParts) {
    SCM::SCMRegistryInspector registry(path, SCM::SCMRegistryInspector::Access::Repair);
    if (!registry.isOpen()) throw ToolError("cannot open the registry: " + registry.getOpenError());
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const std::size_t deleted = registry.deleteTornEntries(diagnostics);
    if (!diagnostics.empty()) throw ToolError("cannot repair the registry: " + diagnostics.messages());
    std::cout << "repaired: " << count(missingParts, "missing part", "missing parts") << " of the storage made again, "
              << count(deleted, "torn row", "torn rows") << " deleted\n";
}

}  // namespace

int runCheck(const CheckOptions& options) {
    tvdiag::util::diagnostics problems;
    std::size_t entries = 0;
    std::string path;
    {
        RegistryReader registry(options.registry);
        path = registry.path();
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        ProgressBar progress(0, progressWanted(false));
        entries = registry.inspector().checkEntries(
            problems, diagnostics, [&progress](std::size_t checked) { progress.update(checked, 0); },
            options.quick ? SCM::SCMRegistryInspector::Depth::Quick : SCM::SCMRegistryInspector::Depth::Full);
        progress.finish();
        if (!diagnostics.empty()) throwUnreadable(diagnostics);
    }
    if (problems.empty()) {
        std::cout << "OK: " << path << ": " << entries << " entries; "
                  << (options.quick ? "the storage's schema is sound (its pages were not searched for damage)"
                                    : "the storage is sound")
                  << ", every entry decodes and matches its checksum\n";
        return kExitOk;
    }
    for (const tvdiag::util::diagnostic& problem : problems.records()) {
        std::cout << "problem: " << problem.message << '\n';
    }
    std::cout << count(problems.size(), "problem", "problems") << " in " << path << " (" << entries
              << " entries checked)\n";
    const std::size_t repairable = SCM::SCMRegistryInspector::countRepairable(problems);
    if (repairable == 0) return kExitFindings;
    if (!options.repair) {
        std::cout << "scm check --repair would fix " << repairable << " of them\n";
        return kExitFindings;
    }
    std::size_t missingParts = 0;
    for (const tvdiag::util::diagnostic& problem : problems.records()) {
        missingParts += problem.identifier == "vrex:integrity:missing" ? 1 : 0;
    }
    repair(options.registry, missingParts);
    return runCheck({options.registry, false, options.quick});  // what is left
}

}  // namespace scm_tool
