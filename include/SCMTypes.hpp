#pragma once

#include <cstdint>
#include <string>

#include "SCMExport.hpp"

namespace SCM {

// Category of a registry entry. Stored on disk (as the dictionary class name and inside every
// stored identity): the values are fixed and must never change. SCM_NUM is a marker that sits
// between SCM_OTHER and SCM_SHARED_DATA on purpose; it is not a count.
enum SCMTypes : std::int32_t {
    SCM_UTILITIES = 0,
    SCM_SHARED_FUNCTIONS = 1,
    SCM_SHARED_TYPES = 2,
    SCM_OTHER = 3,
    SCM_NUM = 4,
    SCM_SHARED_DATA = 5,
    SCM_SHARED_CONSTANTS = 6,
};

// The category's enumerator name; 4 and every value outside the enumeration give "SCM_NUM".
// This text is also the dictionary class that holds the category's entries.
SCM_EXPORT std::string scmTypeToString(SCMTypes type);

// The text of the published "Type" property: the enumerator name for 0 to 6, "" otherwise.
SCM_EXPORT std::string scmTypeToPropertyText(SCMTypes type);

// The category named by `name` (exact, case-sensitive). Never fails: an unknown name means
// SCM_UTILITIES and is remembered with that value in the process-wide name table, which then
// grows by one entry. The table is not locked; use it from one thread.
SCM_EXPORT SCMTypes scmTypeFromString(const std::string& name);

// Number of names in the process-wide name table (seven plus every unknown name looked up).
SCM_EXPORT std::size_t scmTypeNameTableSize();

}  // namespace SCM
