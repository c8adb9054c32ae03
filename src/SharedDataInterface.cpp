#include "SharedDataInterface.hpp"

namespace SCM {

SharedDataInterface::SharedDataInterface() = default;

SharedDataInterface::SharedDataInterface(const std::string& dictionaryFile)
    : SharedCodeManagerInterface(dictionaryFile) {}

SharedDataInterface::~SharedDataInterface() = default;

const char* SharedDataInterface::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedDataInterface";
}

std::vector<std::string> SharedDataInterface::getAllDataNames() { return getAllNames(SCM_SHARED_DATA); }

}  // namespace SCM
