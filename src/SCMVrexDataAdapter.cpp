#include "SCMVrexDataAdapter.hpp"

#include <filesystem>
#include <functional>

#include "SCMCategoryClasses.hpp"
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

// Objects read per round trip by the checks.
constexpr std::size_t kPageSize = 2000;

constexpr SCMTypes kAllTypes[] = {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES, SCM_OTHER,
                                  SCM_NUM,       SCM_SHARED_DATA,      SCM_SHARED_CONSTANTS};

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
    // Entries are stored as class-system objects: the library's classes must be known to it.
    HxInitialize_shared_code_manager();
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.readOnly = mode == OpenMode::ReadOnly;
    options.requireWrite = mode == OpenMode::Writable;
    repository_.open(vrex::toUtf16(dictionaryFile), vrex::toUtf16(metaModelFile), options,
                     diagnostics);
    if (!diagnostics.empty()) {  // doesExist() stays false, no write cache
        openError_ = diagnostics.messages();
        return;
    }
    setExists(true);
    metamodel_ = repository_.metamodel(diagnostics);
    package_ = metamodel_.findPackage(kPackageName);
    categories_ = std::make_unique<SCMCategoryClasses>(package_);
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

// In one read transaction: the value of `property` (and of `second`, into `secondValue`) of the
// first object of the category named `name`. [] for every value when there is none or on error.
qaArray SCMVrexDataAdapter::readFirstNamed(SCMTypes type, const std::string& name,
                                           const vrex::PropertyRef& property,
                                           const vrex::PropertyRef* second, qaArray* secondValue) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    qaArray value;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            const vrex::ObjectRef entry = findFirstNamed(type, name, reading);
            if (entry.isNull()) return;
            if (second != nullptr) *secondValue = repository_.getPropertyValue(entry, *second, reading);
            value = repository_.getPropertyValue(entry, property, reading);
        },
        diagnostics);
    if (diagnostics.empty()) return value;
    if (secondValue != nullptr) *secondValue = qaArray();
    return qaArray();
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
    const vrex::PropertyRef& data = categories_->of(identity->getTypeString()).data;
    qaArray value;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            const vrex::ObjectRef entry = findEntry(identity, reading);
            if (!entry.isNull()) value = repository_.getPropertyValue(entry, data, reading);
        },
        diagnostics);
    return diagnostics.empty() ? takeStoredData(value).release() : nullptr;
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
// only on IS_PRESENT_UPDATE.
SCMRegistry SCMVrexDataAdapter::mergeInto(const vrex::ObjectRef& entry,
                                          const vrex::PropertyRef& dataProperty, SCMData* data,
                                          tvdiag::util::diagnostics& diagnostics) {
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
    repository_.findObjects(categories_->of(type).entryClass, vrex::MatchConstraints(), objects,
                            diagnostics);
    if (!diagnostics.empty()) objects.clear();
    return objects;
}

namespace {

// Appends the objects stored in `property` of each dictionary object that `listObjects` gives,
// in order, all read in one read transaction: a read error ends the walk (keeping what was
// appended), a value that is not an object of the class is skipped.
template <typename T>
void appendStoredObjects(vrex::DataModelRepository& repository,
                         const std::function<std::vector<vrex::ObjectRef>()>& listObjects,
                         const vrex::PropertyRef& property, const char* className,
                         std::vector<T*>& out) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            for (const vrex::ObjectRef& object : listObjects()) {
                const qaArray value = repository.getPropertyValue(object, property, reading);
                if (!reading.empty()) return;
                if (std::unique_ptr<T> stored = takeStoredObject<T>(value, className)) {
                    out.push_back(stored.release());
                }
            }
        },
        diagnostics);
}

}  // namespace

void SCMVrexDataAdapter::getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) {
    appendStoredObjects(repository_, [&] { return getAllChildren(type); },
                        categories_->of(type).identity, "SharedCodeManager.Identity", out);
}

void SCMVrexDataAdapter::getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) {
    appendStoredObjects(repository_, [&] { return getAllChildren(type); },
                        categories_->of(type).data, "SharedCodeManager.Data", out);
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
    const qaArray value = readFirstNamed(type, name, categories_->of(type).identity);
    return takeStoredIdentity(value).release();
}

