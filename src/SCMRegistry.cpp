#include "SCMRegistry.hpp"

namespace SCM {

std::string scmRegistryToString(SCMRegistry outcome) {
    switch (outcome) {
        case IS_REGISTERED: return "IS_REGISTERED";
        case IS_PRESENT_UPDATE: return "IS_PRESENT_UPDATE";
        case IS_PRESENT_ERROR: return "IS_PRESENT_ERROR";
        case WILL_BE_REGISTERED: return "WILL_BE_REGISTERED";
        case IS_TRANSACTION_ERROR: return "IS_TRANSACTION_ERROR";
        case IS_EMPTY: return "IS_EMPTY";
        default: return "";
    }
}

}  // namespace SCM
