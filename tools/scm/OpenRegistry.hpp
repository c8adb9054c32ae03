#pragma once

#include <memory>
#include <string>

#include "SCMVrexDataAdapter.hpp"
#include "SharedCodeManagerInterface.hpp"

namespace scm_tool {

// A registry opened for registering into: the dictionary backend on the registry path and the
// facade that owns it. The path follows the library's rules: a registry file (created when it is
// absent or empty), or a PostgreSQL database given as a postgresql:// or postgres:// URI.
// Reading commands use RegistryReader instead.
class OpenRegistry {
public:
    // Opens the registry at `path` for writing. Throws ToolError, with the reason the library
    // gives (which names the registry), when it cannot be opened or this process may not write
    // it; a file that is not a registry stays unchanged.
    explicit OpenRegistry(const std::string& path);
    OpenRegistry(const OpenRegistry&) = delete;
    OpenRegistry& operator=(const OpenRegistry&) = delete;

    // The registry's path for messages (a URI without its secrets).
    const std::string& path() const { return path_; }
    // Valid until discard().
    SCM::SharedCodeManagerInterface& facade() { return *facade_; }
    SCM::SCMVrexDataAdapter& adapter() { return *adapter_; }

    // Closes the registry at once; a transaction left open is rolled back, so nothing of it is
    // kept. facade() and adapter() are gone afterwards.
    void discard();

private:
    std::string path_;
    std::unique_ptr<SCM::SharedCodeManagerInterface> facade_;
    SCM::SCMVrexDataAdapter* adapter_;  // owned by facade_
};

}  // namespace scm_tool
