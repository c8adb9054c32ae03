#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "RegistryReader.hpp"
#include "RecordProperties.hpp"
#include "StandardOutput.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

const std::string kPackagePrefix = "SharedCodeManager.";

// "SharedFunctionData" for "SharedCodeManager.SharedFunctionData".
std::string shortClassName(tv::mi::Handle& object) {
    const std::string name = publishedClassName(object);
    return name.rfind(kPackagePrefix, 0) == 0 ? name.substr(kPackagePrefix.size()) : name;
}

}  // namespace

int runList(const ListOptions& options) {
    RegistryReader registry(options.registry);
    const std::vector<SCM::SCMTypes> types = selectCategories(options.category);
    TextTable table({"CATEGORY", "KEY", "NAME", "RECORD"});
    registry.forEachEntry(types, [&](OwnedEntry& entry) {
        if (options.names) {
            std::cout << entry.data->getName() << '\n';
            requireStandardOutput();
        } else {
            table.addRow({shortName(entry.identity->getType()),
                          cellText(entry.identity->getChecksum()), cellText(entry.data->getName()),
                          shortClassName(*entry.data)});
        }
    });
    if (!options.names) table.print(std::cout);
    return kExitOk;
}

}  // namespace scm_tool
