#pragma once

#include <cstdint>

#include "SCMExport.hpp"

// The module entry points through which a host loads the library: unmangled names, looked up by
// the host's module loader.
extern "C" {

// The host's function table of this module. The library exports no callable functions through it
// (entryCount is 0); it carries two numbers fixed when the library was configured for building.
struct HxFcnTable {
    const void* const* entries;  // none
    std::uint32_t entryCount;    // 0
    std::uint32_t buildTime;     // Unix time of the build (SOURCE_DATE_EPOCH when set)
    std::uint32_t version;       // library version, 0x00MMmmpp (major, minor, patch)
};

// The module's build-date and version texts, for the host's module loader.
struct HxModuleBuildInfo {
    const char* buildDate;  // "YYYY-MM-DD hh:mm:ss UTC"
    const char* version;    // "major.minor.patch"
};

// Registers the scripting package "SharedCodeManager" with the class system, whose classes are
// then published when scripts first use them. Acts on the first call only.
SCM_EXPORT void HxInitialize_shared_code_manager();
// Releases the package for the class system's public client. Acts on the first call only: after
// it, the package cannot be registered again in this process.
SCM_EXPORT void HxTerminate_shared_code_manager();
// Ends the waits of calls into the library (for another process's lock on a registry, for a
// database server's answer): they fail early with their usual errors, and waits that begin later
// end so too until HxResumeWaits_shared_code_manager(). Async-signal-safe: for a SIGINT handler.
SCM_EXPORT void HxInterruptWaits_shared_code_manager();
// Lets waits run to their limits again; before a call that should not inherit an old interrupt.
SCM_EXPORT void HxResumeWaits_shared_code_manager();
// The module's static function table; never null.
SCM_EXPORT const HxFcnTable* QueryHxFcnTable_shared_code_manager();

SCM_EXPORT extern const HxModuleBuildInfo HxBuildInfo_shared_code_manager;

}  // extern "C"
