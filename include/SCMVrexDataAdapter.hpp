#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "SCMDataAdapter.hpp"
#include "SCMExport.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

class SCMCategoryClasses;

// The path of the dictionary's metamodel: the installation root (svVelmorRoot) followed by
// "toolbox", "qvd", "qvd", "shared_metamodel.xml".
SCM_EXPORT std::string getMetaModelFile();

// A registry's path or URI fit for messages: a database URI loses its password and every other
// secret parameter.
SCM_EXPORT std::string getPrintableRegistryName(const std::string& dictionaryFile);

// The storage backend on a dictionary repository file: one dictionary object per entry, of the
// class named after the entry's category, with the properties "Checksum", "Name", "Identity" and
// "Data". Dictionary errors never throw: they read as null, an empty list, false or
// IS_TRANSACTION_ERROR.
//
// Objects returned by the retrieval operations are fresh and belong to the caller, except the
// write cache's own copies that getDataFromName and getIdentityAndDataFromName may return
// (isBackendOwned tells).
class SCM_EXPORT SCMVrexDataAdapter : public SCMDataAdapter {
public:
    // How the constructor opens the dictionary file.
    enum class OpenMode {
        ReadWrite,  // opens the registry, or creates it when the file is absent or empty; a
                    // registry this process may not write opens for reading
        ReadOnly,   // opens an existing registry for reading; never creates or changes a file
        Writable,   // as ReadWrite, but a registry this process may not write (file or directory
                    // permissions, a read-only database role) is refused, and getOpenError says why
    };

    // Opens (or creates) `dictionaryFile` described by `metaModelFile`. On failure doesExist()
    // stays false, getOpenError() says why and there is no write cache; nothing throws.
    SCMVrexDataAdapter(const std::string& dictionaryFile, const std::string& metaModelFile);
    // The same, opening the file as `mode` says.
    SCMVrexDataAdapter(const std::string& dictionaryFile, const std::string& metaModelFile,
                       OpenMode mode);
    // Writes the write cache (what cannot be written then is lost), then closes the dictionary.
    ~SCMVrexDataAdapter() override;

    SCMData* getValue(SCMIdentity* identity) override;
    void getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) override;
    void getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) override;
    bool beginTransaction() override;
    bool endTransaction() override;
    SCMRegistry cacheValue(SCMIdentity* identity, SCMData* data) override;
    SCMRegistry insertValueInTransaction(SCMIdentity* identity, SCMData* data) override;
    void insertValue(SCMIdentity* identity, SCMData* data, SCMRegistry& outcome,
                     tvdiag::util::diagnostics& diagnostics) override;
    SCMIdentityDataPair getIdentityAndDataFromName(SCMTypes type, const std::string& name) override;
    SCMIdentity* getIdentityFromName(SCMTypes type, const std::string& name) override;
    SCMData* getDataFromName(SCMTypes type, const std::string& name) override;
    bool isBackendOwned(const SCMData* data) const override;

    // True when the dictionary holds an entry with the identity's checksum in its category.
    bool isValuePresent(SCMIdentity* identity);
    // Merges `data` into the stored record of `identity`; writes the record back only when the
    // merge answers IS_PRESENT_UPDATE.
    SCMRegistry updateValue(SCMIdentity* identity, SCMData* data,
                            tvdiag::util::diagnostics& diagnostics);
    // Every dictionary object of the category, in creation order (empty on error).
    std::vector<vrex::ObjectRef> getAllChildren(SCMTypes type);

    // Why the dictionary could not be opened (the repository's messages, which name the file),
    // one per line; "" when it is open.
    const std::string& getOpenError() const;
    // The messages of the last dictionary error that beginTransaction, endTransaction or
    // insertValueInTransaction answered with false or IS_TRANSACTION_ERROR (which name the
    // registry), one per line; "" when none has failed yet.
    const std::string& getLastError() const;

    // One stored entry as the inspection walks read it: fresh objects that the visitor owns;
    // either is null when its stored value does not decode.
    struct StoredEntry {
        std::unique_ptr<SCMIdentity> identity;
        std::unique_ptr<SCMData> data;
    };
    using EntryVisitor = std::function<void(StoredEntry&)>;
    // The text properties an inspection walk can select entries by.
    enum class EntryKey { Checksum, Name };

    // Calls `visit` with every stored entry of the category, in creation order, all read in one
    // read transaction. A dictionary error (a damaged file, a lost connection) ends the walk and
    // stays in `diagnostics`, which names the registry and the error; so does a closed registry.
    // An exception from `visit` ends the walk and propagates. Returns how many entries were
    // visited.
    std::size_t visitEntries(SCMTypes type, const EntryVisitor& visit,
                             tvdiag::util::diagnostics& diagnostics);
    // The same for the entries of the category whose "Checksum" or "Name" is `value`.
    std::size_t visitEntries(SCMTypes type, EntryKey key, const std::string& value,
                             const EntryVisitor& visit, tvdiag::util::diagnostics& diagnostics);

    // Every stored entry of the category that decodes, in creation order: fresh objects that the
    // caller owns. Stops at a dictionary error, keeping what was read (visitEntries reports it).
    std::vector<SCMIdentityDataPair> getAllEntries(SCMTypes type);

    // Checks the whole dictionary: the storage's structure (the repository's integrity check:
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
    // `diagnostics`, which names the registry and the error, and `problems` holds only what was
    // found before it. Only a category whose table the structure check found damaged or lacking
    // parts is, when it cannot be read, one more problem ("scm:check:unreadable") instead.
    // Returns the number of entries checked. Reads only.
    std::size_t checkEntries(tvdiag::util::diagnostics& problems,
                             tvdiag::util::diagnostics& diagnostics);

    // How many of checkEntries' `problems` a repair fixes: each torn row ("scm:check:torn"),
    // which deleteTornEntries deletes, and each missing part of the storage
    // ("vrex:integrity:missing"), which opening the registry for writing makes again.
    static std::size_t countRepairable(const tvdiag::util::diagnostics& problems);

    // Deletes every torn row, an entry stored without "Identity" or "Data" (left by interrupted
    // writes of older versions), of every category, in one dictionary function. Returns how many
    // were deleted; 0 with `diagnostics` (which name the registry) on error, when nothing is
    // deleted.
    std::size_t deleteTornEntries(tvdiag::util::diagnostics& diagnostics);

