#include <iostream>

#include "Commands.hpp"
#include "EntrySearch.hpp"

namespace scm_tool {

int runShow(const ShowOptions& options) {
    const EntrySearch search{options.category, options.name, options.checksum};
    search.requireOneForm("show");
    RegistryReader registry(options.registry);
    const FoundEntries found = findEntries(registry, search);
    for (std::size_t i = 0; i < found.entries.size(); ++i) {
        if (i > 0) std::cout << '\n';
        printEntry(std::cout, found.entries[i], options.all);
    }
    return reportSearch(registry, search, found);
}

}  // namespace scm_tool
