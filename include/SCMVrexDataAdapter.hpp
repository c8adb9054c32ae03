#pragma once

#include <memory>
#include <optional>
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
    // merge answers IS_PRESENT_UPDATE and changed it.
    SCMRegistry updateValue(SCMIdentity* identity, SCMData* data,
                            tvdiag::util::diagnostics& diagnostics);
    // Whether the last merge that answered IS_PRESENT_UPDATE changed the stored record: false when
    // the record already held everything offered (it is then not written again).
    bool didLastMergeChange() const { return lastMergeChanged_; }
    // The open dictionary, for the library's classes that write records of their own beside the
    // entries, in the same transactions (SCMRunRecorder).
    vrex::DataModelRepository& getDictionary() { return repository_; }
    // Every dictionary object of the category, in creation order (empty on error).
    std::vector<vrex::ObjectRef> getAllChildren(SCMTypes type);

    // Why the dictionary could not be opened (the repository's messages, which name the file),
    // one per line; "" when it is open.
    const std::string& getOpenError() const;
    // The messages of the last dictionary error that beginTransaction, endTransaction or
    // insertValueInTransaction answered with false or IS_TRANSACTION_ERROR (which name the
    // registry), one per line; "" when none has failed yet.
    const std::string& getLastError() const;

private:
    vrex::ObjectRef findEntry(SCMIdentity* identity, tvdiag::util::diagnostics& diagnostics);
    vrex::ObjectRef findByChecksum(const vrex::ClassRef& entryClass,
                                   const vrex::PropertyRef& checksumProperty,
                                   const std::string& checksum,
                                   tvdiag::util::diagnostics& diagnostics);
    vrex::ObjectRef findFirstNamed(SCMTypes type, const std::string& name,
                                   tvdiag::util::diagnostics& diagnostics);
    std::optional<std::string> readFirstText(const vrex::ClassRef& entryClass, const vrex::PropertyRef& key,
                                             const std::string& value, const vrex::PropertyRef& property);
    SCMRegistry mergeInto(const vrex::ObjectRef& entry, const vrex::PropertyRef& dataProperty,
                          SCMData* data, tvdiag::util::diagnostics& diagnostics);

    void keepError(const tvdiag::util::diagnostics& diagnostics);

    vrex::DataModelRepository repository_;
    std::unique_ptr<const SCMCategoryClasses> categories_;  // looked up once at the open

    std::string openError_;
    std::string lastError_;
    bool lastMergeChanged_ = false;
};

}  // namespace SCM
