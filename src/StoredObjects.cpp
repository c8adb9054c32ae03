#include "StoredObjects.hpp"

namespace SCM {

namespace {

// Objects read per round trip by a walk.
constexpr std::size_t kPageSize = 2000;

}  // namespace

void walkStoredTexts(vrex::DataModelRepository& repository, const vrex::ClassRef& entryClass,
                     const std::vector<vrex::PropertyRef>& properties,
                     const StoredObjectVisitor& visit, tvdiag::util::diagnostics& diagnostics) {
    std::vector<vrex::StoredObject> page;
    std::int64_t after = 0;
    do {
        repository.readStoredTexts(entryClass, properties, after, kPageSize, page, diagnostics);
        for (const vrex::StoredObject& stored : page) visit(stored);
        if (!diagnostics.empty() || page.empty()) return;
        after = page.back().object.id();
    } while (page.size() == kPageSize);
}

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
