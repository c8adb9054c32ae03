// Crashes: a child process registers in a loop and is killed with SIGKILL at a random moment,
// many times over. The child reports each registration to the parent through a pipe as soon as
// it returns. After each kill the registry must open, pass the integrity check, and hold every
// acknowledged direct-road registration with its merged content; of the registration that was
// running at the kill, all or nothing. Cached registrations count only once a batch write has
// returned (the 51st entry); a batch is written whole or not at all. Every fourth round starts on
// a new registry, so that some children are killed while they make it.
//
//   crash_registry [--kills K] [--seed S]
//
// The seed decides the delays before the kills; a failure prints it. Exit status 0 when
// everything held; the findings on stdout.
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <random>

#include "reliability/Workload.hpp"
#include "support/TempDir.hpp"

namespace {

using namespace SCM;
using namespace reliability;
using Clock = std::chrono::steady_clock;

constexpr unsigned kSharedKeys = 120;           // shared by the direct registrations of every round
constexpr unsigned kMaxStepsPerRound = 200000;  // a child that is never killed stops here
constexpr unsigned kCacheBatch = 51;            // the add that writes the write cache

// Step s of round r: every fourth step takes the cached road with a key of its own; the others
// register one of the shared keys directly, so their records grow round after round.
struct Step {
    unsigned key;
    bool direct;
    std::string contributor;
};

Step stepOf(unsigned round, unsigned step) {
    const std::string contributor = "r" + std::to_string(round) + "s" + std::to_string(step);
    if (step % 4 == 3) return {kSharedKeys + round * kMaxStepsPerRound + step, false, contributor};
    return {(round * 37 + step) % kSharedKeys, true, contributor};
}

// Registers step after step, writing "step << 8 | outcome" to `reports` after each.
[[noreturn]] void runChild(const std::string& file, unsigned round, int reports) {
    SharedCodeManagerInterface registry(file);
    if (!registry.getDataAdapter()->doesExist()) _exit(3);
    for (unsigned step = 0; step < kMaxStepsPerRound; ++step) {
        const Step planned = stepOf(round, step);
        Contribution entry = contribution(planned.key, planned.contributor);
        const SCMRegistry outcome =
            planned.direct ? registry.registerDataInTransaction(entry.identity.get(), entry.data.get())
                           : registry.registerData(entry.identity.get(), entry.data.get());
        const std::uint32_t report = step << 8 | unsigned(outcome);
        if (write(reports, &report, sizeof report) != sizeof report) _exit(4);
    }
    _exit(0);  // skips the destructor: the cache is left unwritten, as at a kill
}

// What the parent knows the registry must hold.
class Expectation {
public:
    // Takes one report of round `round`; false when the registration failed.
    bool acknowledge(unsigned round, std::uint32_t report) {
        const auto outcome = static_cast<SCMRegistry>(report & 0xff);
        const Step planned = stepOf(round, report >> 8);
        nextStep_ = (report >> 8) + 1;
        if (!planned.direct) pendingBatch_.push_back(planned);
        // A cached registration is written with its batch, by the one that answers IS_REGISTERED.
        const bool written = outcome == IS_REGISTERED || (planned.direct && outcome == IS_PRESENT_UPDATE);
        if (!written) return !planned.direct && outcome == WILL_BE_REGISTERED;
        for (const Step& step : planned.direct ? std::vector<Step>{planned} : pendingBatch_) {
            merge(records_, step.key, step.contributor);
        }
        if (!planned.direct) pendingBatch_.clear();
        return true;
    }

    // Compares the registry with what was acknowledged, allowing the registration that was
    // running at the kill (a direct one, or the cached one that writes a batch) to have happened
    // whole. Prints and counts what differs.
    unsigned verify(unsigned round, const RegistryContents& contents) {
        const Step running = stepOf(round, nextStep_);
        std::vector<Step> steps = running.direct ? std::vector<Step>() : pendingBatch_;
        steps.push_back(running);
        pendingBatch_.clear();  // lost with the process: the documented exception
        nextStep_ = 0;
        if (running.direct || steps.size() == kCacheBatch) {
            ExpectedRecords written;
            for (const auto& [key, record] : records_) written[key].reset(record->clone());
            for (const Step& step : steps) merge(written, step.key, step.contributor);
            if (compareRecords(contents, written, nullptr) == 0) records_ = std::move(written);
        }
        return compareRecords(contents, records_, ("round " + std::to_string(round) + ": ").c_str());
    }

private:
    ExpectedRecords records_;
    std::vector<Step> pendingBatch_;  // cached steps of this round not yet written
    unsigned nextStep_ = 0;
};

// Reads reports until `deadline` (or the end of the pipe); false when one shows a failure.
bool collectReports(int reports, unsigned round, Expectation& expectation, Clock::time_point deadline) {
    bool ok = true;
    std::uint32_t report = 0;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd ready{reports, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(std::max<long>(left.count(), 0))) <= 0) return ok;
        if (read(reports, &report, sizeof report) != sizeof report) return ok;
        ok = expectation.acknowledge(round, report) && ok;
    }
}

// One round: a child registering, killed after `delay`. False when a report showed a failure.
bool runRound(const std::string& file, unsigned round, std::chrono::microseconds delay, Expectation& expectation,
              unsigned& kills) {
    int reports[2];
    if (pipe(reports) != 0) return false;
    const pid_t child = fork();
    if (child == 0) {
        close(reports[0]);
        runChild(file, round, reports[1]);
    }
    close(reports[1]);
    bool ok = collectReports(reports[0], round, expectation, Clock::now() + delay);
    int status = 0;
    if (child > 0 && kill(child, SIGKILL) == 0 && waitpid(child, &status, 0) == child) {
        kills += WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }
    // What the child wrote before it died is still in the pipe.
    ok = collectReports(reports[0], round, expectation, Clock::now()) && ok;
    close(reports[0]);
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    const scm_test::TempDir directory;
    const std::string file = directory.file("registry.scm");
    const unsigned wanted = optionNumber(argc, argv, "--kills", 12);
    const unsigned seed = optionNumber(argc, argv, "--seed", std::random_device{}());
    std::mt19937 random(seed);
    std::uniform_int_distribution<unsigned> delay(0, 40000);  // microseconds after the fork
    Expectation expectation;
    unsigned kills = 0, failures = 0;
    for (unsigned round = 0; kills < wanted && round < 2 * wanted + 10; ++round) {
        // Every fourth round starts on a new registry and kills sooner, often while it is made.
        const bool fresh = round % 4 == 0;
        if (fresh) {
            for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file + suffix);
            expectation = Expectation();
        }
        const std::chrono::microseconds wait(delay(random) / (fresh ? 4 : 1));
        failures += !runRound(file, round, wait, expectation, kills);
        // It opens through the facade (which makes it when the kill came first) and checks sound.
        failures += !SharedCodeManagerInterface(file).getDataAdapter()->doesExist();
        failures += expectation.verify(round, checkRegistry(file));
    }
    const bool held = failures == 0 && kills >= wanted;
    std::cout << "crash: " << kills << " kills, seed " << seed << ": "
              << (held ? "everything held" : "FAILED") << std::endl;
    return held ? 0 : 1;
}
