// Fuzzes the scm tool's manifest reader with arbitrary manifests. It must never crash, every line
// it accepts must be valid JSON (a general parser, the oracle, reads it too), and every entry it
// accepts must write out as a manifest line that reads back into the same line.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "scm/ManifestLine.hpp"
#include "scm/ManifestReader.hpp"
#include "SCMModuleEntry.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    HxInitialize_shared_code_manager();  // the library's classes, as the tool knows them
    return 0;
}

namespace {

// An accepted line is JSON; a NUL byte after the entry ends it, as for the general parser. The
// oracle only checks the syntax (no tree), so a deep line cannot exhaust its stack.
void checkAcceptedLineIsJson(const std::string& line) {
    const std::string text = line.substr(0, line.find('\0'));
    if (!nlohmann::json::accept(text)) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        scm_tool::OwnedEntry entry;
        std::string problem;
        if (scm_tool::parseManifestLine(line, entry, problem)) {
            checkAcceptedLineIsJson(line);
        } else if (problem.empty() || problem.size() > 1000) {
            __builtin_trap();  // every refusal says why, quoting a short excerpt at most
        }
    }

    std::istringstream manifest(text);
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
