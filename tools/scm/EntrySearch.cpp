#include "EntrySearch.hpp"

#include <iostream>

#include "Categories.hpp"
#include "ExitCode.hpp"
#include "RecordProperties.hpp"
#include "TextTable.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

using StoredEntry = SCM::SCMRegistryInspector::StoredEntry;
using EntryKey = SCM::SCMRegistryInspector::EntryKey;

// Adds the entries of `type` whose `key` is `value` to `found`.
void findIn(RegistryReader& registry, SCM::SCMTypes type, EntryKey key, const std::string& value,
            FoundEntries& found) {
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

void addProperties(TextTable& table, tv::mi::Handle& object, bool all) {
    for (const PropertyValue& property : propertiesOf(object)) {
        if (all || !property.hidden) {
            table.addRow({"  " + property.name, displayText(property.value)});
        }
    }
}

}  // namespace

void EntrySearch::requireOneForm(const std::string& command) const {
    const bool byName = !category.empty() && !name.empty();
    if (byName == !checksum.empty()) {
        throw ToolError(command + " takes either CATEGORY NAME or --checksum TEXT");
    }
}

std::string EntrySearch::description() const {
    return checksum.empty() ? "named " + quotedText(name) + " in " + category
                            : "with the checksum " + quotedText(checksum);
}

FoundEntries findEntries(RegistryReader& registry, const EntrySearch& search) {
    FoundEntries found;
    if (!search.checksum.empty()) {
        for (SCM::SCMTypes type : allCategories()) {
            findIn(registry, type, EntryKey::Checksum, search.checksum, found);
        }
    } else {
        findIn(registry, requireCategory(search.category), EntryKey::Name, search.name, found);
    }
    return found;
}

int reportSearch(const RegistryReader& registry, const EntrySearch& search, const FoundEntries& found) {
    if (found.undecodable > 0) {
        const bool one = found.undecodable == 1;
        std::cerr << "scm: " << found.undecodable << (one ? " entry " : " entries ")
                  << search.description() << " in " << registry.path()
                  << (one ? " does" : " do") << " not decode (scm check says why)\n";
    }
    if (found.entries.empty() && found.undecodable == 0) {
        std::cerr << "scm: no entry " << search.description() << " in " << registry.path() << '\n';
    }
    return found.entries.empty() || found.undecodable > 0 ? kExitFindings : kExitOk;
}

void printEntry(std::ostream& out, const OwnedEntry& entry, bool all) {
    TextTable table({"category", entry.identity->getTypeString()});
    table.addRow({"key", quotedText(entry.identity->getChecksum())});
    table.addRow({"name", quotedText(entry.data->getName())});
    table.addRow({"identity", publishedClassName(*entry.identity)});
    addProperties(table, *entry.identity, all);
    table.addRow({"data", publishedClassName(*entry.data)});
    addProperties(table, *entry.data, all);
    table.print(out);
}

}  // namespace scm_tool
