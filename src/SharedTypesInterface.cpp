#include "SharedTypesInterface.hpp"

namespace SCM {

SharedTypesInterface::SharedTypesInterface() = default;

SharedTypesInterface::SharedTypesInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedTypesInterface::~SharedTypesInterface() = default;

const char* SharedTypesInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedTypesInterface";
}

std::vector<std::string> SharedTypesInterface::getAllTypesNames() { return getAllNames(SCM_SHARED_TYPES); }

}  // namespace SCM
