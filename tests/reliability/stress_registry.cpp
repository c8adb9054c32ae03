// Concurrent writers: P processes register the same N keys into one new registry at once, each
// starting elsewhere, on both roads. Every registration must be acknowledged, and
// afterwards the registry must be sound and hold, for every key, exactly the merge of what the
// processes registered.
//
//   stress_registry [--processes P] [--entries N]
//
// The registry is a new one made by scm_test::TestRegistry: a file,
// or a PostgreSQL database when SCM_TEST_REGISTRY_DRIVER says so. Exit status 0 when everything
// held, 77 when the PostgreSQL variant has no server installed; the findings on stdout.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
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
    std::string registry;

    // The key of registration `step` of `process`: each process starts elsewhere.
    unsigned keyOf(unsigned process, unsigned step) const { return (step + process * entries / processes) % entries; }
};

// The roads alternate, so that every key is registered on both roads by different processes.
bool direct(unsigned process, unsigned key) { return (key + process) % 2 == 0; }

std::string contributorOf(unsigned process) { return "p" + std::to_string(process); }

// A writer process: waits for the start signal, registers, finalizes; exits 0 when every
// registration was acknowledged.
int runWriter(const Plan& plan, unsigned process, int startSignal) {
    char go = 0;
    if (read(startSignal, &go, 1) != 1) return 2;
    SharedCodeManagerInterface registry(plan.registry);
    if (!registry.getDataAdapter()->doesExist()) return 3;
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
    if (refused > 0) std::cout << "writer " << process << ": " << refused << " registrations refused" << std::endl;
    return refused == 0 ? 0 : 1;
}

// Starts the writers together; true when every one exited with status 0.
bool runWriters(const Plan& plan) {
    int start[2];
    if (pipe(start) != 0) return false;
    for (unsigned process = 0; process < plan.processes; ++process) {
        if (fork() == 0) {
            close(start[1]);
            _exit(runWriter(plan, process, start[0]));
        }
    }
    close(start[0]);
    const std::string go(plan.processes, 'g');
    bool allHeld = write(start[1], go.data(), go.size()) == static_cast<ssize_t>(go.size());
    close(start[1]);
    for (int status = 0; wait(&status) > 0;) allHeld = allHeld && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return allHeld;
}

}  // namespace

int main(int argc, char** argv) {
    if (std::optional<std::string> reason = scm_test::postgresUnavailableReason()) {
        std::cout << *reason << std::endl;
        return scm_test::kSkippedExitCode;
    }
    scm_test::TestRegistry made;
    const Plan plan{optionNumber(argc, argv, "--processes", 4), optionNumber(argc, argv, "--entries", 1000),
                    made.location()};

    const auto started = std::chrono::steady_clock::now();
    const bool writersHeld = runWriters(plan);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    ExpectedRecords expected;
    for (unsigned process = 0; process < plan.processes; ++process) {
        for (unsigned key = 0; key < plan.entries; ++key) merge(expected, key, contributorOf(process));
    }
    const unsigned mismatches = compareRecords(checkRegistry(plan.registry), expected, "");
    std::cout << "stress: " << plan.processes * plan.entries << " registrations in " << seconds << " s, "
              << expected.size() << " keys, " << mismatches << " differences" << std::endl;
    const bool held = writersHeld && mismatches == 0;
    std::cout << (held ? "stress: everything held" : "stress: FAILED") << std::endl;
    return held ? 0 : 1;
}
