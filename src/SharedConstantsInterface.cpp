#include "SharedConstantsInterface.hpp"

namespace SCM {

SharedConstantsInterface::SharedConstantsInterface() = default;

SharedConstantsInterface::~SharedConstantsInterface() = default;

const char* SharedConstantsInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedConstantsInterface";
}

std::vector<std::string> SharedConstantsInterface::getAllConstantsNames() { return getAllNames(SCM_SHARED_CONSTANTS); }

}  // namespace SCM
