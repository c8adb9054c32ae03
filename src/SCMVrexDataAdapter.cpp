#include "SCMVrexDataAdapter.hpp"

#include <filesystem>

#include "SCMCategoryClasses.hpp"
#include "RegistryDictionary.hpp"
#include "SCMVrexDataCacheManager.hpp"
#include "StoredObjects.hpp"
#include "tv/svVelmorRoot.hpp"

namespace SCM {

namespace {

// Entries the write cache holds before the next registration writes them all.
constexpr std::size_t kCacheLimit = 50;

}  // namespace

std::string getMetaModelFile() {
    std::filesystem::path path = std::filesystem::u8path(svVelmorRoot());
    path /= "toolbox";
    path /= "qvd";
    path /= "qvd";
    path /= "shared_metamodel.xml";
    return path.u8string();
}

std::string getPrintableRegistryName(const std::string& dictionaryFile) {
    return vrex::DataModelRepository::printableName(dictionaryFile);
}

SCMVrexDataAdapter::SCMVrexDataAdapter(const std::string& dictionaryFile,
                                       const std::string& metaModelFile)
    : SCMVrexDataAdapter(dictionaryFile, metaModelFile, OpenMode::ReadWrite) {}

SCMVrexDataAdapter::SCMVrexDataAdapter(const std::string& dictionaryFile,
                                       const std::string& metaModelFile, OpenMode mode)
    : categories_(std::make_unique<SCMCategoryClasses>()) {
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.requireWrite = mode == OpenMode::Writable;
    std::unique_ptr<const SCMCategoryClasses> categories =
        openRegistryDictionary(repository_, dictionaryFile, metaModelFile, options, openError_);
    if (categories == nullptr) return;  // doesExist() stays false, no write cache
    categories_ = std::move(categories);
    setExists(true);
    setCacheManager(new SCMVrexDataCacheManager(&repository_, kCacheLimit));
    setTransactionInProgress(false);
}

SCMVrexDataAdapter::~SCMVrexDataAdapter() {
    delete getCacheManager();  // writes the cached entries while the dictionary is still open
    setCacheManager(nullptr);
    if (doesExist()) repository_.close();
}

// The first dictionary object of the identity's category whose "Checksum" equals the identity's
// checksum; further matches are ignored. Null when there is none or on error.
vrex::ObjectRef SCMVrexDataAdapter::findEntry(SCMIdentity* identity,
                                              tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& category = categories_->of(identity->getTypeString());
    return findByChecksum(category.entryClass, category.checksum, identity->getChecksum(),
                          diagnostics);
}

vrex::ObjectRef SCMVrexDataAdapter::findByChecksum(const vrex::ClassRef& entryClass,
                                                   const vrex::PropertyRef& checksumProperty,
                                                   const std::string& checksum,
                                                   tvdiag::util::diagnostics& diagnostics) {
    vrex::MatchConstraints constraints;
    constraints.add(checksumProperty, vrex::PropertyValueMatchRelation::Equals, checksum);
    std::vector<vrex::ObjectRef> found;
    repository_.findObjects(entryClass, constraints, found, diagnostics);
    if (!diagnostics.empty() || found.empty()) return vrex::ObjectRef();
    return found.front();
}

vrex::ObjectRef SCMVrexDataAdapter::findFirstNamed(SCMTypes type, const std::string& name,
                                                   tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& category = categories_->of(type);
    vrex::MatchConstraints constraints;
    constraints.add(category.name, vrex::PropertyValueMatchRelation::Equals, name);
    std::vector<vrex::ObjectRef> found;
    repository_.findObjects(category.entryClass, constraints, found, diagnostics);
    if (!diagnostics.empty() || found.empty()) return vrex::ObjectRef();
    return found.front();
}

// In one read transaction: the stored text of `property` of the first object of `entryClass`
// whose `key` is `value`; nullopt when there is none or on error.
std::optional<std::string> SCMVrexDataAdapter::readFirstText(const vrex::ClassRef& entryClass,
                                                             const vrex::PropertyRef& key, const std::string& value,
                                                             const vrex::PropertyRef& property) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    std::optional<std::string> text;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            repository_.readFirstMatch(entryClass, key, value, property, text, reading);
        },
        diagnostics);
    return diagnostics.empty() ? std::move(text) : std::nullopt;
}

