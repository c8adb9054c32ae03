#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SCMTypes.hpp"

// The entry categories as the tool shows and accepts them: the enumerator names of the library
// ("SCM_SHARED_FUNCTIONS") and short forms ("functions").
namespace scm_tool {

// Every category the registry stores, in enumeration order (SCM_NUM included: entries of a
// category outside the enumeration land there).
const std::vector<SCM::SCMTypes>& allCategories();

// "utilities", "functions", "types", "other", "num", "data", "constants".
std::string shortName(SCM::SCMTypes type);

// The category named by `text`: an enumerator name or a short form, ignoring case. Unlike the
// library's scmTypeFromString, an unknown name is not a category: nullopt.
std::optional<SCM::SCMTypes> parseCategory(const std::string& text);

// Every category for an empty text, else the one `text` names (see requireCategory).
std::vector<SCM::SCMTypes> selectCategories(const std::string& text);

// The category named by `text`; throws ToolError listing the accepted names when there is none.
SCM::SCMTypes requireCategory(const std::string& text);

}  // namespace scm_tool
