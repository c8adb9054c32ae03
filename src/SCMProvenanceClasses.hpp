#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "SCMRunRecord.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

// The dictionary classes of the package SCM_PROVENANCE and the conversions between their stored
// texts and the run records, shared by the classes that write and read them. Internal to the
// library.
class SCMProvenanceClasses {
public:
    using Texts = std::vector<std::optional<std::string>>;

    // Looks the classes up in the metamodel of the open `repository`; null refs when it has none.
    explicit SCMProvenanceClasses(const vrex::DataModelRepository& repository);

    // Whether the registry has both tables: a registry made before them and opened for reading
    // does not. False with a diagnostic when it cannot be inspected.
    bool areStored(vrex::DataModelRepository& repository,
                   tvdiag::util::diagnostics& diagnostics) const;

    // Whether a "vrex:integrity:missing" finding is only that a provenance table, or a part of
    // one, is missing: a registry made before runs were recorded, or before they were recorded
    // in blocks, lacks them until it is next opened for writing.
    static bool isMissingPart(const std::string& finding);

    const vrex::ClassRef& runClass() const { return runClass_; }
    const vrex::ClassRef& entryClass() const { return entryClass_; }
    // The properties of each class, in the order of the texts below.
    const std::vector<vrex::PropertyRef>& runProperties() const { return runProperties_; }
    const std::vector<vrex::PropertyRef>& entryProperties() const { return entryProperties_; }
    const vrex::PropertyRef& runId() const { return runProperties_[0]; }
    const vrex::PropertyRef& entryChecksum() const { return entryProperties_[2]; }
    const vrex::PropertyRef& entryBucket() const { return entryProperties_[5]; }

    static Texts runTexts(const SCMRun& run);
    static SCMRun runOf(const Texts& texts);
    // The row of a block of entries (SCMRunEntryBlock) of one run, category and bucket.
    static Texts blockTexts(const std::string& run, const std::string& category, unsigned bucket,
                            std::string entries);
    // Calls `visit` with each entry a row of SCM_RUN_ENTRIES holds: a block's entries, or the
    // one entry of a row written before entries were recorded in blocks. False, after visiting
    // what comes before, at an entry that cannot be read (an unknown outcome).
    static bool forEachEntryOf(const Texts& texts, const std::function<void(const SCMRunEntry&)>& visit);

    // Call `visit` with every run, or with what every run did with every entry (forEachEntryOf),
    // reading a page of rows at a time. Call them inside a read transaction or a dictionary
    // function; they stop at an error, which stays in `diagnostics`.
    void walkRuns(vrex::DataModelRepository& repository, const std::function<void(const SCMRun&)>& visit,
                  tvdiag::util::diagnostics& diagnostics) const;
    void walkRunEntries(vrex::DataModelRepository& repository,
                        const std::function<void(const SCMRunEntry&)>& visit,
                        tvdiag::util::diagnostics& diagnostics) const;

    // Creates an object of `cls` with `texts` for `properties` (unset for nullopt). Call it
    // inside a write transaction; errors stay in `diagnostics`.
    static void create(vrex::DataModelRepository& repository, const vrex::ClassRef& cls,
                       const std::vector<vrex::PropertyRef>& properties, Texts texts,
                       tvdiag::util::diagnostics& diagnostics);
    // The objects of `cls` whose `key` is `value`, in id order, with the texts of `properties`.
    static std::vector<vrex::StoredObject> find(vrex::DataModelRepository& repository, const vrex::ClassRef& cls,
                                   const std::vector<vrex::PropertyRef>& properties,
                                   const vrex::PropertyRef& key, const std::string& value,
                                   tvdiag::util::diagnostics& diagnostics);

private:
    vrex::ClassRef runClass_;
    vrex::ClassRef entryClass_;
    std::vector<vrex::PropertyRef> runProperties_;
    std::vector<vrex::PropertyRef> entryProperties_;
};

}  // namespace SCM