bool SCMVrexDataAdapter::isValuePresent(SCMIdentity* identity) {
    if (!doesExist() || identity == nullptr) return false;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    return !findEntry(identity, diagnostics).isNull();
}

// Consults the dictionary only, never the write cache.
SCMData* SCMVrexDataAdapter::getValue(SCMIdentity* identity) {
    if (!doesExist() || identity == nullptr) return nullptr;
    const SCMCategoryClasses::Category& category = categories_->of(identity->getTypeString());
    return decodeStoredText<SCMData>(
               readFirstText(category.entryClass, category.checksum, identity->getChecksum(), category.data),
               "SharedCodeManager.Data")
        .release();
}

// Creates the entry's object, or merges into the one that exists. A failure after the object was
// created leaves it partly written: the enclosing dictionary function rolls it back.
void SCMVrexDataAdapter::insertValue(SCMIdentity* identity, SCMData* data, SCMRegistry& outcome,
                                     tvdiag::util::diagnostics& diagnostics) {
    if (identity == nullptr || data == nullptr) {
        outcome = IS_EMPTY;
        return;
    }
    diagnostics.clear();
    outcome = IS_REGISTERED;
    const SCMCategoryClasses::Category& category = categories_->of(identity->getTypeString());

    // The presence test reads a dictionary error as "absent", as isValuePresent does; the entry
    // it finds is the one updateValue would find again.
    auto lookup = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::ObjectRef stored = findEntry(identity, lookup);
    if (!stored.isNull()) {
        outcome = mergeInto(stored, category.data, data, diagnostics);
        return;
    }
    createStoredEntry(repository_, category, *identity, *data, diagnostics);
    if (!diagnostics.empty()) outcome = IS_TRANSACTION_ERROR;
}

SCMRegistry SCMVrexDataAdapter::updateValue(SCMIdentity* identity, SCMData* data,
                                            tvdiag::util::diagnostics& diagnostics) {
    const vrex::ObjectRef entry = findEntry(identity, diagnostics);
    if (entry.isNull()) return IS_TRANSACTION_ERROR;
    return mergeInto(entry, categories_->of(identity->getTypeString()).data, data, diagnostics);
}

// Steps of updateValue once the entry's object is found: read its record, merge, write back
// only on IS_PRESENT_UPDATE and when the merge changed the record.
SCMRegistry SCMVrexDataAdapter::mergeInto(const vrex::ObjectRef& entry,
                                          const vrex::PropertyRef& dataProperty, SCMData* data,
                                          tvdiag::util::diagnostics& diagnostics) {
    std::unique_ptr<SCMData> stored =
        takeStoredData(repository_.getPropertyValue(entry, dataProperty, diagnostics));
    if (!diagnostics.empty() || stored == nullptr) return IS_TRANSACTION_ERROR;

    const std::string before = encodeStoredObject(*stored);
    const SCMRegistry outcome = stored->update(data);
    if (outcome != IS_PRESENT_UPDATE) return outcome;
    lastMergeChanged_ = before.empty() || encodeStoredObject(*stored) != before;
    if (!lastMergeChanged_) return outcome;
    repository_.setPropertyValue(entry, dataProperty, stored->toScriptValue(), diagnostics);
    return diagnostics.empty() ? outcome : IS_TRANSACTION_ERROR;
}

std::vector<vrex::ObjectRef> SCMVrexDataAdapter::getAllChildren(SCMTypes type) {
    std::vector<vrex::ObjectRef> objects;
    if (!doesExist()) return objects;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.findObjects(categories_->of(type).entryClass, vrex::MatchConstraints(), objects,
                            diagnostics);
    if (!diagnostics.empty()) objects.clear();
    return objects;
}

namespace {

// Appends the objects stored in `property` of every dictionary object of `entryClass`, in id
// order, all read in one read transaction a page at a time: a read error ends the walk (keeping
// what was appended), a value that is not an object of the class is skipped.
template <typename T>
void appendStoredObjects(vrex::DataModelRepository& repository, const vrex::ClassRef& entryClass,
                         const vrex::PropertyRef& property, const char* className,
                         std::vector<T*>& out) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            walkStoredTexts(repository, entryClass, {property},
                            [&](const vrex::StoredObject& stored) {
                                std::unique_ptr<T> object = decodeStoredText<T>(stored.texts[0], className);
                                if (object == nullptr) return;
                                out.push_back(nullptr);  // nothing throws once it is released
                                out.back() = object.release();
                            },
                            reading);
        },
        diagnostics);
}

}  // namespace