// The write cache first (its own copy is returned), then the dictionary.
SCMData* SCMVrexDataAdapter::getDataFromName(SCMTypes type, const std::string& name) {
    if (!doesExist()) return nullptr;
    if (SCMData* cached = getCacheManager()->findByName(type, name).second) return cached;
    const qaArray value = readFirstNamed(type, name, categories_->of(type).data);
    return takeStoredData(value).release();
}

SCMIdentityDataPair SCMVrexDataAdapter::getIdentityAndDataFromName(SCMTypes type,
                                                                   const std::string& name) {
    if (!doesExist()) return {nullptr, nullptr};
    const SCMIdentityDataPair cached = getCacheManager()->findByName(type, name);
    if (cached.second != nullptr) return cached;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    qaArray identityValue;
    const qaArray dataValue = readFirstNamed(type, name, category.data, &category.identity, &identityValue);
    std::unique_ptr<SCMIdentity> identity = takeStoredIdentity(identityValue);
    std::unique_ptr<SCMData> data = takeStoredData(dataValue);
    if (data == nullptr && identity == nullptr) return {nullptr, nullptr};
    return {identity.release(), data.release()};
}

// The decoded "Identity" and "Data" of one dictionary object, owned by the caller; either is
// null when it does not decode, both on a read error.
SCMIdentityDataPair SCMVrexDataAdapter::readEntry(const vrex::ObjectRef& entry,
                                                  tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& category = categories_->of(entry.objectClass().name());
    std::unique_ptr<SCMIdentity> identity =
        takeStoredIdentity(repository_.getPropertyValue(entry, category.identity, diagnostics));
    std::unique_ptr<SCMData> data =
        takeStoredData(repository_.getPropertyValue(entry, category.data, diagnostics));
    if (!diagnostics.empty()) return {nullptr, nullptr};
    return {identity.release(), data.release()};
}

const std::string& SCMVrexDataAdapter::getOpenError() const { return openError_; }

const std::string& SCMVrexDataAdapter::getLastError() const { return lastError_; }

void SCMVrexDataAdapter::keepError(const tvdiag::util::diagnostics& diagnostics) {
    lastError_ = diagnostics.messages();
}

std::size_t SCMVrexDataAdapter::visitMatching(SCMTypes type,
                                              const vrex::MatchConstraints& constraints,
                                              const EntryVisitor& visit,
                                              tvdiag::util::diagnostics& diagnostics) {
    if (!doesExist()) {
        diagnostics.add("scm:notOpen", "cannot read the registry: it is not open");
        return 0;
    }
    std::size_t visited = 0;
    const vrex::ClassRef& entryClass = categories_->of(type).entryClass;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            std::vector<vrex::ObjectRef> objects;
            repository_.findObjects(entryClass, constraints, objects, reading);
            for (const vrex::ObjectRef& object : objects) {
                if (!reading.empty()) return;
                const SCMIdentityDataPair pair = readEntry(object, reading);
                StoredEntry entry{std::unique_ptr<SCMIdentity>(pair.first),
                                  std::unique_ptr<SCMData>(pair.second)};
                if (!reading.empty()) return;
                ++visited;
                visit(entry);
            }
        },
        diagnostics);
    return visited;
}

std::size_t SCMVrexDataAdapter::visitEntries(SCMTypes type, const EntryVisitor& visit,
                                             tvdiag::util::diagnostics& diagnostics) {
    return visitMatching(type, vrex::MatchConstraints(), visit, diagnostics);
}

std::size_t SCMVrexDataAdapter::visitEntries(SCMTypes type, EntryKey key, const std::string& value,
                                             const EntryVisitor& visit,
                                             tvdiag::util::diagnostics& diagnostics) {
    if (!doesExist()) return visitMatching(type, vrex::MatchConstraints(), visit, diagnostics);
    const SCMCategoryClasses::Category& category = categories_->of(type);
    vrex::MatchConstraints constraints;
    constraints.add(key == EntryKey::Checksum ? category.checksum : category.name,
                    vrex::PropertyValueMatchRelation::Equals, value);
    return visitMatching(type, constraints, visit, diagnostics);
}

std::vector<SCMIdentityDataPair> SCMVrexDataAdapter::getAllEntries(SCMTypes type) {
    std::vector<SCMIdentityDataPair> entries;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    visitEntries(
        type,
        [&entries](StoredEntry& entry) {
            if (entry.identity == nullptr || entry.data == nullptr) return;
            entries.reserve(entries.size() + 1);  // nothing throws once the objects are released
            entries.emplace_back(entry.identity.release(), entry.data.release());
        },
        diagnostics);
    return entries;
}

