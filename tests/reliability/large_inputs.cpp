// Large inputs: a 10 MiB definition text, a record with 100,000 traceability entries and one
// million entries in one category each round-trip through a registry file with correct results
// and bounded memory. Each part runs in a process of its own, which reports its peak resident
// set size.
//
//   large_inputs [--entries N] [--traces T] [--definition-mib M] [--growth-mib G]
//
// G bounds how much the resident set may grow from a tenth of the entries to all of them
// (default 64; 0 does not check, for builds whose allocator keeps freed memory).
// Exit status 0 when every part held; the findings on stdout.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>

#include "reliability/ProgramOptions.hpp"
#include "shared_code_manager.hpp"

namespace {

using namespace SCM;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr long kMiB = 1024 * 1024;

long peakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

long residentMiB() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE) / kMiB;
}

bool check(bool condition, const std::string& what) {
    if (!condition) std::cout << "  FAILED: " << what << '\n';
    return condition;
}

// Every byte value, over and over: quotes, backslashes, NULs and bytes that are not UTF-8.
std::string definitionText(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7 % 256);
    return text;
}

bool largeDefinition(const std::string& file, unsigned mebibytes) {
    const std::string definition = definitionText(mebibytes * kMiB);
    SCMSharedTypesIdentity key(1, 2, 3, 4);
    SCMSharedTypesData record("T_large");
    record.setDefinition(definition);
    SCMSharedTypesData again("T_large");
    again.setDefinition("other");
    {
        SharedTypesInterface registry(file);
        if (!check(registry.registerDataInTransaction(&key, &record) == IS_REGISTERED, "registered")) return false;
        if (!check(registry.registerDataInTransaction(&key, &again) == IS_PRESENT_UPDATE, "merged")) return false;
    }
    SharedTypesInterface reopened(file);
    std::unique_ptr<SCMData> stored(reopened.retrieveData(&key));
    auto* types = dynamic_cast<SCMSharedTypesData*>(stored.get());
    return check(types != nullptr && types->getDefinition() == definition, "the definition comes back byte for byte");
}

bool manyTraces(const std::string& file, unsigned traces) {
    SCMBasicUtilityIdentity key("rt_traced");
    SCMBasicUtilityData record("rt_traced_s32", "rt_traced");
    std::size_t ofModel7 = 0;
    for (unsigned i = 0; i < traces; ++i) {
        record.addTraceability("model" + std::to_string(i % 100) + ":subsystem/block" + std::to_string(i));
        ofModel7 += i % 100 == 7;
    }
    SCMBasicUtilityData more("rt_traced_s32", "rt_traced");
    more.addTraceability("late:block");
    {
        SharedUtilityInterface registry(file);
        if (!check(registry.registerDataInTransaction(&key, &record) == IS_REGISTERED, "registered")) return false;
        if (!check(registry.registerDataInTransaction(&key, &more) == IS_PRESENT_UPDATE, "merged")) return false;
    }
    SharedUtilityInterface reopened(file);
    std::unique_ptr<SCMData> stored(reopened.retrieveData(&key));
    auto* utility = dynamic_cast<SCMBasicUtilityData*>(stored.get());
    return check(utility != nullptr && utility->getTraceabilitySet().size() == traces + 1u,
                 "every traceability entry comes back") &&
           check(utility->getTraceabilityForModel("model7").size() == ofModel7, "one model's entries are found");
}

SCMSharedTypesIdentity typeKey(unsigned i) { return SCMSharedTypesIdentity(i, i >> 8, 77, 78); }

std::string typeName(unsigned i) { return "T" + std::to_string(i); }

bool millionEntries(const std::string& file, unsigned entries, long growthMiB) {
    long residentEarly = 0;
    {
        SharedTypesInterface registry(file);
        for (unsigned i = 0; i < entries; ++i) {
            SCMSharedTypesIdentity key = typeKey(i);
            SCMSharedTypesData record(typeName(i));
            record.setDefinition("typedef int " + typeName(i) + ";");
            const SCMRegistry outcome = registry.registerData(&key, &record);
            if (outcome != WILL_BE_REGISTERED && outcome != IS_REGISTERED) return check(false, "registered");
            if (i == entries / 10) residentEarly = residentMiB();
        }
        registry.finalize();
    }
    const long residentLate = residentMiB();
    std::printf("  resident %ld MiB after %u entries, %ld MiB after %u\n", residentEarly, entries / 10,
                residentLate, entries);
    bool held = growthMiB == 0 ||
                check(residentLate - residentEarly < growthMiB, "memory does not grow with the entries written");

    SharedTypesInterface registry(file);
    auto* adapter = static_cast<SCMVrexDataAdapter*>(registry.getDataAdapter());
    held = check(adapter->getAllChildren(SCM_SHARED_TYPES).size() == entries, "every entry is stored") && held;
    for (unsigned i = 0; i < entries; i += entries / 1000 + 1) {
        SCMSharedTypesIdentity key = typeKey(i);
        std::unique_ptr<SCMData> stored(registry.retrieveData(&key));
        if (!check(stored != nullptr && stored->getName() == typeName(i), "entry " + std::to_string(i))) return false;
    }
    std::unique_ptr<SCMData> last(registry.retrieveDataForName(SCM_SHARED_TYPES, typeName(entries - 1)));
    return check(last != nullptr, "the last entry is found by name") && held;
}

// Runs `part` in a child process on a new registry; true when it held.
bool runPart(const char* title, const std::function<bool(const std::string&)>& part) {
    std::string pattern = (fs::temp_directory_path() / "scm_large_XXXXXX").string();
    const std::string directory = mkdtemp(pattern.data());
    const std::string file = directory + "/registry.scm";
    std::cout << title << std::endl;
    const auto started = Clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        const bool held = part(file);
        std::printf("  peak resident %ld MiB\n", peakResidentMiB());
        std::fflush(stdout);
        _exit(held ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    std::printf("  %.1f s, file %.1f MiB\n", seconds, fs::file_size(file) / double(kMiB));
    fs::remove_all(directory);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    using reliability::optionNumber;
    const auto entries = static_cast<unsigned>(optionNumber(argc, argv, "--entries", 1000000));
    const auto traces = static_cast<unsigned>(optionNumber(argc, argv, "--traces", 100000));
    const auto mebibytes = static_cast<unsigned>(optionNumber(argc, argv, "--definition-mib", 10));
    const auto growth = static_cast<long>(optionNumber(argc, argv, "--growth-mib", 64));
    bool held = runPart("definition text", [&](const std::string& file) {
        return largeDefinition(file, mebibytes);
    });
    held = runPart("traceability entries", [&](const std::string& file) {
        return manyTraces(file, traces);
    }) && held;
    held = runPart("entries in one category", [&](const std::string& file) {
        return millionEntries(file, entries, growth);
    }) && held;
    std::cout << (held ? "large inputs: everything held" : "large inputs: FAILED") << std::endl;
    return held ? 0 : 1;
}
