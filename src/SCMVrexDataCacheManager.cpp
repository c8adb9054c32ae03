#include "SCMVrexDataCacheManager.hpp"

#include "SCMCategoryClasses.hpp"
#include "StoredObjects.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

SCMVrexDataCacheManager::SCMVrexDataCacheManager(vrex::DataModelRepository* repository,
                                                 std::size_t limit)
    : entries_(std::make_unique<Entries>()), repository_(repository), limit_(limit) {}

SCMVrexDataCacheManager::~SCMVrexDataCacheManager() {
    if (!entries_->empty()) flush();
}

SCMRegistry SCMVrexDataCacheManager::add(SCMIdentity* identity, SCMData* data) {
    entries_->emplace(std::shared_ptr<SCMIdentity>(identity->clone()),
                      std::shared_ptr<SCMData>(data->clone()));
    if (entries_->size() > limit_) return flushAndClear();
    return WILL_BE_REGISTERED;
}

SCMRegistry SCMVrexDataCacheManager::flushAndClear() {
    flush();
    entries_->clear();
    return IS_REGISTERED;
}

// One dictionary function for the whole batch; its errors are swallowed.
void SCMVrexDataCacheManager::flush() {
    if (entries_->empty()) return;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_->performDictionaryFunction(
        [this](tvdiag::util::diagnostics& batch) { writeBatch(batch); }, diagnostics);
    diagnostics.clear();
}

// Creates or merges each cached entry in cache order. The diagnostics list is shared by the whole
// batch and never cleared in between: after a failed write every later entry takes the creating
// branch, and the failed batch is rolled back as a whole by the dictionary function.
void SCMVrexDataCacheManager::writeBatch(tvdiag::util::diagnostics& diagnostics) {
    const vrex::MetamodelRef metamodel = repository_->metamodel(diagnostics);
    const SCMCategoryClasses categories(metamodel.findPackage("SCM"));
    for (const auto& [identity, data] : *entries_) {
        const SCMCategoryClasses::Category& category = categories.of(identity->getTypeString());

        vrex::MatchConstraints constraints;
        constraints.add(category.checksum, vrex::PropertyValueMatchRelation::Equals,
                        identity->getChecksum());
        std::vector<vrex::ObjectRef> found;
        repository_->findObjects(category.entryClass, constraints, found, diagnostics);

        if (diagnostics.empty() && !found.empty()) {
            std::unique_ptr<SCMData> stored = takeStoredData(
                repository_->getPropertyValue(found.front(), category.data, diagnostics));
            if (stored != nullptr && stored->update(data.get()) == IS_PRESENT_UPDATE) {
                repository_->setPropertyValue(found.front(), category.data, stored->toScriptValue(),
                                              diagnostics);
            }
            continue;
        }
        const vrex::ObjectRef entry = repository_->createObject(category.entryClass, diagnostics);
        repository_->setPropertyValue(entry, category.checksum,
                                      qaArray::fromText(identity->getChecksum()), diagnostics);
        if (!category.name.isNull()) {
            repository_->setPropertyValue(entry, category.name, qaArray::fromText(data->getName()),
                                          diagnostics);
        }
        repository_->setPropertyValue(entry, category.identity, identity->toScriptValue(),
                                      diagnostics);
        repository_->setPropertyValue(entry, category.data, data->toScriptValue(), diagnostics);
    }
}

std::pair<SCMIdentity*, SCMData*> SCMVrexDataCacheManager::findByName(
    SCMTypes type, const std::string& name) const {
    for (const auto& [identity, data] : *entries_) {
        if (data->getName() == name && identity->getType() == type) {
            return {identity.get(), data.get()};
        }
    }
    return {nullptr, nullptr};
}

bool SCMVrexDataCacheManager::holds(const SCMData* data) const {
    for (const auto& entry : *entries_) {
        if (entry.second.get() == data) return true;
    }
    return false;
}

std::size_t SCMVrexDataCacheManager::size() const { return entries_->size(); }

}  // namespace SCM
