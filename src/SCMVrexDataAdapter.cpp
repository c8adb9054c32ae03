#include "SCMVrexDataAdapter.hpp"

#include <filesystem>

#include "SCMEntryCheck.hpp"
#include "SCMModuleEntry.hpp"
#include "SCMVrexDataCacheManager.hpp"
#include "StoredObjects.hpp"
#include "tv/svVelmorRoot.hpp"
#include "vrex/Utf16.hpp"

namespace SCM {

namespace {

// Entries the write cache holds before the next registration writes them all.
constexpr std::size_t kCacheLimit = 50;

const char* const kPackageName = "SCM";

}  // namespace

std::string getMetaModelFile() {
    std::filesystem::path path = std::filesystem::u8path(svVelmorRoot());
    path /= "toolbox";
    path /= "qvd";
    path /= "qvd";
    path /= "shared_metamodel.xml";
    return path.u8string();
}

SCMVrexDataAdapter::SCMVrexDataAdapter(const std::string& dictionaryFile,
                                       const std::string& metaModelFile)
    : SCMVrexDataAdapter(dictionaryFile, metaModelFile, OpenMode::ReadWrite) {}

SCMVrexDataAdapter::SCMVrexDataAdapter(const std::string& dictionaryFile,
                                       const std::string& metaModelFile, OpenMode mode) {
    // Entries are stored as class-system objects: the library's classes must be known to it.
    HxInitialize_shared_code_manager();
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.readOnly = mode == OpenMode::ReadOnly;
    repository_.open(vrex::toUtf16(dictionaryFile), vrex::toUtf16(metaModelFile), options,
                     diagnostics);
    if (!diagnostics.empty()) {  // doesExist() stays false, no write cache
        for (const tvdiag::util::diagnostic& record : diagnostics.records()) {
            openError_ += (openError_.empty() ? "" : "\n") + record.message;
        }
        return;
    }
    setExists(true);
    metamodel_ = repository_.metamodel(diagnostics);
    package_ = metamodel_.findPackage(kPackageName);
    setCacheManager(new SCMVrexDataCacheManager(&repository_, kCacheLimit));
    setTransactionInProgress(false);
}

SCMVrexDataAdapter::~SCMVrexDataAdapter() {
    delete getCacheManager();  // writes the cached entries while the dictionary is still open
    setCacheManager(nullptr);
    if (doesExist()) repository_.close();
}

vrex::ClassRef SCMVrexDataAdapter::classOf(SCMTypes type) const {
    return package_.findClass(scmTypeToString(type));
}

// The first dictionary object of the identity's category whose "Checksum" equals the identity's
// checksum; further matches are ignored. Null when there is none or on error.
vrex::ObjectRef SCMVrexDataAdapter::findEntry(SCMIdentity* identity,
                                              tvdiag::util::diagnostics& diagnostics) {
    return findByChecksum(package_.findClass(identity->getTypeString()), identity->getChecksum(),
                          diagnostics);
}

vrex::ObjectRef SCMVrexDataAdapter::findByChecksum(const vrex::ClassRef& entryClass,
                                                   const std::string& checksum,
                                                   tvdiag::util::diagnostics& diagnostics) {
    vrex::MatchConstraints constraints;
    constraints.add(entryClass.findProperty(kChecksumProperty),
                    vrex::PropertyValueMatchRelation::Equals, checksum);
    std::vector<vrex::ObjectRef> found;
    repository_.findObjects(entryClass, constraints, found, diagnostics);
    if (!diagnostics.empty() || found.empty()) return vrex::ObjectRef();
    return found.front();
}

vrex::ObjectRef SCMVrexDataAdapter::findFirstNamed(const vrex::ClassRef& entryClass,
                                                   const std::string& name,
                                                   tvdiag::util::diagnostics& diagnostics) {
    vrex::MatchConstraints constraints;
    constraints.add(entryClass.findProperty(kNameProperty), vrex::PropertyValueMatchRelation::Equals,
                    name);
    std::vector<vrex::ObjectRef> found;
    repository_.findObjects(entryClass, constraints, found, diagnostics);
    if (!diagnostics.empty() || found.empty()) return vrex::ObjectRef();
    return found.front();
}

bool SCMVrexDataAdapter::isValuePresent(SCMIdentity* identity) {
    if (!doesExist() || identity == nullptr) return false;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    return !findEntry(identity, diagnostics).isNull();
}

// Consults the dictionary only, never the write cache.
SCMData* SCMVrexDataAdapter::getValue(SCMIdentity* identity) {
    if (!doesExist() || identity == nullptr) return nullptr;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::ObjectRef entry = findEntry(identity, diagnostics);
    if (entry.isNull()) return nullptr;
    const vrex::PropertyRef data = entry.objectClass().findProperty(kDataProperty);
    const qaArray value = repository_.getPropertyValue(entry, data, diagnostics);
    if (!diagnostics.empty()) return nullptr;
    return takeStoredData(value).release();
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
    const vrex::ClassRef entryClass = package_.findClass(identity->getTypeString());
    const vrex::PropertyRef checksum = entryClass.findProperty(kChecksumProperty);
    const vrex::PropertyRef identityProperty = entryClass.findProperty(kIdentityProperty);
    const vrex::PropertyRef dataProperty = entryClass.findProperty(kDataProperty);
    const vrex::PropertyRef name = entryClass.findProperty(kNameProperty);

    if (isValuePresent(identity)) {
        outcome = updateValue(identity, data, diagnostics);
        return;
    }
    const vrex::ObjectRef entry = repository_.createObject(entryClass, diagnostics);
    if (!diagnostics.empty()) {
        outcome = IS_TRANSACTION_ERROR;
        return;
    }
    repository_.setPropertyValue(entry, checksum, qaArray::fromText(identity->getChecksum()),
                                 diagnostics);
    if (diagnostics.empty() && !name.isNull()) {
        repository_.setPropertyValue(entry, name, qaArray::fromText(data->getName()), diagnostics);
    }
    if (diagnostics.empty()) {
        repository_.setPropertyValue(entry, identityProperty, identity->toScriptValue(), diagnostics);
    }
    if (diagnostics.empty()) {
        repository_.setPropertyValue(entry, dataProperty, data->toScriptValue(), diagnostics);
    }
    if (!diagnostics.empty()) outcome = IS_TRANSACTION_ERROR;
}

SCMRegistry SCMVrexDataAdapter::updateValue(SCMIdentity* identity, SCMData* data,
                                            tvdiag::util::diagnostics& diagnostics) {
    const vrex::ObjectRef entry = findEntry(identity, diagnostics);
    if (entry.isNull()) return IS_TRANSACTION_ERROR;
    const vrex::PropertyRef dataProperty = entry.objectClass().findProperty(kDataProperty);
    std::unique_ptr<SCMData> stored =
        takeStoredData(repository_.getPropertyValue(entry, dataProperty, diagnostics));
    if (!diagnostics.empty() || stored == nullptr) return IS_TRANSACTION_ERROR;

    const SCMRegistry outcome = stored->update(data);
    if (outcome != IS_PRESENT_UPDATE) return outcome;
    repository_.setPropertyValue(entry, dataProperty, stored->toScriptValue(), diagnostics);
    return diagnostics.empty() ? outcome : IS_TRANSACTION_ERROR;
}

std::vector<vrex::ObjectRef> SCMVrexDataAdapter::getAllChildren(SCMTypes type) {
    std::vector<vrex::ObjectRef> objects;
    if (!doesExist()) return objects;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.findObjects(classOf(type), vrex::MatchConstraints(), objects, diagnostics);
    if (!diagnostics.empty()) objects.clear();
    return objects;
}

namespace {

// Appends the objects stored in `property` of each dictionary object, in order: a read error ends
// the walk (keeping what was appended), a value that is not an object of the class is skipped.
template <typename T>
void appendStoredObjects(vrex::DataModelRepository& repository,
                         const std::vector<vrex::ObjectRef>& objects, const char* property,
                         const char* className, std::vector<T*>& out) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    for (const vrex::ObjectRef& object : objects) {
        const qaArray value =
            repository.getPropertyValue(object, object.objectClass().findProperty(property),
                                        diagnostics);
        if (!diagnostics.empty()) return;
        if (std::unique_ptr<T> stored = takeStoredObject<T>(value, className)) {
            out.push_back(stored.release());
        }
    }
}

}  // namespace

