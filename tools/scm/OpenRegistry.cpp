#include "OpenRegistry.hpp"

#include <iostream>

#include "ExitCode.hpp"
#include "RegistryName.hpp"

namespace scm_tool {

namespace {

SCM::SCMVrexDataAdapter::OpenMode modeFor(OpenRegistry::Access access) {
    return access == OpenRegistry::Access::Read ? SCM::SCMVrexDataAdapter::OpenMode::ReadOnly
                                                : SCM::SCMVrexDataAdapter::OpenMode::ReadWrite;
}

}  // namespace

OpenRegistry::OpenRegistry(const std::string& path, Access access)
    : path_(printableRegistryName(path)),
      adapter_(new SCM::SCMVrexDataAdapter(path, SCM::getMetaModelFile(), modeFor(access))) {
    facade_.setDataAdapter(adapter_);
    if (!adapter_->doesExist()) {
        throw ToolError("cannot open the registry: " + adapter_->getOpenError());
    }
}

std::vector<OwnedEntry> OpenRegistry::entries(SCM::SCMTypes type) {
    const std::vector<SCM::SCMIdentityDataPair> entries = adapter_->getAllEntries(type);
    std::vector<OwnedEntry> owned;
    owned.reserve(entries.size());  // no reallocation: nothing can throw while raw pointers wait
    for (auto [identity, data] : entries) {
        owned.push_back({std::unique_ptr<SCM::SCMIdentity>(identity),
                         std::unique_ptr<SCM::SCMData>(data)});
    }
    const std::size_t stored = adapter_->getAllChildren(type).size();
    if (owned.size() < stored) {
        skippedEntries_ += stored - owned.size();
        std::cerr << "scm: warning: " << stored - owned.size() << " of the " << stored
                  << " entries of " << SCM::scmTypeToString(type)
                  << " do not decode and are left out (scm check lists them)\n";
    }
    return owned;
}

std::vector<OwnedEntry> OpenRegistry::entries(const std::vector<SCM::SCMTypes>& types) {
    std::vector<OwnedEntry> all;
    for (SCM::SCMTypes type : types) {
        for (OwnedEntry& entry : entries(type)) all.push_back(std::move(entry));
    }
    return all;
}

}  // namespace scm_tool
