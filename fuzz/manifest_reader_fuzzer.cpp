// Fuzzes the scm tool's manifest reader with arbitrary manifests. It must never crash, and every
// entry it accepts must write out as a manifest line that reads back into the same line.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "scm/ManifestLine.hpp"
#include "scm/ManifestReader.hpp"
#include "SCMModuleEntry.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    HxInitialize_shared_code_manager();  // the library's classes, as the tool knows them
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream manifest(std::string(reinterpret_cast<const char*>(data), size));
    scm_tool::ManifestReader reader(manifest);
    scm_tool::ManifestItem item;
    while (reader.next(item)) {
        if (!item.problem.empty()) continue;
        item.entry.identity->getChecksum();
        const std::string line = scm_tool::manifestLine(*item.entry.identity, *item.entry.data);
        scm_tool::OwnedEntry again;
        std::string problem;
        if (!scm_tool::parseManifestLine(line, again, problem)) __builtin_trap();
        if (scm_tool::manifestLine(*again.identity, *again.data) != line) __builtin_trap();
    }
    return 0;
}
