#pragma once

#include <cstdio>
#include <string>

namespace vrex::internal {

// "5.0": milliseconds as seconds with one decimal, for messages.
inline std::string secondsText(int milliseconds) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f", milliseconds / 1000.0);
    return seconds;
}

// The reason given when another process held the registry's lock for the whole busy timeout:
// `the registry "<location>" is locked by another process; waited 5.0 s (SCM_BUSY_TIMEOUT_MS)`.
inline std::string lockedRegistryReason(const std::string& location, int waitedMs) {
    return "the registry \"" + location + "\" is locked by another process; waited " + secondsText(waitedMs) +
           " s (SCM_BUSY_TIMEOUT_MS)";
}

}  // namespace vrex::internal
