#include "OpenRegistry.hpp"

#include <iostream>

#include "ExitCode.hpp"

namespace scm_tool {

namespace {

SCM::SCMVrexDataAdapter::OpenMode modeFor(OpenRegistry::Access access) {
    return access == OpenRegistry::Access::Read ? SCM::SCMVrexDataAdapter::OpenMode::ReadOnly
                                                : SCM::SCMVrexDataAdapter::OpenMode::Writable;
}

}  // namespace

OpenRegistry::OpenRegistry(const std::string& path, Access access)
    : path_(SCM::getPrintableRegistryName(path)),
      facade_(std::make_unique<SCM::SharedCodeManagerInterface>()),
      adapter_(new SCM::SCMVrexDataAdapter(path, SCM::getMetaModelFile(), modeFor(access))) {
    facade_->setDataAdapter(adapter_);
    if (!adapter_->doesExist()) {
        throw ToolError("cannot open the registry: " + adapter_->getOpenError());
    }
}

void OpenRegistry::forEachEntry(SCM::SCMTypes type, const EntryVisitor& visit) {
    std::size_t skipped = 0;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const std::size_t stored = adapter_->visitEntries(
        type,
        [&](SCM::SCMVrexDataAdapter::StoredEntry& stored) {
            if (stored.identity == nullptr || stored.data == nullptr) {
                ++skipped;
                return;
            }
            OwnedEntry entry{std::move(stored.identity), std::move(stored.data)};
            visit(entry);
        },
        diagnostics);
    if (!diagnostics.empty()) throwUnreadable(diagnostics);
    if (skipped > 0) {
        skippedEntries_ += skipped;
        std::cerr << "scm: warning: " << skipped << " of the " << stored << " entries of "
                  << SCM::scmTypeToString(type)
                  << " do not decode and are left out (scm check lists them)\n";
    }
}

void OpenRegistry::forEachEntry(const std::vector<SCM::SCMTypes>& types,
                                const EntryVisitor& visit) {
    for (SCM::SCMTypes type : types) forEachEntry(type, visit);
}

void OpenRegistry::discard() {
    facade_.reset();  // deletes the adapter, which closes the dictionary
    adapter_ = nullptr;
}

void throwUnreadable(const tvdiag::util::diagnostics& diagnostics) {
    throw ToolError("cannot read the registry: " + diagnostics.messages());
}

}  // namespace scm_tool