void SCMVrexDataAdapter::getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) {
    appendStoredObjects(repository_, getAllChildren(type), kIdentityProperty,
                        "SharedCodeManager.Identity", out);
}

void SCMVrexDataAdapter::getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) {
    appendStoredObjects(repository_, getAllChildren(type), kDataProperty, "SharedCodeManager.Data",
                        out);
}

bool SCMVrexDataAdapter::beginTransaction() {
    if (isTransactionInProgress()) return false;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.beginTransaction(diagnostics);
    if (!diagnostics.empty()) return false;
    setTransactionInProgress(true);
    return true;
}

// The flag is cleared before the commit, so it is clear whatever the commit's outcome.
bool SCMVrexDataAdapter::endTransaction() {
    if (!isTransactionInProgress()) return false;
    setTransactionInProgress(false);
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.commitTransaction(diagnostics);
    if (diagnostics.empty()) return true;
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
    if (!doesExist()) return IS_TRANSACTION_ERROR;
    SCMRegistry outcome = IS_TRANSACTION_ERROR;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) { insertValue(identity, data, outcome, inner); },
        diagnostics);
    return diagnostics.empty() ? outcome : IS_TRANSACTION_ERROR;
}

// The value stored in `property` of the first entry of the category named `name`, read from the
// dictionary only; [] when there is none or on error.
qaArray SCMVrexDataAdapter::readFirstNamed(SCMTypes type, const std::string& name,
                                           const char* property) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::ClassRef entryClass = classOf(type);
    const vrex::ObjectRef entry = findFirstNamed(entryClass, name, diagnostics);
    if (entry.isNull()) return qaArray();
    qaArray value = repository_.getPropertyValue(entry, entryClass.findProperty(property),
                                                 diagnostics);
    return diagnostics.empty() ? value : qaArray();
}

