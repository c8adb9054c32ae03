#pragma once

#include <cstddef>
#include <functional>
#include <memory>
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
    using EntryVisitor = std::function<void(OwnedEntry&)>;

    // Opens the registry at `path`. Throws ToolError, with the reason the library gives (which
    // names the file), when it cannot be opened; a file that is not a registry stays unchanged.
    OpenRegistry(const std::string& path, Access access);
    OpenRegistry(const OpenRegistry&) = delete;
    OpenRegistry& operator=(const OpenRegistry&) = delete;

    // The registry's path for messages (a URI without its password).
    const std::string& path() const { return path_; }
    // Entries left out by the walks so far because they do not decode.
    std::size_t skippedEntries() const { return skippedEntries_; }
    // Valid until discard().
    SCM::SharedCodeManagerInterface& facade() { return *facade_; }
    SCM::SCMVrexDataAdapter& adapter() { return *adapter_; }

    // Calls `visit` with every entry of the category that decodes, in store order. Entries that
    // do not decode are left out with a warning on standard error and counted in
    // skippedEntries(). Throws ToolError when the registry cannot be read to the end (a damaged
    // file, a lost connection): a listing is never silently short.
    void forEachEntry(SCM::SCMTypes type, const EntryVisitor& visit);
    // The same for the categories of `types`, one after the other.
    void forEachEntry(const std::vector<SCM::SCMTypes>& types, const EntryVisitor& visit);

    // Closes the registry at once; a transaction left open is rolled back, so nothing of it is
    // kept. facade() and adapter() are gone afterwards.
    void discard();

private:
    std::string path_;
    std::unique_ptr<SCM::SharedCodeManagerInterface> facade_;
    SCM::SCMVrexDataAdapter* adapter_;  // owned by facade_
    std::size_t skippedEntries_ = 0;
};

// Throws ToolError for a registry that could not be read: "cannot read the registry: " and the
// library's messages, which name the registry and the error.
[[noreturn]] void throwUnreadable(const tvdiag::util::diagnostics& diagnostics);

}  // namespace scm_tool
