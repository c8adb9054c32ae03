// Fuzzes the scm tool's manifest reader with arbitrary manifests. It must never crash, every
// entry it accepts must write out as a manifest line that reads back into the same line, and each
// line must get the same answer from the one-pass reading as from the general JSON reading.
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

namespace {

// The answer of a reading: the written-out entry, or the problem.
std::string answer(bool parsed, const scm_tool::OwnedEntry& entry, const std::string& problem) {
    return parsed ? scm_tool::manifestLine(*entry.identity, *entry.data) : "problem: " + problem;
}

void compareReadings(const std::string& line) {
    scm_tool::OwnedEntry entry;
    std::string problem;
    const bool parsed = scm_tool::parseManifestLine(line, entry, problem);
    scm_tool::OwnedEntry jsonEntry;
    std::string jsonProblem;
    const bool jsonParsed = scm_tool::parseManifestLineAsJson(line, jsonEntry, jsonProblem);
    if (answer(parsed, entry, problem) != answer(jsonParsed, jsonEntry, jsonProblem)) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) compareReadings(line);

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
