#include "StoredObjects.hpp"

namespace SCM {

vrex::ObjectRef createStoredEntry(vrex::DataModelRepository& repository,
                                  const SCMCategoryClasses::Category& category,
                                  SCMIdentity& identity, SCMData& data,
                                  tvdiag::util::diagnostics& diagnostics) {
    const std::size_t errorsBefore = diagnostics.size();
    const auto failed = [&] { return diagnostics.size() > errorsBefore; };
    const vrex::ObjectRef entry = repository.createObject(category.entryClass, diagnostics);
    if (failed()) return entry;
    repository.setPropertyValue(entry, category.checksum, qaArray::fromText(identity.getChecksum()),
                                diagnostics);
    if (!failed() && !category.name.isNull()) {
        repository.setPropertyValue(entry, category.name, qaArray::fromText(data.getName()),
                                    diagnostics);
    }
    if (!failed()) {
        repository.setPropertyValue(entry, category.identity, identity.toScriptValue(), diagnostics);
    }
    if (!failed()) repository.setPropertyValue(entry, category.data, data.toScriptValue(), diagnostics);
    return entry;
}

}  // namespace SCM