private:
    using StoredObjectVisitor = std::function<void(const vrex::DataModelRepository::StoredObject&)>;
    // Calls `visit` with every object of `entryClass` and the stored texts of `properties`, read
    // a page at a time; stops at the first error, which stays in `diagnostics`. Call it inside a
    // read transaction or dictionary function.
    void walkStoredTexts(const vrex::ClassRef& entryClass, const std::vector<vrex::PropertyRef>& properties,
                         const StoredObjectVisitor& visit, tvdiag::util::diagnostics& diagnostics);
    vrex::ObjectRef findEntry(SCMIdentity* identity, tvdiag::util::diagnostics& diagnostics);
    vrex::ObjectRef findByChecksum(const vrex::ClassRef& entryClass,
                                   const vrex::PropertyRef& checksumProperty,
                                   const std::string& checksum,
                                   tvdiag::util::diagnostics& diagnostics);
    SCMIdentityDataPair readEntry(const vrex::ObjectRef& entry,
                                  tvdiag::util::diagnostics& diagnostics);
    std::size_t visitMatching(SCMTypes type, const vrex::MatchConstraints& constraints,
                              const EntryVisitor& visit, tvdiag::util::diagnostics& diagnostics);
    vrex::ObjectRef findFirstNamed(SCMTypes type, const std::string& name,
                                   tvdiag::util::diagnostics& diagnostics);
    qaArray readFirstNamed(SCMTypes type, const std::string& name, const vrex::PropertyRef& property,
                           const vrex::PropertyRef* second = nullptr, qaArray* secondValue = nullptr);
    SCMRegistry mergeInto(const vrex::ObjectRef& entry, const vrex::PropertyRef& dataProperty,
                          SCMData* data, tvdiag::util::diagnostics& diagnostics);

    vrex::DataModelRepository repository_;
    vrex::MetamodelRef metamodel_;
    vrex::PackageRef package_;
    std::unique_ptr<const SCMCategoryClasses> categories_;  // looked up once in package_
    void keepError(const tvdiag::util::diagnostics& diagnostics);

    std::string openError_;
    std::string lastError_;
};

}  // namespace SCM
