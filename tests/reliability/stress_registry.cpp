// Concurrent writers: P processes register the same N keys into one new registry at once, each
// starting elsewhere, on both roads (or, with --own-keys, N keys of their own each). Every
// registration must be acknowledged, and afterwards the registry must be sound and hold, for
// every key, exactly the merge of what the processes registered: no duplicate, no lost
// contribution, no refusal.
//
//   stress_registry [--processes P] [--entries N] [--own-keys]
//
// The registry is a new one made by scm_test::TestRegistry: a file,
// or a PostgreSQL database when SCM_TEST_REGISTRY_DRIVER says so. Exit status 0 when everything
// held, 77 when the PostgreSQL variant has no server installed; the findings on stdout.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iostream>
#include <optional>

#include "reliability/Workload.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace SCM;
using namespace reliability;

struct Plan {
    unsigned processes;
    unsigned entries;  // keys, registered by every process
    bool ownKeys;      // each process registers keys of its own
    std::string registry;

    // The key of registration `step` of `process`: each process starts elsewhere, or in its own range.
    unsigned keyOf(unsigned process, unsigned step) const {
        return ownKeys ? process * entries + step : (step + process * entries / processes) % entries;
    }
};

// The roads alternate, so that every key is registered on both roads by different processes.
bool direct(unsigned process, unsigned key) { return (key + process) % 2 == 0; }

std::string contributorOf(unsigned process) { return "p" + std::to_string(process); }

// A writer process: waits for the start signal, registers, finalizes; exits with the number of
// registrations refused (at most 100), 0 when every one was acknowledged.
int runWriter(const Plan& plan, unsigned process, int startSignal) {
    char go = 0;
    if (read(startSignal, &go, 1) != 1) return 101;
    SharedCodeManagerInterface registry(plan.registry);
    if (!registry.getDataAdapter()->doesExist()) return 102;
    unsigned refused = 0;
    for (unsigned step = 0; step < plan.entries; ++step) {
        const unsigned key = plan.keyOf(process, step);
        Contribution entry = contribution(key, contributorOf(process));
        const bool now = direct(process, key);
        const SCMRegistry outcome = now ? registry.registerDataInTransaction(entry.identity.get(), entry.data.get())
                                        : registry.registerData(entry.identity.get(), entry.data.get());
        // A cached one is written by finalize.
        refused += outcome != IS_REGISTERED && outcome != (now ? IS_PRESENT_UPDATE : WILL_BE_REGISTERED);
    }
    registry.finalize();
    refused += registry.getDataAdapter()->countBatchFailures();
    if (refused > 0) std::cout << "writer " << process << ": " << refused << " registrations refused" << std::endl;
    return static_cast<int>(std::min(refused, 100u));
}

// Starts the writers together; the registrations they refused (a writer that failed otherwise
// counts 100 or more).
unsigned runWriters(const Plan& plan) {
    int start[2];
    if (pipe(start) != 0) return 100;
    for (unsigned process = 0; process < plan.processes; ++process) {
        if (fork() == 0) {
            close(start[1]);
            _exit(runWriter(plan, process, start[0]));
        }
    }
    close(start[0]);
    const std::string go(plan.processes, 'g');
    unsigned refused = write(start[1], go.data(), go.size()) == static_cast<ssize_t>(go.size()) ? 0 : 100;
    close(start[1]);
    for (int status = 0; wait(&status) > 0;) refused += WIFEXITED(status) ? WEXITSTATUS(status) : 100;
    return refused;
}


}  // namespace

int main(int argc, char** argv) {
    if (std::optional<std::string> reason = scm_test::postgresUnavailableReason()) {
        std::cout << *reason << std::endl;
        return scm_test::kSkippedExitCode;
    }
    scm_test::TestRegistry made;
    const Plan plan{optionNumber(argc, argv, "--processes", 4), optionNumber(argc, argv, "--entries", 1000),
                    std::any_of(argv + 1, argv + argc, [](const char* a) { return std::strcmp(a, "--own-keys") == 0; }),
                    made.location()};

    const auto started = std::chrono::steady_clock::now();
    const unsigned refused = runWriters(plan);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    ExpectedRecords expected;
    for (unsigned process = 0; process < plan.processes; ++process) {
        for (unsigned step = 0; step < plan.entries; ++step) {
            merge(expected, plan.keyOf(process, step), contributorOf(process));
        }
    }
    const RegistryContents contents = checkRegistry(plan.registry);
    const unsigned mismatches = compareRecords(contents, expected, "");
    std::cout << "stress: " << plan.processes << " writers, " << (plan.ownKeys ? "own" : "shared") << " keys: "
              << plan.processes * plan.entries << " registrations in " << seconds << " s, " << expected.size()
              << " keys, " << contents.objects - contents.records.size() << " duplicates, " << mismatches
              << " differences, " << refused << " refused" << std::endl;
    const bool held = refused == 0 && mismatches == 0;
    std::cout << (held ? "stress: everything held" : "stress: FAILED") << std::endl;
    return held ? 0 : 1;
}