void SCMVrexDataAdapter::getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) {
    if (!doesExist()) return;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    appendStoredObjects(repository_, category.entryClass, category.identity,
                        "SharedCodeManager.Identity", out);
}

void SCMVrexDataAdapter::getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) {
    if (!doesExist()) return;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    appendStoredObjects(repository_, category.entryClass, category.data, "SharedCodeManager.Data",
                        out);
}

bool SCMVrexDataAdapter::beginTransaction() {
    lastError_.clear();
    if (isTransactionInProgress()) return false;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.beginTransaction(diagnostics);
    if (!diagnostics.empty()) {
        keepError(diagnostics);
        return false;
    }
    setTransactionInProgress(true);
    return true;
}

// The flag is cleared before the commit, so it is clear whatever the commit's outcome.
bool SCMVrexDataAdapter::endTransaction() {
    lastError_.clear();
    if (!isTransactionInProgress()) return false;
    setTransactionInProgress(false);
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.commitTransaction(diagnostics);
    if (diagnostics.empty()) return true;
    keepError(diagnostics);
    diagnostics.clear();
    repository_.rollbackTransaction(diagnostics);
    return false;
}

SCMRegistry SCMVrexDataAdapter::cacheValue(SCMIdentity* identity, SCMData* data) {
    if (identity == nullptr || data == nullptr) return IS_EMPTY;
    if (getCacheManager() == nullptr) return IS_TRANSACTION_ERROR;
    return getCacheManager()->add(identity, data);
}

SCMRegistry SCMVrexDataAdapter::insertValueInTransaction(SCMIdentity* identity, SCMData* data) {
    lastError_.clear();
    if (!doesExist()) return IS_TRANSACTION_ERROR;
    SCMRegistry outcome = IS_TRANSACTION_ERROR;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) { insertValue(identity, data, outcome, inner); },
        diagnostics);
    if (diagnostics.empty()) return outcome;
    keepError(diagnostics);
    return IS_TRANSACTION_ERROR;
}

SCMIdentity* SCMVrexDataAdapter::getIdentityFromName(SCMTypes type, const std::string& name) {
    if (!doesExist()) return nullptr;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    return decodeStoredText<SCMIdentity>(readFirstText(category.entryClass, category.name, name, category.identity),
                                         "SharedCodeManager.Identity")
        .release();
}

// The write cache first (its own copy is returned), then the dictionary.
SCMData* SCMVrexDataAdapter::getDataFromName(SCMTypes type, const std::string& name) {
    if (!doesExist()) return nullptr;
    if (SCMData* cached = getCacheManager()->findByName(type, name).second) return cached;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    return decodeStoredText<SCMData>(readFirstText(category.entryClass, category.name, name, category.data),
                                     "SharedCodeManager.Data")
        .release();
}

SCMIdentityDataPair SCMVrexDataAdapter::getIdentityAndDataFromName(SCMTypes type,
                                                                   const std::string& name) {
    if (!doesExist()) return {nullptr, nullptr};
    const SCMIdentityDataPair cached = getCacheManager()->findByName(type, name);
    if (cached.second != nullptr) return cached;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    // Both in one read transaction; neither on error.
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    qaArray identityValue;
    qaArray dataValue;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            const vrex::ObjectRef entry = findFirstNamed(type, name, reading);
            if (entry.isNull()) return;
            identityValue = repository_.getPropertyValue(entry, category.identity, reading);
            dataValue = repository_.getPropertyValue(entry, category.data, reading);
        },
        diagnostics);
    if (!diagnostics.empty()) return {nullptr, nullptr};
    std::unique_ptr<SCMIdentity> identity = takeStoredIdentity(identityValue);
    std::unique_ptr<SCMData> data = takeStoredData(dataValue);
    if (data == nullptr && identity == nullptr) return {nullptr, nullptr};
    return {identity.release(), data.release()};
}

const std::string& SCMVrexDataAdapter::getOpenError() const { return openError_; }

const std::string& SCMVrexDataAdapter::getLastError() const { return lastError_; }

void SCMVrexDataAdapter::keepError(const tvdiag::util::diagnostics& diagnostics) {
    lastError_ = diagnostics.messages();
}

bool SCMVrexDataAdapter::isBackendOwned(const SCMData* data) const {
    return data != nullptr && getCacheManager() != nullptr && getCacheManager()->holds(data);
}

}  // namespace SCM
