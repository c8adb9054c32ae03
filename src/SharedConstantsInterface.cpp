#include "SharedConstantsInterface.hpp"

namespace SCM {

SharedConstantsInterface::SharedConstantsInterface() = default;

SharedConstantsInterface::SharedConstantsInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedConstantsInterface::~SharedConstantsInterface() = default;

const char* SharedConstantsInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedConstantsInterface";
}

std::vector<std::string> SharedConstantsInterface::getAllConstantsNames() { return getAllNames(SCM_SHARED_CONSTANTS); }

}  // namespace SCM
