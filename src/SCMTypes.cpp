#include "SCMTypes.hpp"

#include <map>

namespace SCM {

namespace {

// Name -> category, created on first use and kept until the process ends. Unknown names are
// added with SCM_UTILITIES by the subscript operator, so the table grows with each of them.
std::map<std::string, SCMTypes>& nameTable() {
    static std::map<std::string, SCMTypes> table = {
        {"SCM_UTILITIES", SCM_UTILITIES},
        {"SCM_SHARED_FUNCTIONS", SCM_SHARED_FUNCTIONS},
        {"SCM_SHARED_TYPES", SCM_SHARED_TYPES},
        {"SCM_OTHER", SCM_OTHER},
        {"SCM_NUM", SCM_NUM},
        {"SCM_SHARED_DATA", SCM_SHARED_DATA},
        {"SCM_SHARED_CONSTANTS", SCM_SHARED_CONSTANTS},
    };
    return table;
}

}  // namespace

std::string scmTypeToString(SCMTypes type) {
    switch (type) {
        case SCM_UTILITIES: return "SCM_UTILITIES";
        case SCM_SHARED_FUNCTIONS: return "SCM_SHARED_FUNCTIONS";
        case SCM_SHARED_TYPES: return "SCM_SHARED_TYPES";
        case SCM_OTHER: return "SCM_OTHER";
        case SCM_SHARED_DATA: return "SCM_SHARED_DATA";
        case SCM_SHARED_CONSTANTS: return "SCM_SHARED_CONSTANTS";
        default: return "SCM_NUM";
    }
}

std::string scmTypeToPropertyText(SCMTypes type) {
    switch (type) {
        case SCM_UTILITIES: return "SCM_UTILITIES";
        case SCM_SHARED_FUNCTIONS: return "SCM_SHARED_FUNCTIONS";
        case SCM_SHARED_TYPES: return "SCM_SHARED_TYPES";
        case SCM_OTHER: return "SCM_OTHER";
        case SCM_NUM: return "SCM_NUM";
        case SCM_SHARED_DATA: return "SCM_SHARED_DATA";
        case SCM_SHARED_CONSTANTS: return "SCM_SHARED_CONSTANTS";
        default: return "";
    }
}

SCMTypes scmTypeFromString(const std::string& name) { return nameTable()[name]; }

std::size_t scmTypeNameTableSize() { return nameTable().size(); }

}  // namespace SCM
