#pragma once

#include <string>
#include <vector>

#include "OwnedEntry.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "SharedCodeManagerInterface.hpp"

namespace scm_tool {

// A registry opened for one command: the dictionary backend on the registry path and the facade
// that owns it. The path follows the library's rules: a registry file, or a PostgreSQL database
// given as a postgresql:// or postgres:// URI.
class OpenRegistry {
public:
    enum class Access {
        Read,   // an existing registry, never created or changed
        Write,  // created when the file is absent or empty
    };

    // Opens the registry at `path`. Throws ToolError, with the reason the library gives (which
    // names the file), when it cannot be opened; a file that is not a registry stays unchanged.
    OpenRegistry(const std::string& path, Access access);
    OpenRegistry(const OpenRegistry&) = delete;
    OpenRegistry& operator=(const OpenRegistry&) = delete;

    // The registry's path for messages (a URI without its password).
    const std::string& path() const { return path_; }
    // Entries left out by entries() so far because they do not decode.
    std::size_t skippedEntries() const { return skippedEntries_; }
    SCM::SharedCodeManagerInterface& facade() { return facade_; }
    SCM::SCMVrexDataAdapter& adapter() { return *adapter_; }

    // Every entry of the category that decodes, in store order. Entries that do not decode are
    // left out with a warning on standard error and counted in skippedEntries().
    std::vector<OwnedEntry> entries(SCM::SCMTypes type);
    // The entries of `types`, category after category.
    std::vector<OwnedEntry> entries(const std::vector<SCM::SCMTypes>& types);

private:
    std::string path_;
    SCM::SharedCodeManagerInterface facade_;
    SCM::SCMVrexDataAdapter* adapter_;  // owned by facade_
    std::size_t skippedEntries_ = 0;
};

}  // namespace scm_tool
