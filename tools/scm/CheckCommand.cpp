#include <iostream>

#include "Commands.hpp"
#include "OpenRegistry.hpp"

namespace scm_tool {

int runCheck(const std::string& path) {
    OpenRegistry registry(path, OpenRegistry::Access::Read);
    tvdiag::util::diagnostics problems;
    const std::size_t entries = registry.adapter().checkEntries(problems);
    if (problems.empty()) {
        std::cout << "OK: " << registry.path() << ": " << entries
                  << " entries; the storage is sound, every entry decodes and matches its checksum\n";
        return kExitOk;
    }
    for (const tvdiag::util::diagnostic& problem : problems.records()) {
        std::cout << "problem: " << problem.message << '\n';
    }
    std::cout << problems.size() << (problems.size() == 1 ? " problem" : " problems") << " in "
              << registry.path() << " (" << entries << " entries checked)\n";
    return kExitFindings;
}

}  // namespace scm_tool
