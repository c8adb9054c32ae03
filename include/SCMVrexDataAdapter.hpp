#pragma once

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
    // Opens (or creates) `dictionaryFile` described by `metaModelFile`. On failure doesExist()
    // stays false and there is no write cache; nothing throws.
    SCMVrexDataAdapter(const std::string& dictionaryFile, const std::string& metaModelFile);
    // Writes the write cache, then closes the dictionary.
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

private:
    vrex::ObjectRef findEntry(SCMIdentity* identity, tvdiag::util::diagnostics& diagnostics);
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
};

}  // namespace SCM
