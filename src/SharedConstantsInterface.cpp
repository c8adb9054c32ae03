#include "SharedConstantsInterface.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SharedConstantsInterface::SharedConstantsInterface() = default;

SharedConstantsInterface::SharedConstantsInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedConstantsInterface::~SharedConstantsInterface() = default;

const char* SharedConstantsInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedConstantsInterface";
}

std::vector<std::string> SharedConstantsInterface::getAllConstantsNames() { return getAllNames(SCM_SHARED_CONSTANTS); }

// Publishes "SharedCodeManager.SharedConstantsInterface", whose listing is a read-only property
// named "getAllConstantsNames".
void publishSharedConstantsInterface(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SharedConstantsInterface> facade(builder);
    facade.addSuperclass("SharedCodeManager.SharedCodeManagerInterface");
    addFacadeConstructor(facade);
    facade.addReadOnlyProperty("getAllConstantsNames", kobj::types::kCell, kobj::attributes::kNone,
                               &SharedConstantsInterface::getAllConstantsNames);
}

}  // namespace SCM
