#include "SharedFunctionInterface.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SharedFunctionInterface::SharedFunctionInterface() = default;

SharedFunctionInterface::SharedFunctionInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedFunctionInterface::~SharedFunctionInterface() = default;

const char* SharedFunctionInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedFunctionInterface";
}

std::string SharedFunctionInterface::registerSharedFunction(SCMSharedFunctionIdentity*,
                                                            SCMSharedFunctionData*) {
    return "";
}

std::vector<std::string> SharedFunctionInterface::getAllFunctionNames() {
    return getAllNames(SCM_SHARED_FUNCTIONS);
}

// Publishes "SharedCodeManager.SharedFunctionInterface": the constructor only; its listings are not
// published.
void publishSharedFunctionInterface(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SharedFunctionInterface> facade(builder);
    facade.addSuperclass("SharedCodeManager.SharedCodeManagerInterface");
    addFacadeConstructor(facade);
}

}  // namespace SCM
