#include "SharedCodeManagerInterface.hpp"

#include "SCMVrexDataAdapter.hpp"
#include "package/PublishingRoutines.hpp"
#include "tv/TvFeature.hpp"

namespace SCM {

namespace {

// 1 (the default) sends registerData() to the write cache; below 1 it registers at once.
const TvFeature useVrexCache("UseVrexCache", "Old or New Vrex", "Vrex data adapter for SCM", 1,
                             981706, __FILE__);

}  // namespace

SharedCodeManagerInterface::SharedCodeManagerInterface() = default;

SharedCodeManagerInterface::SharedCodeManagerInterface(const std::string& dictionaryFile) {
    const std::string metaModelPath = getMetaModelFile();
    setDataAdapter(new SCMVrexDataAdapter(dictionaryFile, metaModelPath));
}

SharedCodeManagerInterface::~SharedCodeManagerInterface() {
    delete adapter_;
    adapter_ = nullptr;
}

const char* SharedCodeManagerInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedCodeManagerInterface";
}

// A facade without a backend is treated like one whose store does not exist.
bool SharedCodeManagerInterface::backendExists() const {
    return adapter_ != nullptr && adapter_->doesExist();
}

SCMRegistry SharedCodeManagerInterface::registerData(SCMIdentity* identity, SCMData* data) {
    if (!backendExists()) return IS_TRANSACTION_ERROR;
    if (useVrexCache.value() >= 1) return adapter_->cacheValue(identity, data);
    return registerDataInTransaction(identity, data);
}

SCMRegistry SharedCodeManagerInterface::registerDataArray(std::vector<SCMIdentity*>* identities,
                                                          std::vector<SCMData*>* records) {
    if (!backendExists()) return IS_TRANSACTION_ERROR;
    if (identities == nullptr || identities->empty()) return WILL_BE_REGISTERED;
    const std::vector<SCMData*> noRecords;
    const std::vector<SCMData*>& data = records != nullptr ? *records : noRecords;
    for (std::size_t i = 0; i < identities->size(); ++i) {
        registerData((*identities)[i], data.at(i));
    }
    return WILL_BE_REGISTERED;
}

SCMData* SharedCodeManagerInterface::retrieveData(SCMIdentity* identity) {
    if (!backendExists()) return nullptr;
    return adapter_->getValue(identity);
}

std::vector<SCMIdentity*> SharedCodeManagerInterface::retrieveAllIdentities(SCMTypes type) {
    std::vector<SCMIdentity*> identities;
    if (backendExists()) adapter_->getAllIdentityValues(type, identities);
    return identities;
}

std::vector<SCMData*> SharedCodeManagerInterface::retrieveAllData(SCMTypes type) {
    std::vector<SCMData*> records;
    if (backendExists()) adapter_->getAllDataValues(type, records);
    return records;
}

SCMRegistry SharedCodeManagerInterface::registerDataInTransaction(SCMIdentity* identity,
                                                                  SCMData* data) {
    if (!backendExists()) return IS_TRANSACTION_ERROR;
    return adapter_->insertValueInTransaction(identity, data);
}

// Not guarded by doesExist(): the backend decides what finalizing a missing store means.
SCMRegistry SharedCodeManagerInterface::finalize() {
    if (adapter_ == nullptr) return IS_TRANSACTION_ERROR;
    return adapter_->finalize();
}

// Not guarded by doesExist(): the backend answers for a missing store.
SCMIdentityDataPair SharedCodeManagerInterface::retrieveIdentityAndDataForName(
    SCMTypes type, const std::string& name) {
    if (adapter_ == nullptr) return {nullptr, nullptr};
    return adapter_->getIdentityAndDataFromName(type, name);
}

SCMData* SharedCodeManagerInterface::retrieveDataForName(SCMTypes type, const std::string& name) {
    if (!backendExists()) return nullptr;
    return adapter_->getDataFromName(type, name);
}

SCMIdentity* SharedCodeManagerInterface::retrieveIdentityForName(SCMTypes type,
                                                                 const std::string& name) {
    if (!backendExists()) return nullptr;
    return adapter_->getIdentityFromName(type, name);
}

std::vector<std::string> SharedCodeManagerInterface::getAllNames(SCMTypes type) {
    std::vector<std::string> names;
    for (SCMData* record : retrieveAllData(type)) {
        names.push_back(record->getName());
        delete record;
    }
    return names;
}

void SharedCodeManagerInterface::setDataAdapter(SCMDataAdapter* adapter) {
    if (adapter == adapter_) return;
    delete adapter_;
    adapter_ = adapter;
}

