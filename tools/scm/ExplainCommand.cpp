#include <iostream>

#include "Commands.hpp"
#include "EntrySearch.hpp"
#include "RunHistory.hpp"
#include "SCMChecksumInput.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

std::string hexText(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

// How the key fields make the checksum: the digest's exact input, and what it gives.
void printDigest(const OwnedEntry& entry) {
    std::string checksum;
    const std::string input = SCM::checksumInput(*entry.identity, checksum);
    std::cout << "digest input (" << input.size() << " bytes): " << hexText(input) << '\n'
              << "checksum: " << quotedText(checksum)
              << (checksum == entry.identity->getChecksum() ? " (the stored key)"
                                                             : " (not the stored key: scm check)")
              << '\n';
}

std::string describeRun(const SCM::SCMRun& run) {
    if (run.started.empty()) return "run " + run.id + " (not recorded)";
    std::string text = "run " + run.id + " at " + run.started + " by " + cellText(run.user) + "@" +
                       cellText(run.host);
    for (std::size_t i = 0; i < run.manifests.size(); ++i) {
        text += (i == 0 ? " from " : ", ") + cellText(run.manifests[i]);
    }
    return text;
}

const char* verbOf(SCM::SCMRunOutcome outcome) {
    switch (outcome) {
        case SCM::SCMRunOutcome::Created: return "created by";
        case SCM::SCMRunOutcome::Merged: return "merged by";
        case SCM::SCMRunOutcome::Unchanged: return "offered unchanged by";
        case SCM::SCMRunOutcome::Clash: break;
    }
    return "clash with";
}

// Every run that touched the entry, in order, each clash with its differences as register
// printed them.
void printHistory(RunHistory& history, const OwnedEntry& entry) {
    const auto rows = history.entryHistory(entry.identity->getTypeString(), entry.identity->getChecksum());
    std::cout << "history:\n";
    if (rows.empty()) {
        std::cout << "  no run recorded it (registered before runs were recorded, or by the library)\n";
    }
    for (const SCM::SCMRunEntry& row : rows) {
        std::cout << "  " << verbOf(row.outcome) << ' ' << describeRun(history.run(row.run)) << '\n';
        for (const std::string& difference : row.differences) std::cout << "    " << difference << '\n';
    }
}

}  // namespace

int runExplain(const ExplainOptions& options) {
    const EntrySearch search{options.category, options.name, options.checksum};
    search.requireOneForm("explain");
    RegistryReader registry(options.registry);
    RunHistory history(options.registry);
    const FoundEntries found = findEntries(registry, search);
    for (std::size_t i = 0; i < found.entries.size(); ++i) {
        if (i > 0) std::cout << '\n';
        printEntry(std::cout, found.entries[i], true);
        printDigest(found.entries[i]);
        printHistory(history, found.entries[i]);
    }
    return reportSearch(registry, search, found);
}

}  // namespace scm_tool
