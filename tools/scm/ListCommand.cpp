#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "ProgressBar.hpp"
#include "RegistryReader.hpp"
#include "RecordProperties.hpp"
#include "StandardOutput.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

const std::string kPackagePrefix = "SharedCodeManager.";
// The rows that size the table's columns: printed once read, and every row after them as it comes.
constexpr std::size_t kFirstPage = 1000;

// "SharedFunctionData" for "SharedCodeManager.SharedFunctionData".
std::string shortClassName(tv::mi::Handle& object) {
    const std::string name = publishedClassName(object);
    return name.rfind(kPackagePrefix, 0) == 0 ? name.substr(kPackagePrefix.size()) : name;
}

}  // namespace

int runList(const ListOptions& options) {
    RegistryReader registry(options.registry);
    registry.showProgress(progressWanted(true));
    const std::vector<SCM::SCMTypes> types = selectCategories(options.category);
    TextTable table({"CATEGORY", "KEY", "NAME", "RECORD"});
    registry.forEachEntry(types, [&](OwnedEntry& entry) {
        if (options.names) {
            std::cout << entry.data->getName() << '\n';
        } else {
            table.addRow({shortName(entry.identity->getType()),
                          cellText(entry.identity->getChecksum()), cellText(entry.data->getName()),
                          shortClassName(*entry.data)});
            if (table.rowCount() == kFirstPage) table.flush(std::cout);
        }
        requireStandardOutput();
    });
    if (!options.names) table.flush(std::cout);
    return kExitOk;
}

}  // namespace scm_tool
