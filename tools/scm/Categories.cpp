#include "Categories.hpp"

#include <algorithm>
#include <cctype>

#include "ExitCode.hpp"

namespace scm_tool {

namespace {

struct CategoryName {
    SCM::SCMTypes type;
    const char* shortName;
};

const std::vector<CategoryName>& categoryNames() {
    static const std::vector<CategoryName> names = {
        {SCM::SCM_UTILITIES, "utilities"},     {SCM::SCM_SHARED_FUNCTIONS, "functions"},
        {SCM::SCM_SHARED_TYPES, "types"},      {SCM::SCM_OTHER, "other"},
        {SCM::SCM_NUM, "num"},                 {SCM::SCM_SHARED_DATA, "data"},
        {SCM::SCM_SHARED_CONSTANTS, "constants"},
    };
    return names;
}

std::string lowercase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

const std::vector<SCM::SCMTypes>& allCategories() {
    static const std::vector<SCM::SCMTypes> types = [] {
        std::vector<SCM::SCMTypes> all;
        for (const CategoryName& name : categoryNames()) all.push_back(name.type);
        return all;
    }();
    return types;
}

std::string shortName(SCM::SCMTypes type) {
    for (const CategoryName& name : categoryNames()) {
        if (name.type == type) return name.shortName;
    }
    return "num";  // where the registry keeps every category outside the enumeration
}

std::optional<SCM::SCMTypes> parseCategory(const std::string& text) {
    const std::string wanted = lowercase(text);
    for (const CategoryName& name : categoryNames()) {
        if (wanted == name.shortName || wanted == lowercase(SCM::scmTypeToString(name.type))) {
            return name.type;
        }
    }
    return std::nullopt;
}

SCM::SCMTypes requireCategory(const std::string& text) {
    if (std::optional<SCM::SCMTypes> type = parseCategory(text)) return *type;
    std::string accepted;
    for (const CategoryName& name : categoryNames()) {
        accepted += (accepted.empty() ? "" : ", ") + std::string(name.shortName);
    }
    throw ToolError("unknown category \"" + text + "\": use one of " + accepted +
                    " or the full names such as SCM_SHARED_FUNCTIONS");
}

std::vector<SCM::SCMTypes> selectCategories(const std::string& text) {
    if (text.empty()) return allCategories();
    return {requireCategory(text)};
}

}  // namespace scm_tool
