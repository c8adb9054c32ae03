#include "SharedFunctionInterface.hpp"

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

}  // namespace SCM