SCMIdentity* SCMVrexDataAdapter::getIdentityFromName(SCMTypes type, const std::string& name) {
    if (!doesExist()) return nullptr;
    return takeStoredIdentity(readFirstNamed(type, name, kIdentityProperty)).release();
}

// The write cache first (its own copy is returned), then the dictionary.
SCMData* SCMVrexDataAdapter::getDataFromName(SCMTypes type, const std::string& name) {
    if (!doesExist()) return nullptr;
    if (SCMData* cached = getCacheManager()->findByName(type, name).second) return cached;
    return takeStoredData(readFirstNamed(type, name, kDataProperty)).release();
}

SCMIdentityDataPair SCMVrexDataAdapter::getIdentityAndDataFromName(SCMTypes type,
                                                                   const std::string& name) {
    if (!doesExist()) return {nullptr, nullptr};
    const SCMIdentityDataPair cached = getCacheManager()->findByName(type, name);
    if (cached.second != nullptr) return cached;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::ObjectRef entry = findFirstNamed(classOf(type), name, diagnostics);
    if (entry.isNull()) return {nullptr, nullptr};
    return readEntry(entry, diagnostics);
}

// The decoded "Identity" and "Data" of one dictionary object, owned by the caller; either is
// null when it does not decode, both on a read error.
SCMIdentityDataPair SCMVrexDataAdapter::readEntry(const vrex::ObjectRef& entry,
                                                  tvdiag::util::diagnostics& diagnostics) {
    const vrex::ClassRef entryClass = entry.objectClass();
    std::unique_ptr<SCMIdentity> identity = takeStoredIdentity(
        repository_.getPropertyValue(entry, entryClass.findProperty(kIdentityProperty), diagnostics));
    std::unique_ptr<SCMData> data = takeStoredData(
        repository_.getPropertyValue(entry, entryClass.findProperty(kDataProperty), diagnostics));
    if (!diagnostics.empty()) return {nullptr, nullptr};
    return {identity.release(), data.release()};
}

const std::string& SCMVrexDataAdapter::getOpenError() const { return openError_; }

namespace {

// `entry` when it has both its identity and its data; otherwise a pair of nulls, and what there
// was is deleted.
SCMIdentityDataPair wholeOrNothing(SCMIdentityDataPair entry) {
    if (entry.first != nullptr && entry.second != nullptr) return entry;
    delete entry.first;
    delete entry.second;
    return {nullptr, nullptr};
}

}  // namespace

std::vector<SCMIdentityDataPair> SCMVrexDataAdapter::getAllEntries(SCMTypes type) {
    std::vector<SCMIdentityDataPair> entries;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    for (const vrex::ObjectRef& object : getAllChildren(type)) {
        const SCMIdentityDataPair entry = wholeOrNothing(readEntry(object, diagnostics));
        if (entry.first != nullptr) entries.push_back(entry);
        diagnostics.clear();
    }
    return entries;
}

SCMIdentityDataPair SCMVrexDataAdapter::getEntryForChecksum(SCMTypes type,
                                                            const std::string& checksum) {
    if (!doesExist()) return {nullptr, nullptr};
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::ObjectRef entry = findByChecksum(classOf(type), checksum, diagnostics);
    if (entry.isNull()) return {nullptr, nullptr};
    return wholeOrNothing(readEntry(entry, diagnostics));
}

std::size_t SCMVrexDataAdapter::checkEntries(tvdiag::util::diagnostics& problems) {
    if (!doesExist()) return 0;
    repository_.checkIntegrity(problems);
    SCMEntryCheck check(repository_, problems);
    std::size_t entries = 0;
    for (SCMTypes type : {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES, SCM_OTHER,
                          SCM_NUM, SCM_SHARED_DATA, SCM_SHARED_CONSTANTS}) {
        entries += check.checkCategory(classOf(type), getAllChildren(type));
    }
    return entries;
}

bool SCMVrexDataAdapter::isBackendOwned(const SCMData* data) const {
    return data != nullptr && getCacheManager() != nullptr && getCacheManager()->holds(data);
}

}  // namespace SCM
