// Crashes: a child process registers in a loop and is killed with SIGKILL at a random moment,
// many times over. The child reports each registration to the parent through a pipe as soon as
// it returns. After each kill the registry must open, pass the integrity check, and hold every
// acknowledged direct-road registration with its merged content; of the registration that was
// running at the kill, all or nothing. Cached registrations count only once a batch write has
// returned (the 51st entry); a batch is written whole or not at all. Before that, children are
// killed while they make the registry file, which must then open all the same.
//
//   crash_registry [--kills K] [--seed S] [--keys M] [--file PATH]
//
// The seed decides the delays before the kills; a failure prints it. Exit status 0 when
// everything held; the findings on stdout.
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <random>

#include "reliability/Workload.hpp"
#include "support/TempDir.hpp"

namespace {

using namespace SCM;
using namespace reliability;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned kMaxStepsPerRound = 200000;  // a child that is never killed stops here
constexpr unsigned kCacheBatch = 51;            // the add that writes the write cache

struct Settings {
    unsigned kills;
    unsigned seed;
    unsigned keys;  // keys shared by the direct registrations of every round
    std::string file;
};

// Step s of round r: every fourth step takes the cached road with a key of its own; the others
// register one of the shared keys directly, so their records grow round after round.
struct Step {
    unsigned key;
    bool direct;
    std::string contributor;
};

Step stepOf(const Settings& settings, unsigned round, unsigned step) {
    const std::string contributor = "r" + std::to_string(round) + "s" + std::to_string(step);
    if (step % 4 == 3) return {settings.keys + round * kMaxStepsPerRound + step, false, contributor};
    return {(round * 37 + step) % settings.keys, true, contributor};
}

// One report from the child: the step and its outcome.
std::uint32_t encodeReport(unsigned step, SCMRegistry outcome) { return step << 8 | unsigned(outcome); }

[[noreturn]] void runChild(const Settings& settings, unsigned round, int reports) {
    SharedCodeManagerInterface registry(settings.file);
    if (!registry.getDataAdapter()->doesExist()) _exit(3);
    for (unsigned step = 0; step < kMaxStepsPerRound; ++step) {
        const Step planned = stepOf(settings, round, step);
        Contribution entry = contribution(planned.key, planned.contributor);
        const SCMRegistry outcome =
            planned.direct ? registry.registerDataInTransaction(entry.identity.get(), entry.data.get())
                           : registry.registerData(entry.identity.get(), entry.data.get());
        const std::uint32_t report = encodeReport(step, outcome);
        if (write(reports, &report, sizeof report) != sizeof report) _exit(4);
    }
    _exit(0);  // skips the destructor: the cache is left unwritten, as at a kill
}

// What the parent knows the registry must hold.
class Expectation {
public:
    explicit Expectation(const Settings& settings) : settings_(settings) {}

    // Takes one report of round `round`; false when the registration failed.
    bool acknowledge(unsigned round, std::uint32_t report) {
        const unsigned step = report >> 8;
        const auto outcome = static_cast<SCMRegistry>(report & 0xff);
        const Step planned = stepOf(settings_, round, step);
        nextStep_ = step + 1;
        if (planned.direct) {
            if (outcome != IS_REGISTERED && outcome != IS_PRESENT_UPDATE) return false;
            merge(planned);
            return true;
        }
        pendingBatch_.push_back(planned);
        if (outcome == IS_REGISTERED) {  // the batch was written
            for (const Step& cached : pendingBatch_) merge(cached);
            pendingBatch_.clear();
            return true;
        }
        return outcome == WILL_BE_REGISTERED;
    }

    // Compares the registry with what was acknowledged, allowing the registration that was
    // running at the kill to have happened whole. Prints and counts what differs.
    unsigned verify(unsigned round, const RegistryContents& contents) {
        const Step running = stepOf(settings_, round, nextStep_);
        if (running.direct) {
            adoptIfWritten(contents, {running});
        } else if (pendingBatch_.size() + 1 == kCacheBatch) {
            std::vector<Step> batch = pendingBatch_;
            batch.push_back(running);
            adoptIfWritten(contents, batch);
        }
        pendingBatch_.clear();  // lost with the process: the documented exception
        nextStep_ = 0;
        return compareRecords(contents, records_, "round " + std::to_string(round) + ": ");
    }

    std::size_t keys() const { return records_.size(); }
    unsigned runningWritten() const { return runningWritten_; }

private:
    void merge(const Step& step) {
        Contribution entry = contribution(step.key, step.contributor);
        auto& record = records_[step.key];
        if (record == nullptr) {
            record = std::move(entry.data);
        } else {
            record->update(entry.data.get());
        }
    }

    // Takes `steps` into the expectation when the registry shows the first of them written.
    void adoptIfWritten(const RegistryContents& contents, const std::vector<Step>& steps) {
        Contribution probe = contribution(steps.front().key, steps.front().contributor);
        const SCMData* stored = contents.find(*probe.identity);
        if (stored == nullptr) return;
        auto found = records_.find(steps.front().key);
        std::unique_ptr<SCMData> merged(found == records_.end() ? probe.data->clone() : found->second->clone());
        if (found != records_.end()) merged->update(probe.data.get());
        const std::string written = canonical(*merged);
        if (canonical(*stored) != written) return;
        // A merge that changes nothing cannot tell whether it was written.
        if (found == records_.end() || canonical(*found->second) != written) ++runningWritten_;
        for (const Step& step : steps) merge(step);
    }

