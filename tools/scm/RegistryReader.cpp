#include "RegistryReader.hpp"

#include <iostream>

#include "ExitCode.hpp"
#include "SCMVrexDataAdapter.hpp"

namespace scm_tool {

RegistryReader::RegistryReader(const std::string& path)
    : path_(SCM::getPrintableRegistryName(path)), inspector_(path) {
    if (!inspector_.isOpen()) {
        throw ToolError("cannot open the registry: " + inspector_.getOpenError());
    }
}

RegistryReader::~RegistryReader() { progress_.finish(); }

void RegistryReader::forEachEntry(SCM::SCMTypes type, const EntryVisitor& visit) {
    std::size_t skipped = 0;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const std::size_t stored = inspector_.visitEntries(
        type,
        [&](SCM::SCMRegistryInspector::StoredEntry& stored) {
            if (stored.identity == nullptr || stored.data == nullptr) {
                ++skipped;
                return;
            }
            OwnedEntry entry{std::move(stored.identity), std::move(stored.data)};
            ++visited_;
            progress_.update(visited_, visited_);
            visit(entry);
        },
        diagnostics);
    if (!diagnostics.empty()) throwUnreadable(diagnostics);
    if (skipped > 0) {
        skippedEntries_ += skipped;
        progress_.finish();
        std::cerr << "scm: warning: " << skipped << " of the " << stored << " entries of "
                  << SCM::scmTypeToString(type)
                  << " do not decode and are left out (scm check lists them)\n";
    }
}

void RegistryReader::forEachEntry(const std::vector<SCM::SCMTypes>& types,
                                  const EntryVisitor& visit) {
    for (SCM::SCMTypes type : types) forEachEntry(type, visit);
    progress_.finish();
}

void throwUnreadable(const tvdiag::util::diagnostics& diagnostics) {
    throw ToolError("cannot read the registry: " + diagnostics.messages());
}

}  // namespace scm_tool
