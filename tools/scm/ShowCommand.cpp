#include <iostream>

#include "Categories.hpp"
#include "Commands.hpp"
#include "RegistryReader.hpp"
#include "RecordProperties.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

using StoredEntry = SCM::SCMRegistryInspector::StoredEntry;
using EntryKey = SCM::SCMRegistryInspector::EntryKey;

// What a search found: the entries that decode, and how many matched but do not.
struct Found {
    std::vector<OwnedEntry> entries;
    std::size_t undecodable = 0;
};

// Adds the entries of `type` whose `key` is `value` to `found`.
void findIn(RegistryReader& registry, SCM::SCMTypes type, EntryKey key, const std::string& value,
            Found& found) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    registry.inspector().visitEntries(
        type, key, value,
        [&found](StoredEntry& stored) {
            if (stored.identity == nullptr || stored.data == nullptr) {
                ++found.undecodable;
                return;
            }
            found.entries.push_back({std::move(stored.identity), std::move(stored.data)});
        },
        diagnostics);
    if (!diagnostics.empty()) throwUnreadable(diagnostics);
}

// Every entry named `name` in its category, or every category's entry with the checksum.
Found findEntries(RegistryReader& registry, const ShowOptions& options) {
    Found found;
    if (!options.checksum.empty()) {
        for (SCM::SCMTypes type : allCategories()) {
            findIn(registry, type, EntryKey::Checksum, options.checksum, found);
        }
    } else {
        findIn(registry, requireCategory(options.category), EntryKey::Name, options.name, found);
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
    RegistryReader registry(options.registry);
    const Found found = findEntries(registry, options);
    const std::string searched =
        byName ? "named " + quotedText(options.name) + " in " + options.category
               : "with the checksum " + quotedText(options.checksum);
    if (found.undecodable > 0) {
        const bool one = found.undecodable == 1;
        std::cerr << "scm: " << found.undecodable << (one ? " entry " : " entries ") << searched
                  << " in " << registry.path() << (one ? " does" : " do")
                  << " not decode (scm check says why)\n";
    }
    for (std::size_t i = 0; i < found.entries.size(); ++i) {
        if (i > 0) std::cout << '\n';
        printEntry(found.entries[i], options.all);
    }
    if (found.entries.empty() && found.undecodable == 0) {
        std::cerr << "scm: no entry " << searched << " in " << registry.path() << '\n';
    }
    return found.entries.empty() || found.undecodable > 0 ? kExitFindings : kExitOk;
}

}  // namespace scm_tool
