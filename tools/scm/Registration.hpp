#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

#include "ManifestReader.hpp"
#include "OpenRegistry.hpp"
#include "ProgressBar.hpp"
#include "RegistrationReport.hpp"
#include "RunRecord.hpp"
#include "SCMRegistry.hpp"

namespace scm_tool {

// Registers the entries of manifests into an open registry on the direct road: each entry
// through registerDataInTransaction, which inside the caller's explicit transaction is a nested
// transaction of its own, so a failed entry is undone alone. Records each outcome in the report.
// The registry, report, progress bar and verbose stream stay the caller's and must outlive this.
class Registration {
public:
    // `verbose`: when not null, one line per entry with its outcome. `stopAtStoreError`: the
    // first entry the registry cannot store ends the run (nothing will be kept of it anyway).
    // `run`: when not null, each entry's outcome is recorded in it (it stays the caller's).
    Registration(OpenRegistry& registry, RegistrationReport& report, ProgressBar& progress,
                 std::ostream* verbose, bool stopAtStoreError, RunRecord* run = nullptr);

    // Registers every entry of `in`; `source` names the manifest in the report.
    void registerManifest(std::istream& in, const std::string& source);
    // Reports a manifest that cannot be read at all.
    void reportUnreadable(const std::string& source, const std::string& reason);
    // True once an entry could not be stored and the run stops at it.
    bool stopped() const { return stopped_; }

private:
    void registerItem(const std::string& source, ManifestItem& item);
    Outcome registerEntry(OwnedEntry& entry, ReportedEntry& reported);
    std::string storeError(SCM::SCMRegistry outcome) const;
    void record(ReportedEntry reported, SCM::SCMData* offered = nullptr);

    OpenRegistry& registry_;
    RegistrationReport& report_;
    ProgressBar& progress_;
    std::ostream* verbose_;
    RunRecord* run_;
    bool stopAtStoreError_;
    bool stopped_ = false;
    std::uint64_t bytesBefore_ = 0;  // of the manifests already read
    std::uint64_t entries_ = 0;
};

}  // namespace scm_tool