void SCMVrexDataAdapter::walkStoredTexts(const vrex::ClassRef& entryClass,
                                         const std::vector<vrex::PropertyRef>& properties,
                                         const StoredObjectVisitor& visit, tvdiag::util::diagnostics& diagnostics) {
    std::vector<vrex::DataModelRepository::StoredObject> page;
    std::int64_t after = 0;
    do {
        repository_.readStoredTexts(entryClass, properties, after, kPageSize, page, diagnostics);
        for (const vrex::DataModelRepository::StoredObject& stored : page) visit(stored);
        if (!diagnostics.empty() || page.empty()) return;
        after = page.back().object.id();
    } while (page.size() == kPageSize);
}

namespace {

// Whether a finding of the structure check is about the table of `className` ("the column of
// SCM_UTILITIES.Name is missing", "the table of SCM_UTILITIES has no primary key").
bool namesTable(const tvdiag::util::diagnostics& findings, const std::string& className) {
    for (const tvdiag::util::diagnostic& record : findings.records()) {
        for (const char* after : {".", " "}) {
            if (record.message.find("of " + className + after) != std::string::npos) return true;
        }
    }
    return false;
}

}  // namespace

// A category that cannot be read is a storage error, which ends the check, unless the structure
// check has already found its table damaged or lacking parts: then it is one more problem.
std::size_t SCMVrexDataAdapter::checkEntries(tvdiag::util::diagnostics& problems,
                                             tvdiag::util::diagnostics& diagnostics) {
    if (!doesExist()) {
        diagnostics.add("scm:notOpen", "cannot check the registry: it is not open");
        return 0;
    }
    auto structure = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.checkIntegrity(structure);
    for (const tvdiag::util::diagnostic& record : structure.records()) {
        (record.identifier == "vrex:integrity:failed" ? diagnostics : problems).add(record.identifier, record.message);
    }
    if (!diagnostics.empty()) return 0;
    std::size_t entries = 0;
    for (SCMTypes type : kAllTypes) {
        const vrex::ClassRef& entryClass = categories_->of(type).entryClass;
        if (entryClass.isNull()) continue;
        SCMEntryCheck check(entryClass, problems);
        auto reading = tvdiag::util::diagnostics::getEmptyInstance();
        repository_.performDictionaryRead(
            [&](tvdiag::util::diagnostics& inner) {
                walkStoredTexts(entryClass, check.properties(),
                                [&](const vrex::DataModelRepository::StoredObject& stored) {
                                    ++entries;
                                    check.check(stored);
                                },
                                inner);
            },
            reading);
        if (reading.empty()) continue;
        if (!namesTable(structure, entryClass.name())) {
            for (const tvdiag::util::diagnostic& record : reading.records()) diagnostics.add(record.identifier, record.message);
            return entries;
        }
        problems.add("scm:check:unreadable", "the entries of " + entryClass.name() + " cannot be read: " + reading.messages());
    }
    return entries;
}

std::size_t SCMVrexDataAdapter::countRepairable(const tvdiag::util::diagnostics& problems) {
    std::size_t repairable = 0;
    for (const tvdiag::util::diagnostic& record : problems.records()) {
        if (record.identifier == "scm:check:torn" || record.identifier == "vrex:integrity:missing") ++repairable;
    }
    return repairable;
}

std::size_t SCMVrexDataAdapter::deleteTornEntries(tvdiag::util::diagnostics& diagnostics) {
    if (!doesExist()) {
        diagnostics.add("scm:notOpen", "cannot repair the registry: it is not open");
        return 0;
    }
    std::size_t deleted = 0;
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            for (SCMTypes type : kAllTypes) {
                const SCMCategoryClasses::Category& category = categories_->of(type);
                if (category.entryClass.isNull()) continue;
                walkStoredTexts(category.entryClass, {category.identity, category.data},
                                [&](const vrex::DataModelRepository::StoredObject& stored) {
                                    if (stored.texts[0] && stored.texts[1]) return;
                                    repository_.deleteObject(stored.object, inner);
                                    ++deleted;
                                },
                                inner);
                if (!inner.empty()) return;
            }
        },
        diagnostics);
    return diagnostics.empty() ? deleted : 0;
}

bool SCMVrexDataAdapter::isBackendOwned(const SCMData* data) const {
    return data != nullptr && getCacheManager() != nullptr && getCacheManager()->holds(data);
}

}  // namespace SCM
