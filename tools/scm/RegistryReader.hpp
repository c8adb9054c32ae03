#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "OwnedEntry.hpp"
#include "ProgressBar.hpp"
#include "SCMRegistryInspector.hpp"

namespace scm_tool {

// A registry opened for a reading command (list, show, export, stats, check): the library's
// inspector on it, opened for reading, so that nothing is ever created or changed.
class RegistryReader {
public:
    using EntryVisitor = std::function<void(OwnedEntry&)>;

    // Opens the registry at `path`. Throws ToolError, with the reason the library gives (which
    // names the registry), when it cannot be opened; a file that is not a registry stays
    // unchanged.
    explicit RegistryReader(const std::string& path);
    // Erases the progress line, if drawn.
    ~RegistryReader();
    RegistryReader(const RegistryReader&) = delete;
    RegistryReader& operator=(const RegistryReader&) = delete;

    // While the walks run, shows the entries read so far, their rate and the time left (from the
    // registry's estimate of its entries) on standard error when `enabled`; the line goes when a
    // walk of several categories ends.
    void showProgress(bool enabled) { progress_ = ProgressBar(enabled ? inspector_.estimateEntries() : 0, enabled); }

    // The registry's path for messages (a URI without its secrets).
    const std::string& path() const { return path_; }
    SCM::SCMRegistryInspector& inspector() { return inspector_; }
    // Entries left out by the walks so far because they do not decode.
    std::size_t skippedEntries() const { return skippedEntries_; }

    // Calls `visit` with every entry of the category that decodes, in store order. Entries that
    // do not decode are left out with a warning on standard error and counted in
    // skippedEntries(). Throws ToolError when the registry cannot be read to the end (a damaged
    // file, a lost connection): a listing is never silently short.
    void forEachEntry(SCM::SCMTypes type, const EntryVisitor& visit);
    // The same for the categories of `types`, one after the other.
    void forEachEntry(const std::vector<SCM::SCMTypes>& types, const EntryVisitor& visit);

private:
    std::string path_;
    SCM::SCMRegistryInspector inspector_;
    std::size_t skippedEntries_ = 0;
    std::uint64_t visited_ = 0;
    ProgressBar progress_{0, false};
};

// Throws ToolError for a registry that could not be read: "cannot read the registry: " and the
// library's messages, which name the registry and the error.
[[noreturn]] void throwUnreadable(const tvdiag::util::diagnostics& diagnostics);

}  // namespace scm_tool