    const Settings& settings_;
    ExpectedRecords records_;
    std::vector<Step> pendingBatch_;  // cached steps of this round not yet written
    unsigned nextStep_ = 0;
    unsigned runningWritten_ = 0;  // kills after a registration was written but not yet reported
};

// Reads reports until `deadline` (or the end of the pipe); false when one shows a failure.
bool collectReports(int reports, unsigned round, Expectation& expectation, Clock::time_point deadline,
                    unsigned& count) {
    bool ok = true;
    std::uint32_t report = 0;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd ready{reports, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(std::max<long>(left.count(), 0))) <= 0) return ok;
        if (read(reports, &report, sizeof report) != sizeof report) return ok;
        ok = expectation.acknowledge(round, report) && ok;
        ++count;
    }
}

struct RoundResult {
    bool killed = false;
    bool ok = true;
    unsigned reports = 0;
};

RoundResult runRound(const Settings& settings, unsigned round, unsigned delayMicroseconds,
                     Expectation& expectation) {
    RoundResult result;
    int reports[2];
    if (pipe(reports) != 0) return {false, false, 0};
    const pid_t child = fork();
    if (child == 0) {
        close(reports[0]);
        runChild(settings, round, reports[1]);
    }
    close(reports[1]);
    const auto deadline = Clock::now() + std::chrono::microseconds(delayMicroseconds);
    result.ok = collectReports(reports[0], round, expectation, deadline, result.reports);
    result.killed = child > 0 && kill(child, SIGKILL) == 0;
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    result.killed = result.killed && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    // What the child wrote before it died is still in the pipe.
    result.ok = collectReports(reports[0], round, expectation, Clock::now(), result.reports) && result.ok;
    close(reports[0]);
    return result;
}

// Kills a child while it makes a new registry, `rounds` times: each time the registry that was
// cut short must open and check sound. The number of failures.
unsigned killWhileCreating(const std::string& file, unsigned rounds, std::mt19937& random) {
    std::uniform_int_distribution<unsigned> delay(0, 10000);  // microseconds: making takes a few ms
    unsigned failures = 0, killed = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file + suffix);
        const pid_t child = fork();
        if (child == 0) {
            { SharedCodeManagerInterface registry(file); }
            _exit(0);
        }
        usleep(delay(random));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        killed += WIFSIGNALED(status);
        const bool opens = SharedCodeManagerInterface(file).getDataAdapter()->doesExist();
        const RegistryContents contents = checkRegistry(file);
        if (!opens || !contents.sound()) {
            std::cout << "creation round " << round << ": the registry cut short does not open sound"
                      << (opens ? "" : " (the facade cannot open it)") << '\n';
            for (const std::string& problem : contents.problems) std::cout << "  " << problem << '\n';
            ++failures;
        }
    }
    std::printf("kills while making a new registry: %u of %u rounds\n", killed, rounds);
    return failures;
}

}  // namespace

int main(int argc, char** argv) {
    const scm_test::TempDir directory;
    Settings settings{optionNumber(argc, argv, "--kills", 12), optionNumber(argc, argv, "--seed", std::random_device{}()),
                      optionNumber(argc, argv, "--keys", 120),
                      optionText(argc, argv, "--file", directory.file("registry.scm"))};
    std::cout << "crash: " << settings.kills << " kills, seed " << settings.seed << ", " << settings.file
              << std::endl;
    std::mt19937 random(settings.seed);
    unsigned failures = killWhileCreating(settings.file, settings.kills / 4 + 1, random);

    std::uniform_int_distribution<unsigned> delay(0, 40000);  // microseconds after the fork
    Expectation expectation(settings);
    unsigned kills = 0, reports = 0, earlyKills = 0;
    const auto started = Clock::now();
    for (unsigned round = 0; kills < settings.kills && round < 2 * settings.kills + 10; ++round) {
        const RoundResult result = runRound(settings, round, delay(random), expectation);
        kills += result.killed;
        reports += result.reports;
        earlyKills += result.killed && result.reports == 0;
        if (!result.ok) ++failures;
        if (!SharedCodeManagerInterface(settings.file).getDataAdapter()->doesExist()) {
            std::cout << "round " << round << ": the registry does not open\n";
            ++failures;
            break;
        }
        const RegistryContents contents = checkRegistry(settings.file);
        for (const std::string& problem : contents.problems) {
            std::cout << "round " << round << ": " << problem << '\n';
        }
        failures += !contents.sound() + expectation.verify(round, contents);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    std::printf("kills %u (%u before the first registration returned) in %.1f s; reports %u; keys %zu; "
                "kills between a write and its report %u\n",
                kills, earlyKills, seconds, reports, expectation.keys(), expectation.runningWritten());
    const bool held = failures == 0 && kills >= settings.kills;
    std::cout << (held ? "crash: everything held" : "crash: FAILED with --seed " + std::to_string(settings.seed))
              << std::endl;
    return held ? 0 : 1;
}
