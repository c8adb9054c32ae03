#include "SharedDataInterface.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SharedDataInterface::SharedDataInterface() = default;

SharedDataInterface::SharedDataInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedDataInterface::~SharedDataInterface() = default;

const char* SharedDataInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedDataInterface";
}

std::vector<std::string> SharedDataInterface::getAllDataNames() { return getAllNames(SCM_SHARED_DATA); }

// Publishes "SharedCodeManager.SharedDataInterface": the constructor only; its listings are not
// published.
void publishSharedDataInterface(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SharedDataInterface> facade(builder);
    facade.addSuperclass("SharedCodeManager.SharedCodeManagerInterface");
    addFacadeConstructor(facade);
}

}  // namespace SCM
