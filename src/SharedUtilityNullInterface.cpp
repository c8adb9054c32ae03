#include "SharedUtilityNullInterface.hpp"

namespace SCM {

SharedUtilityNullInterface::SharedUtilityNullInterface() { setDataAdapter(nullptr); }

SharedUtilityNullInterface::~SharedUtilityNullInterface() = default;

SCMRegistry SharedUtilityNullInterface::registerData(SCMIdentity*, SCMData*) {
    return IS_REGISTERED;
}

SCMData* SharedUtilityNullInterface::retrieveData(SCMIdentity*) { return nullptr; }

std::vector<SCMIdentity*> SharedUtilityNullInterface::retrieveAllIdentities(SCMTypes) {
    return {};
}

std::vector<SCMData*> SharedUtilityNullInterface::retrieveAllData(SCMTypes) { return {}; }

SCMRegistry SharedUtilityNullInterface::registerDataInTransaction(SCMIdentity*, SCMData*) {
    return IS_REGISTERED;
}

// The name asked for is the name granted.
std::string SharedUtilityNullInterface::registerUtilityIdentifier(SCMBasicUtilityIdentity*,
                                                                  SCMBasicUtilityData* data) {
    return data != nullptr ? data->getNameWithEncodings() : std::string();
}

}  // namespace SCM