SCMDataAdapter* SharedCodeManagerInterface::getDataAdapter() { return adapter_; }

namespace {

using kobj::factory::Arguments;

const char* const kIdentityClass = "SharedCodeManager.Identity";
const char* const kDataClass = "SharedCodeManager.Data";
const char* const kIdentityVector = "SharedCodeManager.Identity vector";
const char* const kDataVector = "SharedCodeManager.Data vector";

// The invokers of the published methods whose results are objects: retrieved objects are fresh
// and go to the script to own. A record that the backend keeps (a write-cache copy returned by
// retrieveDataForName) is cloned first.

qaArray scriptRetrieveData(SharedCodeManagerInterface& self, const Arguments& arguments) {
    return kobj::ownedObject(self.retrieveData(arguments.get<SCMIdentity*>(0)), kDataClass);
}

qaArray scriptRetrieveAllIdentities(SharedCodeManagerInterface& self, const Arguments& arguments) {
    return kobj::ownedObjectRow(self.retrieveAllIdentities(arguments.get<SCMTypes>(0)),
                                kIdentityClass);
}

qaArray scriptRetrieveAllData(SharedCodeManagerInterface& self, const Arguments& arguments) {
    return kobj::ownedObjectRow(self.retrieveAllData(arguments.get<SCMTypes>(0)), kDataClass);
}

qaArray scriptRetrieveIdentityForName(SharedCodeManagerInterface& self,
                                      const Arguments& arguments) {
    const SCMTypes type = arguments.get<SCMTypes>(0);
    const std::string name = arguments.get<std::string>(1);
    return kobj::ownedObject(self.retrieveIdentityForName(type, name), kIdentityClass);
}

qaArray scriptRetrieveDataForName(SharedCodeManagerInterface& self, const Arguments& arguments) {
    const SCMTypes type = arguments.get<SCMTypes>(0);
    const std::string name = arguments.get<std::string>(1);
    SCMData* record = self.retrieveDataForName(type, name);
    SCMDataAdapter* backend = self.getDataAdapter();
    if (record != nullptr && backend != nullptr && backend->isBackendOwned(record)) {
        record = record->clone();
    }
    return kobj::ownedObject(record, kDataClass);
}

// The batch call takes the two object arrays as lists of borrowed objects.
qaArray scriptRegisterDataArray(SharedCodeManagerInterface& self, const Arguments& arguments) {
    std::vector<SCMIdentity*> identities = arguments.get<std::vector<SCMIdentity*>>(0);
    std::vector<SCMData*> records = arguments.get<std::vector<SCMData*>>(1);
    return kobj::Converter<SCMRegistry>::toScript(self.registerDataArray(&identities, &records));
}

}  // namespace

// Publishes "SharedCodeManager.SharedCodeManagerInterface". The script's "registerData" is the
// direct road (registerDataInTransaction); only "registerDataUsingCaching" reaches registerData.
void publishSharedCodeManagerInterface(kobj::factory::ClassBuilder& builder) {
    using Self = SharedCodeManagerInterface;
    const char* outcome = kobj::types::kCharVector;
    const char* category = kobj::types::kCharVector;
    const char* name = kobj::types::kChar;
    kobj::factory::TypedClassBuilder<Self> facade(builder);
    facade.addSuperclass(kobj::kHeterogeneousRootName);
    addFacadeConstructor(facade);
    facade.addCustomMethod("retrieveData", {kDataClass}, {kIdentityClass}, scriptRetrieveData);
    facade.addCustomMethod("retrieveAllIdentities", {kIdentityVector}, {category},
                           scriptRetrieveAllIdentities);
    facade.addCustomMethod("retrieveAllData", {kDataVector}, {category}, scriptRetrieveAllData);
    facade.addMethod("registerData", {outcome}, {kIdentityClass, kDataClass},
                     &Self::registerDataInTransaction);
    facade.addMethod("registerDataUsingCaching", {outcome}, {kIdentityClass, kDataClass},
                     &Self::registerData);
    facade.addCustomMethod("registerDataArray", {outcome}, {kIdentityVector, kDataVector},
                           scriptRegisterDataArray);
    facade.addMethod("finalize", {outcome}, {}, &Self::finalize);
    facade.addCustomMethod("retrieveIdentityForName", {kIdentityClass}, {category, name},
                           scriptRetrieveIdentityForName);
    facade.addCustomMethod("retrieveDataForName", {kDataClass}, {category, name},
                           scriptRetrieveDataForName);
}

}  // namespace SCM
