#include "SharedUtilityInterface.hpp"

#include <set>

#include "package/PublishingRoutines.hpp"

namespace SCM {

SharedUtilityInterface::SharedUtilityInterface() = default;

SharedUtilityInterface::SharedUtilityInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedUtilityInterface::~SharedUtilityInterface() = default;

const char* SharedUtilityInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedUtilityInterface";
}

std::string SharedUtilityInterface::registerUtilityIdentifier(SCMBasicUtilityIdentity*,
                                                              SCMBasicUtilityData*) {
    return "";
}

std::string SharedUtilityInterface::getRegisteredUtilityName(const std::string& name,
                                                             bool multiword, bool complex) {
    SCMBasicUtilityIdentity identity(name);
    SCMBasicUtilityData record(name, multiword, complex);
    return registerUtilityIdentifier(&identity, &record);
}

// Sorted and unique, unlike the other categories' name listings. The utility category holds
// utility records only; any other record counts as one without an identifier.
std::vector<std::string> SharedUtilityInterface::getAllIdentifiers() {
    std::set<std::string> identifiers;
    for (SCMData* record : retrieveAllData(SCM_UTILITIES)) {
        const auto* utility = dynamic_cast<const SCMBasicUtilityData*>(record);
        identifiers.insert(utility != nullptr ? utility->getIdentifier() : std::string());
        delete record;
    }
    return std::vector<std::string>(identifiers.begin(), identifiers.end());
}

SCMIdentityDataPair SharedUtilityInterface::getIdentityAndDataForName(const std::string& name) {
    return retrieveIdentityAndDataForName(SCM_UTILITIES, name);
}

// Publishes "SharedCodeManager.SharedUtilityInterface": the constructor only; its listings are not
// published.
void publishSharedUtilityInterface(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SharedUtilityInterface> facade(builder);
    facade.addSuperclass("SharedCodeManager.SharedCodeManagerInterface");
    addFacadeConstructor(facade);
}

}  // namespace SCM
