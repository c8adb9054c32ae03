#include "ProgressBar.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace scm_tool {

namespace {

constexpr std::chrono::milliseconds kFirstDraw(500);
constexpr std::chrono::milliseconds kRedraw(100);
constexpr std::size_t kBarCells = 20;

std::string minutesAndSeconds(double seconds) {
    const auto whole = static_cast<std::uint64_t>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%llu:%02llu", static_cast<unsigned long long>(whole / 60),
                  static_cast<unsigned long long>(whole % 60));
    return text;
}

}  // namespace

ProgressBar::ProgressBar(std::uint64_t totalWork, bool enabled)
    : totalWork_(totalWork),
      enabled_(enabled),
      start_(Clock::now()),
      nextDraw_(start_ + kFirstDraw) {}

void ProgressBar::update(std::uint64_t entries, std::uint64_t workDone) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now < nextDraw_) return;
    nextDraw_ = now + kRedraw;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::fprintf(stderr, "\r%s\033[K", line(entries, workDone, totalWork_, seconds).c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void ProgressBar::finish() {
    if (!drawn_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    drawn_ = false;
}

std::string ProgressBar::line(std::uint64_t entries, std::uint64_t workDone,
                              std::uint64_t totalWork, double seconds) {
    const double rate = seconds > 0 ? static_cast<double>(entries) / seconds : 0;
    const std::string counts = std::to_string(entries) + " entries  " +
                               std::to_string(static_cast<std::uint64_t>(rate)) + "/s";
    if (totalWork == 0) return counts;
    const double share =
        std::min(1.0, static_cast<double>(workDone) / static_cast<double>(totalWork));
    const auto filled = static_cast<std::size_t>(share * kBarCells);
    const double left = share > 0 ? seconds * (1 - share) / share : 0;
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(share * 100));
    return "[" + std::string(filled, '#') + std::string(kBarCells - filled, '.') + "]  " + percent +
           "  " + counts + "  " + minutesAndSeconds(left) + " left";
}

bool progressWanted(bool streamsOutput) {
    return ::isatty(STDERR_FILENO) == 1 && !(streamsOutput && ::isatty(STDOUT_FILENO) == 1);
}

}  // namespace scm_tool
