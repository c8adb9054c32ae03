#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "SCMData.hpp"
#include "SCMDataAdapter.hpp"
#include "SCMExport.hpp"
#include "SCMIdentity.hpp"
#include "SCMTypes.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

class SCMCategoryClasses;

// Reads a whole registry for a person or a tool: walks its entries category by category, finds
// them by key or by name, checks every entry and the storage, and repairs what a check may
// repair. It opens the registry itself, apart from any facade: for reading (never creating or
// changing anything), or for repair. Storage errors never throw; they stay in the diagnostics
// each operation takes, whose messages name the registry. Belongs to one thread at a time.
class SCM_EXPORT SCMRegistryInspector {
public:
    enum class Access {
        Read,    // an existing registry, opened for reading
        Repair,  // opened for writing, which makes missing tables, columns and indexes again
    };

    // Opens `registry` (a file path or a postgresql:// URI) with the installed metamodel. On
    // failure isOpen() is false and getOpenError() says why.
    explicit SCMRegistryInspector(const std::string& registry, Access access = Access::Read);
    ~SCMRegistryInspector();
    SCMRegistryInspector(const SCMRegistryInspector&) = delete;
    SCMRegistryInspector& operator=(const SCMRegistryInspector&) = delete;

    bool isOpen() const;
    // Why the registry could not be opened (which names it); "" when it is open.
    const std::string& getOpenError() const;

    // One stored entry as the walks read it: fresh objects that the visitor owns; either is null
    // when its stored value does not decode.
    struct StoredEntry {
        std::unique_ptr<SCMIdentity> identity;
        std::unique_ptr<SCMData> data;
    };
    using EntryVisitor = std::function<void(StoredEntry&)>;
    // The text properties a walk can select entries by.
    enum class EntryKey { Checksum, Name };

    // Calls `visit` with every stored entry of the category, in creation order, all read in one
    // read transaction. A dictionary error (a damaged file, a lost connection) ends the walk and
    // stays in `diagnostics`; so does a registry that is not open. An exception from `visit` ends
    // the walk and propagates. Returns how many entries were visited.
    std::size_t visitEntries(SCMTypes type, const EntryVisitor& visit,
                             tvdiag::util::diagnostics& diagnostics);
    // The same for the entries of the category whose "Checksum" or "Name" is `value`.
    std::size_t visitEntries(SCMTypes type, EntryKey key, const std::string& value,
                             const EntryVisitor& visit, tvdiag::util::diagnostics& diagnostics);

    // About how many entries the registry holds, for progress displays: the sum of the categories'
    // largest object ids, read in one look-up each (more than the entries after deletions). 0 when
    // it cannot be read.
    std::uint64_t estimateEntries();

    // Every stored entry of the category that decodes, in creation order: fresh objects that the
    // caller owns. Stops at a dictionary error, keeping what was read (visitEntries reports it).
    std::vector<SCMIdentityDataPair> getAllEntries(SCMTypes type);

    // Checks the whole registry: the storage's structure (the repository's integrity check:
    // damage, parts of the metamodel it lacks, parts that are not its own), and for every stored
    // entry of every category that its "Checksum", "Identity" and "Data" are set and decode, that
    // its identity is of the category it is stored under and its record of a class that category
    // holds, that its checksum is the one its identity computes from its key fields, that its
    // "Name" is its record's name, and that no two entries of one category share a checksum. Each
    // problem is added to `problems` (identifiers "scm:check:...", "vrex:integrity:damaged",
    // "vrex:integrity:missing", "vrex:integrity:foreign"), naming the category, the object and
    // its checksum; a row without "Identity" or "Data" is one "scm:check:torn". The entries are
    // read a few thousand per round trip, each category in one read transaction.
    //
    // A storage error (a lost connection, a check that cannot run) ends the check: it stays in
    // `diagnostics`, and `problems` holds only what was found before it. Only a category whose
    // table the structure check found damaged or lacking parts is, when it cannot be read, one
    // more problem ("scm:check:unreadable") instead. Returns the number of entries checked.
    // `checked`, when set, is called after each entry with the number checked so far. A quick
    // check leaves out the storage's search for damage (vrex::DataModelRepository::IntegrityScope).
    using CheckProgress = std::function<void(std::size_t)>;
    enum class Depth { Full, Quick };
    std::size_t checkEntries(tvdiag::util::diagnostics& problems,
                             tvdiag::util::diagnostics& diagnostics,
                             const CheckProgress& checked = {}, Depth depth = Depth::Full);

    // How many of checkEntries' `problems` a repair fixes: each torn row ("scm:check:torn"),
    // which deleteTornEntries deletes, and each missing part of the storage
    // ("vrex:integrity:missing"), which opening the registry for repair makes again.
    static std::size_t countRepairable(const tvdiag::util::diagnostics& problems);

    // Deletes every torn row, an entry stored without "Identity" or "Data" (left by interrupted
    // writes of older versions), of every category, in one dictionary function. Needs
    // Access::Repair. Returns how many were deleted; 0 with `diagnostics` on error, when nothing
    // is deleted.
    std::size_t deleteTornEntries(tvdiag::util::diagnostics& diagnostics);

private:
    StoredEntry readEntry(const vrex::ObjectRef& entry, tvdiag::util::diagnostics& diagnostics);
    bool requireOpen(const char* action, tvdiag::util::diagnostics& diagnostics) const;

    vrex::DataModelRepository repository_;
    std::string openError_;  // before categories_: the open writes it
    std::unique_ptr<const SCMCategoryClasses> categories_;  // null when the open failed
};

}  // namespace SCM
