#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "ManifestLine.hpp"
#include "OpenRegistry.hpp"

namespace scm_tool {

// Writes the entries as manifest lines: registering the output into an empty registry gives the
// same entries, category after category in store order. Exits with kExitFindings when entries
// that do not decode had to be left out.
int runExport(const ExportOptions& options) {
    OpenRegistry registry(options.registry, OpenRegistry::Access::Read);
    const std::vector<SCM::SCMTypes> types =
        options.category.empty() ? allCategories()
                                 : std::vector<SCM::SCMTypes>{requireCategory(options.category)};
    for (SCM::SCMTypes type : types) {
        for (const OwnedEntry& entry : registry.entries(type)) {
            std::cout << manifestLine(*entry.identity, *entry.data) << '\n';
        }
    }
    return registry.skippedEntries() == 0 ? kExitOk : kExitFindings;
}

}  // namespace scm_tool
