#include "SCMVrexDataCacheManager.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "SCMCategoryClasses.hpp"
#include "StoredObjects.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

namespace {

std::pair<SCMIdentity*, SCMData*> findIn(const SCMVrexDataCacheManager::Entries& entries,
                                         SCMTypes type, const std::string& name) {
    for (const auto& [identity, data] : entries) {
        if (data->getName() == name && identity->getType() == type) {
            return {identity.get(), data.get()};
        }
    }
    return {nullptr, nullptr};
}

bool holdsIn(const SCMVrexDataCacheManager::Entries& entries, const SCMData* data) {
    for (const auto& entry : entries) {
        if (entry.second.get() == data) return true;
    }
    return false;
}

// The batch's entries by category and checksum (entries with one key in their batch order): two
// batches that register the same keys lock them in the same order on a shared registry, so
// neither waits for the other in a circle.
std::vector<const SCMVrexDataCacheManager::Entries::value_type*> inKeyOrder(
    const SCMVrexDataCacheManager::Entries& batch) {
    std::vector<const SCMVrexDataCacheManager::Entries::value_type*> ordered;
    for (const auto& entry : batch) ordered.push_back(&entry);
    std::stable_sort(ordered.begin(), ordered.end(), [](const auto* a, const auto* b) {
        return std::make_pair(a->first->getTypeString(), a->first->getChecksum()) <
               std::make_pair(b->first->getTypeString(), b->first->getChecksum());
    });
    return ordered;
}

// Readies the look-ups of the batch's keys, one category at a time in key order: on a server one
// round trip per category instead of one per entry (see DataModelRepository::prepareLookUps).
void prepareLookUps(vrex::DataModelRepository& repository, const SCMCategoryClasses& categories,
                    const std::vector<const SCMVrexDataCacheManager::Entries::value_type*>& ordered,
                    tvdiag::util::diagnostics& diagnostics) {
    for (std::size_t first = 0, next = 0; first < ordered.size(); first = next) {
        const std::string type = ordered[first]->first->getTypeString();
        std::vector<std::string> checksums;
        for (; next < ordered.size() && ordered[next]->first->getTypeString() == type; ++next) {
            checksums.push_back(ordered[next]->first->getChecksum());
        }
        const SCMCategoryClasses::Category& category = categories.of(type);
        if (category.entryClass.isNull() || category.checksum.isNull()) continue;
        repository.prepareLookUps(category.entryClass, category.checksum, checksums, diagnostics);
    }
}

}  // namespace

SCMVrexDataCacheManager::SCMVrexDataCacheManager(vrex::DataModelRepository* repository,
                                                 std::size_t limit)
    : entries_(std::make_unique<Entries>()), repository_(repository), limit_(limit) {}

SCMVrexDataCacheManager::~SCMVrexDataCacheManager() {
    if (size() != 0) flush();
}

SCMRegistry SCMVrexDataCacheManager::add(SCMIdentity* identity, SCMData* data) {
    entries_->emplace(std::shared_ptr<SCMIdentity>(identity->clone()),
                      std::shared_ptr<SCMData>(data->clone()));
    if (entries_->size() > limit_) return flushAndClear();
    return WILL_BE_REGISTERED;
}

SCMRegistry SCMVrexDataCacheManager::flushAndClear() {
    flush();
    return IS_REGISTERED;
}

// The unwritten entries are retried in a batch of their own before the entries cached since, so
// that a batch which cannot be written never holds back the entries that come after it.
void SCMVrexDataCacheManager::flush() {
    Entries retried;
    retried.swap(unwritten_);
    writeOrKeep(retried);
    writeOrKeep(*entries_);
    if (unwritten_.empty()) failureReason_.clear();
}

