#pragma once

#include <cstdint>
#include <string>

#include "SCMExport.hpp"

namespace SCM {

// Outcome of one registration. Scripts receive it as its enumerator name; the values are fixed.
enum SCMRegistry : std::int32_t {
    IS_REGISTERED = 0,         // stored as a new entry
    IS_PRESENT_UPDATE = 1,     // the entry existed and its stored data merged the newcomer
    IS_PRESENT_ERROR = 2,      // the entry existed and its stored data refused the newcomer
    WILL_BE_REGISTERED = 3,    // queued in the write cache, or a batch was handed over
    IS_TRANSACTION_ERROR = 4,  // the store is missing or failed
    IS_EMPTY = 5,              // the identity or the data was missing
};

// The enumerator name of 0 to 5; "" for any other value.
SCM_EXPORT std::string scmRegistryToString(SCMRegistry outcome);

}  // namespace SCM
