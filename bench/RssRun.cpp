#include "RssRun.hpp"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "LibraryEntries.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "tv/TvFeature.hpp"

namespace bench {

namespace {

double peakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in KiB on Linux
}

void removeWithJournal(const std::string& file) {
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file + suffix);
}

}  // namespace

int runPeakMemory(const std::string& workDirectory, std::uint64_t entries, double limitMiB) {
    std::filesystem::create_directories(workDirectory);
    const std::string file = (std::filesystem::path(workDirectory) / "peak-memory.registry").string();
    removeWithJournal(file);
    TvFeature::setValue("UseVrexCache", 1);
    const auto start = std::chrono::steady_clock::now();
    std::uint64_t failed = 0;
    {
        SCM::SharedCodeManagerInterface registry(file);
        for (std::uint64_t i = 0; i < entries; ++i) {
            const auto identity = utilityIdentity(i);
            const auto data = utilityData(i);
            const SCM::SCMRegistry outcome = registry.registerData(identity.get(), data.get());
            failed += outcome != SCM::WILL_BE_REGISTERED && outcome != SCM::IS_REGISTERED;
            if (entries >= 100000 && (i + 1) % 100000 == 0) {
                std::fprintf(stderr, "  cached road: %llu of %llu entries, peak RSS %.1f MiB\n",
                             static_cast<unsigned long long>(i + 1),
                             static_cast<unsigned long long>(entries), peakResidentMiB());
            }
        }
        registry.finalize();
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("registry file: %.1f MiB\n", static_cast<double>(std::filesystem::file_size(file)) / (1024.0 * 1024.0));
    removeWithJournal(file);
    const double peak = peakResidentMiB();
    const bool holds = peak <= limitMiB;
    std::printf("\n| peak RSS, cached road, %llu new entries | %.1f MiB | %.0f entries/s | target <= %.0f MiB | %s |\n",
                static_cast<unsigned long long>(entries), peak, entries / seconds, limitMiB,
                holds ? "holds" : "MISSED");
    if (failed != 0) {
        std::printf("%llu registrations failed\n", static_cast<unsigned long long>(failed));
        return kPeakRunFailed;
    }
    return holds ? 0 : kPeakTargetMissed;
}

}  // namespace bench