// One dictionary function for the whole batch, which is empty afterwards: its entries are written,
// or, when the batch failed, kept as unwritten with the reason. Its refusals count only when the
// batch was written; a batch run again (see DataModelRepository::performDictionaryFunction)
// counts those of its last run.
void SCMVrexDataCacheManager::writeOrKeep(Entries& batch) {
    if (batch.empty()) return;
    std::vector<SCMCachedEntry> refused;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_->performDictionaryFunction(
        [&](tvdiag::util::diagnostics& writing) {
            refused.clear();
            writeBatch(batch, refused, writing);
        },
        diagnostics);
    if (diagnostics.empty()) {
        refused_.insert(refused_.end(), refused.begin(), refused.end());
    } else {
        unwritten_.merge(batch);  // distinct copies as keys: every entry moves
        failureReason_ = diagnostics.messages();
    }
    batch.clear();
}

// Creates or merges each cached entry in key order (see inKeyOrder). The diagnostics list is
// shared by the whole batch and never cleared in between: after a failed write every later entry
// takes the creating branch, and the failed batch is rolled back as a whole by the dictionary
// function. Entries whose stored record refuses them are added to `refused`.
void SCMVrexDataCacheManager::writeBatch(const Entries& batch, std::vector<SCMCachedEntry>& refused,
                                         tvdiag::util::diagnostics& diagnostics) {
    const vrex::MetamodelRef metamodel = repository_->metamodel(diagnostics);
    const SCMCategoryClasses categories(metamodel.findPackage("SCM"));
    const std::vector<const Entries::value_type*> ordered = inKeyOrder(batch);
    prepareLookUps(*repository_, categories, ordered, diagnostics);
    for (const auto* entry : ordered) {
        const auto& [identity, data] = *entry;
        const SCMCategoryClasses::Category& category = categories.of(identity->getTypeString());

        vrex::MatchConstraints constraints;
        constraints.add(category.checksum, vrex::PropertyValueMatchRelation::Equals,
                        identity->getChecksum());
        std::vector<vrex::ObjectRef> found;
        repository_->findObjects(category.entryClass, constraints, found, diagnostics);

        if (diagnostics.empty() && !found.empty()) {
            std::unique_ptr<SCMData> stored = takeStoredData(
                repository_->getPropertyValue(found.front(), category.data, diagnostics));
            // A stored record that does not decode leaves the entry unwritten, unreported.
            const SCMRegistry merged = stored != nullptr ? stored->update(data.get()) : IS_EMPTY;
            if (merged == IS_PRESENT_UPDATE) {
                repository_->setPropertyValue(found.front(), category.data, stored->toScriptValue(),
                                              diagnostics);
            } else if (merged == IS_PRESENT_ERROR) {
                refused.emplace_back(identity, data);
            }
            continue;
        }
        createStoredEntry(*repository_, category, *identity, *data, diagnostics);
    }
}

SCMBatchFailures SCMVrexDataCacheManager::takeFailures() {
    SCMBatchFailures failures{{unwritten_.begin(), unwritten_.end()}, std::move(failureReason_)};
    unwritten_.clear();
    failureReason_.clear();
    return failures;
}

std::size_t SCMVrexDataCacheManager::failureCount() const { return unwritten_.size(); }

const std::string& SCMVrexDataCacheManager::failureReason() const { return failureReason_; }

std::vector<SCMCachedEntry> SCMVrexDataCacheManager::takeRefused() {
    return std::exchange(refused_, {});
}

std::pair<SCMIdentity*, SCMData*> SCMVrexDataCacheManager::findByName(
    SCMTypes type, const std::string& name) const {
    const std::pair<SCMIdentity*, SCMData*> found = findIn(*entries_, type, name);
    return found.second != nullptr ? found : findIn(unwritten_, type, name);
}

bool SCMVrexDataCacheManager::holds(const SCMData* data) const {
    return holdsIn(*entries_, data) || holdsIn(unwritten_, data);
}

std::size_t SCMVrexDataCacheManager::size() const { return entries_->size() + unwritten_.size(); }

}  // namespace SCM
