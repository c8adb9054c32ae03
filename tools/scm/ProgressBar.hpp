#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace scm_tool {

// A one-line progress display on standard error for long runs: entries done, their rate and,
// when the total work is known (the input's bytes, or the entries to read), the share done and
// the time left. Drawn only when
// enabled (the caller enables it when standard error is a terminal), from half a second into the
// run, at most ten times a second; silent otherwise.
class ProgressBar {
public:
    // `totalWork` is all the work in the unit of update's `workDone` (bytes of input, entries),
    // 0 when unknown (standard input).
    ProgressBar(std::uint64_t totalWork, bool enabled);

    // Records the progress and redraws the line when it is time.
    void update(std::uint64_t entries, std::uint64_t workDone);
    // Erases the line if it was drawn.
    void finish();

    // The line for `entries` done and `workDone` of `totalWork` done in `seconds`, without line
    // end: "[#########...........]  45%  4500 entries  9000/s  0:01 left", or without a total
    // "4500 entries  9000/s".
    static std::string line(std::uint64_t entries, std::uint64_t workDone,
                            std::uint64_t totalWork, double seconds);

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t totalWork_;
    bool enabled_;
    bool drawn_ = false;
    Clock::time_point start_;
    Clock::time_point nextDraw_;
};

// Whether a reading command shows progress: standard error is a terminal and, when the command
// `streamsOutput` (a listing, an export), standard output is not one: that output is its own
// progress there.
bool progressWanted(bool streamsOutput);

}  // namespace scm_tool
