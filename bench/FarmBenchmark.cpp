// scm_farm_bench: registrations per second from several processes registering into one registry
// at once, as the agents of a build farm do. Each process opens the registry (a file or a
// postgresql:// URI), registers its entries on the direct road (one transaction each) or the
// cached road (batches, then finalize), and exits; the figure is all entries over the wall time.
//
//   scm_farm_bench REGISTRY --processes=4 --entries=5000 --road=direct|cached [--shared]
//
// Without --shared each process registers entries of its own (every one new); with --shared all
// register the same entries, so that all but the first registration of each merge.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "LibraryEntries.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "tv/TvFeature.hpp"

namespace {

struct FarmOptions {
    std::string registry;
    int processes = 1;
    std::uint64_t entries = 5000;
    bool cached = false;
    bool shared = false;
};

bool parse(int argc, char** argv, FarmOptions& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        auto valueOf = [&](const char* prefix) { return argument.substr(std::strlen(prefix)); };
        if (argument.rfind("--processes=", 0) == 0) {
            options.processes = std::atoi(valueOf("--processes=").c_str());
        } else if (argument.rfind("--entries=", 0) == 0) {
            options.entries = std::strtoull(valueOf("--entries=").c_str(), nullptr, 10);
        } else if (argument == "--road=cached" || argument == "--road=direct") {
            options.cached = argument == "--road=cached";
        } else if (argument == "--shared") {
            options.shared = true;
        } else if (argument.rfind("--", 0) != 0 && options.registry.empty()) {
            options.registry = argument;
        } else {
            return false;
        }
    }
    return !options.registry.empty() && options.processes > 0 && options.entries > 0;
}

// One agent's run; the number of registrations that did not answer as expected.
std::uint64_t registerAsAgent(const FarmOptions& options, int agent) {
    TvFeature::setValue("UseVrexCache", options.cached ? 1 : 0);
    SCM::SharedCodeManagerInterface registry(options.registry);
    const std::uint64_t first = options.shared ? 0 : static_cast<std::uint64_t>(agent) * options.entries;
    std::uint64_t unexpected = 0;
    for (std::uint64_t i = first; i < first + options.entries; ++i) {
        const auto identity = bench::utilityIdentity(i);
        const auto data = bench::utilityData(i);
        const SCM::SCMRegistry outcome = options.cached
                                             ? registry.registerData(identity.get(), data.get())
                                             : registry.registerDataInTransaction(identity.get(), data.get());
        unexpected += outcome != SCM::IS_REGISTERED && outcome != SCM::WILL_BE_REGISTERED &&
                      outcome != SCM::IS_PRESENT_UPDATE;
    }
    if (options.cached && registry.finalize() != SCM::IS_REGISTERED) ++unexpected;
    return unexpected;
}

}  // namespace

int main(int argc, char** argv) {
    FarmOptions options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: scm_farm_bench REGISTRY [--processes=P] [--entries=N] [--road=direct|cached] [--shared]\n");
        return 2;
    }
    {
        // Made (or brought up to date) once, before the agents start.
        SCM::SharedCodeManagerInterface registry(options.registry);
    }
    const auto start = std::chrono::steady_clock::now();
    for (int agent = 0; agent < options.processes; ++agent) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(registerAsAgent(options, agent) == 0 ? 0 : 1);
        if (child < 0) {
            std::perror("fork");
            return 2;
        }
    }
    int failedAgents = 0;
    for (int status = 0; ::wait(&status) > 0;) {
        failedAgents += !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double total = static_cast<double>(options.entries) * options.processes;
    std::printf("%s road, %d process%s, %llu entries each%s: %.2f s, %.0f entries/s%s\n",
                options.cached ? "cached" : "direct", options.processes, options.processes == 1 ? "" : "es",
                static_cast<unsigned long long>(options.entries), options.shared ? " (shared keys)" : "",
                seconds, total / seconds, failedAgents == 0 ? "" : " (AGENTS FAILED)");
    return failedAgents == 0 ? 0 : 1;
}
