#include "reliability/RegistryCheck.hpp"


namespace reliability {

using namespace SCM;

std::size_t RegistryContents::count(SCMTypes type) const {
    auto found = entries.find(scmTypeToString(type));
    return found == entries.end() ? 0 : found->second.size();
}

const SCMData* RegistryContents::find(SCMIdentity& identity) const {
    auto category = entries.find(identity.getTypeString());
    if (category == entries.end()) return nullptr;
    auto entry = category->second.find(identity.getChecksum());
    return entry == category->second.end() ? nullptr : entry->second.data.get();
}

RegistryContents checkRegistry(const std::string& file) {
    RegistryContents contents;
    SCMRegistryInspector registry(file);
    if (!registry.isOpen()) {
        contents.problems.push_back("cannot open: " + registry.getOpenError());
        return contents;
    }
    contents.opened = true;
    auto problems = tvdiag::util::diagnostics::getEmptyInstance();
    auto error = tvdiag::util::diagnostics::getEmptyInstance();
    registry.checkEntries(problems, error);
    for (const tvdiag::util::diagnostic& problem : error.records()) problems.add(problem.identifier, problem.message);
    for (const tvdiag::util::diagnostic& problem : problems.records()) {
        contents.problems.push_back(problem.identifier + ": " + problem.message);
    }
    for (SCMTypes type : {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES, SCM_OTHER, SCM_NUM,
                          SCM_SHARED_DATA, SCM_SHARED_CONSTANTS}) {
        auto& entries = contents.entries[scmTypeToString(type)];
        for (const SCMIdentityDataPair& pair : registry.getAllEntries(type)) {
            StoredEntry entry{pair.first->getChecksum(), std::unique_ptr<SCMIdentity>(pair.first),
                              std::unique_ptr<SCMData>(pair.second)};
            const std::string checksum = entry.checksum;
            entries.emplace(checksum, std::move(entry));  // the first of a duplicate, as lookups do
        }
    }
    return contents;
}

}  // namespace reliability
