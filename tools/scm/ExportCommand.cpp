#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "ManifestLine.hpp"
#include "ProgressBar.hpp"
#include "RegistryReader.hpp"
#include "StandardOutput.hpp"

namespace scm_tool {

// Writes the entries as manifest lines: registering the output into an empty registry gives the
// same entries, category after category in store order. Exits with kExitFindings when entries
// that do not decode had to be left out; a registry that cannot be read to the end, or output
// that cannot be written, ends it with ToolError (never a silently short export).
int runExport(const ExportOptions& options) {
    RegistryReader registry(options.registry);
    registry.showProgress(progressWanted(true));
    const std::vector<SCM::SCMTypes> types = selectCategories(options.category);
    registry.forEachEntry(types, [](OwnedEntry& entry) {
        std::cout << manifestLine(*entry.identity, *entry.data) << '\n';
        requireStandardOutput();
    });
    return registry.skippedEntries() == 0 ? kExitOk : kExitFindings;
}

}  // namespace scm_tool
