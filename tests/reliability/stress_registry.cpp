// Concurrent writers: P processes register into one new registry at once, every category, on both
// roads, half of each process's keys shared with all the others. Afterwards the registry must be
// sound and hold, for every key, exactly the merge of what the processes acknowledged.
//
//   stress_registry [--processes P] [--entries N] [--registry PATH|URI]
//
// N registrations per process. Without --registry the registry is a new one made by
// scm_test::TestRegistry: a file, or a PostgreSQL database when SCM_TEST_REGISTRY_DRIVER says so.
// Exit status 0 when everything held, 77 when the PostgreSQL variant has no server installed;
// the findings on stdout.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "reliability/Workload.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TempDir.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace SCM;
using namespace reliability;

struct Plan {
    unsigned processes;
    unsigned entries;  // registrations per process
    std::string registry;  // path or URI
    std::string outcomes;  // the directory of the processes' outcome files

    unsigned sharedKeys() const { return entries / 2; }
    unsigned privateKeys() const { return entries - sharedKeys(); }
};

// Registration `slot` of process `process`: its key and whether it takes the direct road.
// Even slots register shared keys, odd slots the process's own; the roads alternate so that
// every key is registered on both roads by different processes.
struct Registration {
    unsigned key;
    bool direct;
};

Registration registrationOf(const Plan& plan, unsigned process, unsigned slot) {
    const unsigned half = slot / 2;
    const unsigned key = slot % 2 == 0 ? half : plan.sharedKeys() + process * plan.privateKeys() + half;
    return {key, (half + process) % 2 == 0};
}

// The order in which a process walks its slots: each process starts elsewhere.
unsigned slotAt(const Plan& plan, unsigned process, unsigned step) {
    return (step + process * (plan.entries / plan.processes)) % plan.entries;
}

std::string contributorOf(unsigned process) { return "p" + std::to_string(process); }

std::string outcomeFile(const Plan& plan, unsigned process) {
    return plan.outcomes + "/outcomes." + std::to_string(process);
}

bool acknowledged(SCMRegistry outcome, bool direct) {
    if (direct) return outcome == IS_REGISTERED || outcome == IS_PRESENT_UPDATE;
    return outcome == WILL_BE_REGISTERED || outcome == IS_REGISTERED;  // written by finalize
}

// A writer process: waits for the start signal, registers, finalizes, and leaves one outcome
// byte per slot in its outcome file.
int runWriter(const Plan& plan, unsigned process, int startSignal) {
    char go = 0;
    if (read(startSignal, &go, 1) != 1) return 2;
    SharedCodeManagerInterface registry(plan.registry);
    if (!registry.getDataAdapter()->doesExist()) return 3;
    std::string outcomes(plan.entries, static_cast<char>(IS_EMPTY));
    for (unsigned step = 0; step < plan.entries; ++step) {
        const unsigned slot = slotAt(plan, process, step);
        const Registration registration = registrationOf(plan, process, slot);
        Contribution entry = contribution(registration.key, contributorOf(process));
        const SCMRegistry outcome =
            registration.direct ? registry.registerDataInTransaction(entry.identity.get(), entry.data.get())
                                : registry.registerData(entry.identity.get(), entry.data.get());
        outcomes[slot] = static_cast<char>(outcome);
    }
    registry.finalize();
    std::ofstream(outcomeFile(plan, process), std::ios::binary) << outcomes;
    return 0;
}

// Starts the writers together; true when every one exited with status 0.
bool runWriters(const Plan& plan) {
    int start[2];
    if (pipe(start) != 0) return false;
    std::vector<pid_t> writers;
    for (unsigned process = 0; process < plan.processes; ++process) {
        const pid_t pid = fork();
        if (pid == 0) {
            close(start[1]);
            _exit(runWriter(plan, process, start[0]));
        }
        if (pid > 0) writers.push_back(pid);
    }
    close(start[0]);
    const std::string go(plan.processes, 'g');
    const bool started = write(start[1], go.data(), go.size()) == static_cast<ssize_t>(go.size());
    close(start[1]);
    bool allExited = started && writers.size() == plan.processes;
    for (pid_t pid : writers) {
        int status = 0;
        waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            std::cout << "writer " << pid << " failed: status " << status << '\n';
            allExited = false;
        }
    }
    return allExited;
}

// The merge of what the processes acknowledged for each key, read from their outcome files;
// counts the refused registrations.
ExpectedRecords acknowledgedRecords(const Plan& plan, unsigned& refused) {
    ExpectedRecords expected;
    refused = 0;
    for (unsigned process = 0; process < plan.processes; ++process) {
        std::ifstream in(outcomeFile(plan, process), std::ios::binary);
        const std::string outcomes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (unsigned slot = 0; slot < plan.entries; ++slot) {
            const Registration registration = registrationOf(plan, process, slot);
            const auto outcome = slot < outcomes.size() ? static_cast<SCMRegistry>(outcomes[slot]) : IS_EMPTY;
            if (!acknowledged(outcome, registration.direct)) {
                ++refused;
                continue;
            }
            Contribution entry = contribution(registration.key, contributorOf(process));
            auto& record = expected[registration.key];
            if (record == nullptr) {
                record = std::move(entry.data);
            } else {
                record->update(entry.data.get());
            }
        }
    }
    return expected;
}

}  // namespace

int main(int argc, char** argv) {
    if (std::optional<std::string> reason = scm_test::postgresUnavailableReason()) {
        std::cout << *reason << std::endl;
        return scm_test::kSkippedExitCode;
    }
    const scm_test::TempDir work;
    Plan plan{optionNumber(argc, argv, "--processes", 4), optionNumber(argc, argv, "--entries", 1000),
              optionText(argc, argv, "--registry", ""), work.path().string()};
    if (plan.processes == 0 || plan.entries < 2) return 2;
    std::unique_ptr<scm_test::TestRegistry> made;  // the new registry, unless one was given
    if (plan.registry.empty()) {
        made = std::make_unique<scm_test::TestRegistry>(work.file("registry.scm"));
        plan.registry = made->location();
    }
    std::cout << "stress: " << plan.processes << " processes x " << plan.entries << " registrations into "
              << (scm_test::postgresqlSelected() ? "a PostgreSQL database" : plan.registry) << std::endl;

    const auto started = std::chrono::steady_clock::now();
    const bool writersOk = runWriters(plan);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    unsigned refused = 0;
    const ExpectedRecords expected = acknowledgedRecords(plan, refused);
    const RegistryContents contents = checkRegistry(plan.registry);
    for (const std::string& problem : contents.problems) std::cout << "check: " << problem << '\n';
    const unsigned mismatches = compareRecords(contents, expected, "");

    const unsigned registrations = plan.processes * plan.entries;
    std::printf("registrations %u in %.2f s (%.0f per second), refused %u\n", registrations, seconds,
                registrations / seconds, refused);
    std::printf("keys %zu, records that differ from the merge of their contributions %u\n",
                expected.size(), mismatches);
    const bool held = writersOk && refused == 0 && contents.sound() && mismatches == 0;
    std::cout << (held ? "stress: everything held" : "stress: FAILED") << std::endl;
    return held ? 0 : 1;
}
