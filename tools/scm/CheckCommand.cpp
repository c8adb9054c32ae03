#include <cstdint>
#include <iostream>
#include <optional>

#include "Commands.hpp"
#include "ProgressBar.hpp"
#include "RegistryReader.hpp"

namespace scm_tool {

namespace {

// On a terminal, says what the check does before it reads the entries: SQLite's search of every
// page, which gives no progress of its own and takes minutes on a file of millions of entries.
// The line goes when the entries' progress replaces it, or when this ends.
class StorageCheckNotice {
public:
    explicit StorageCheckNotice(bool shown) : shown_(shown) {
        if (shown_) std::cerr << "checking every page of the storage for damage (--quick leaves this out)..." << std::flush;
    }
    ~StorageCheckNotice() {
        if (shown_) std::cerr << "\r\033[K" << std::flush;
    }
    StorageCheckNotice(const StorageCheckNotice&) = delete;
    StorageCheckNotice& operator=(const StorageCheckNotice&) = delete;

private:
    bool shown_;
};

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
        const bool showProgress = progressWanted(false);
        const std::uint64_t estimate = showProgress ? registry.inspector().estimateEntries() : 0;
        StorageCheckNotice notice(showProgress && !options.quick);
        std::optional<ProgressBar> progress;  // from the first entry: its rate is the entries'
        entries = registry.inspector().checkEntries(
            problems, diagnostics,
            [&](std::size_t checked) {
                if (!progress) progress.emplace(estimate, showProgress);
                progress->update(checked, checked);
            },
            options.quick ? SCM::SCMRegistryInspector::Depth::Quick : SCM::SCMRegistryInspector::Depth::Full);
        if (progress) progress->finish();
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
