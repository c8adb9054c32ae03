#include "RegistryName.hpp"

#include <regex>

namespace scm_tool {

std::string printableRegistryName(const std::string& path) {
    static const std::regex userPassword(R"(^(postgres(?:ql)?://[^:/?#@]*:)[^/?#]*(@))");
    static const std::regex passwordParameter(R"(^(postgres(?:ql)?://[^?]*\?(?:.*&)?password=)[^&]*)");
    std::string name = std::regex_replace(path, userPassword, "$1***$2");
    return std::regex_replace(name, passwordParameter, "$1***");
}

}  // namespace scm_tool
