#include "SharedTypesInterface.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SharedTypesInterface::SharedTypesInterface() = default;

SharedTypesInterface::SharedTypesInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedTypesInterface::~SharedTypesInterface() = default;

const char* SharedTypesInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedTypesInterface";
}

std::vector<std::string> SharedTypesInterface::getAllTypesNames() { return getAllNames(SCM_SHARED_TYPES); }

// Publishes "SharedCodeManager.SharedTypesInterface": the constructor only; its listings are not
// published.
void publishSharedTypesInterface(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SharedTypesInterface> facade(builder);
    facade.addSuperclass("SharedCodeManager.SharedCodeManagerInterface");
    addFacadeConstructor(facade);
}

}  // namespace SCM
