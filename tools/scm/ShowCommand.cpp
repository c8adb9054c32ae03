#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "OpenRegistry.hpp"
#include "RecordProperties.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

// The entries to show: the first one named `name` in its category, or every category's entry
// with the checksum.
std::vector<OwnedEntry> findEntries(OpenRegistry& registry, const ShowOptions& options) {
    std::vector<OwnedEntry> found;
    auto keep = [&found](SCM::SCMIdentityDataPair pair) {
        OwnedEntry entry{std::unique_ptr<SCM::SCMIdentity>(pair.first),
                         std::unique_ptr<SCM::SCMData>(pair.second)};
        if (entry.identity != nullptr && entry.data != nullptr) found.push_back(std::move(entry));
    };
    if (!options.checksum.empty()) {
        for (SCM::SCMTypes type : allCategories()) {
            keep(registry.adapter().getEntryForChecksum(type, options.checksum));
        }
    } else {
        // The tool never uses the write cache, so these are fresh objects: ours to delete.
        keep(registry.facade().retrieveIdentityAndDataForName(requireCategory(options.category),
                                                              options.name));
    }
    return found;
}

void addProperties(TextTable& table, tv::mi::Handle& object, bool all) {
    for (const PropertyValue& property : propertiesOf(object)) {
        if (all || !property.hidden) {
            table.addRow({"  " + property.name, displayText(property.value)});
        }
    }
}

void printEntry(const OwnedEntry& entry, bool all) {
    TextTable table({"category", entry.identity->getTypeString()});
    table.addRow({"key", quotedText(entry.identity->getChecksum())});
    table.addRow({"name", quotedText(entry.data->getName())});
    table.addRow({"identity", publishedClassName(*entry.identity)});
    addProperties(table, *entry.identity, all);
    table.addRow({"data", publishedClassName(*entry.data)});
    addProperties(table, *entry.data, all);
    table.print(std::cout);
}

}  // namespace

int runShow(const ShowOptions& options) {
    const bool byName = !options.category.empty() && !options.name.empty();
    if (byName == !options.checksum.empty()) {
        throw ToolError("show takes either CATEGORY NAME or --checksum TEXT");
    }
    OpenRegistry registry(options.registry, OpenRegistry::Access::Read);
    const std::vector<OwnedEntry> entries = findEntries(registry, options);
    if (entries.empty()) {
        std::cerr << "scm: no entry "
                  << (byName ? "named " + quotedText(options.name) + " in " + options.category
                             : "with the checksum " + quotedText(options.checksum))
                  << " in " << registry.path() << '\n';
        return kExitFindings;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0) std::cout << '\n';
        printEntry(entries[i], options.all);
    }
    return kExitOk;
}

}  // namespace scm_tool
