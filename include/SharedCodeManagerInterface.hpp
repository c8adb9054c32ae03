#pragma once

#include <string>
#include <vector>

#include "SCMData.hpp"
#include "SCMDataAdapter.hpp"
#include "SCMExport.hpp"
#include "SCMIdentity.hpp"
#include "SCMRegistry.hpp"
#include "SCMTypes.hpp"
#include "kobj/Handle.hpp"

namespace SCM {

// The registry as its users see it: register identity and data pairs, read them back by
// identity, by category or by name. Owns one storage backend and forwards to it.
//
// Objects passed in stay the caller's: the facade neither copies nor deletes them. Retrieved
// objects are new and the caller's to delete, except the write cache's own copies that the
// data-by-name retrievals may return: getDataAdapter()->isBackendOwned(data) tells them apart,
// and such a copy must not be deleted; it lives until the cache writes its batch.
//
// When there is no backend, or its store does not exist, the registration operations answer
// IS_TRANSACTION_ERROR, retrieval answers null or an empty list; nothing throws.
//
// A facade, its backend and the objects they hand out belong to one thread at a time.
class SCM_EXPORT SharedCodeManagerInterface : public tv::mi::Handle {
public:
    // No backend; for derived facades that supply their own.
    SharedCodeManagerInterface();
    // Opens (or creates) the registry file `dictionaryFile` with the installed metamodel. When the
    // file cannot be opened the facade still exists: its store does not (see above).
    explicit SharedCodeManagerInterface(const std::string& dictionaryFile);
    SharedCodeManagerInterface(const SharedCodeManagerInterface&) = delete;
    SharedCodeManagerInterface& operator=(const SharedCodeManagerInterface&) = delete;
    // Deletes the backend.
    ~SharedCodeManagerInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // The cached road: reads the feature switch "UseVrexCache" on every call; 1 or more queues
    // the pair in the backend's write cache (WILL_BE_REGISTERED until the batch is written),
    // less than 1 registers it at once through registerDataInTransaction().
    virtual SCMRegistry registerData(SCMIdentity* identity, SCMData* data);
    // Registers pair i through registerData() for each identity, in order, and answers
    // WILL_BE_REGISTERED; the individual outcomes are not reported. Throws std::out_of_range at
    // the first identity without a data record, after the pairs before it were registered.
    virtual SCMRegistry registerDataArray(std::vector<SCMIdentity*>* identities,
                                          std::vector<SCMData*>* records);
    // The stored record of the identity's key, from the store only (not the write cache): new,
    // the caller deletes it; null when there is none.
    virtual SCMData* retrieveData(SCMIdentity* identity);
    // Every stored identity (record) of the category in store order: new objects, the caller
    // deletes each; empty when there are none or on error.
    virtual std::vector<SCMIdentity*> retrieveAllIdentities(SCMTypes type);
    virtual std::vector<SCMData*> retrieveAllData(SCMTypes type);
    // The direct road: stores the pair now in a transaction of its own.
    virtual SCMRegistry registerDataInTransaction(SCMIdentity* identity, SCMData* data);
    // Ends a registration run: writes what the write cache holds. IS_TRANSACTION_ERROR when there
    // is no backend. Entries the cache could not write are the backend's to report
    // (getDataAdapter()->takeBatchFailures()).
    virtual SCMRegistry finalize();
    // The first entry named `name`: the write cache's own pair when it holds one (the cache's,
    // not to be deleted: isBackendOwned), else new objects from the store that the caller
    // deletes; a pair of nulls when there is none.
    virtual SCMIdentityDataPair retrieveIdentityAndDataForName(SCMTypes type,
                                                               const std::string& name);
    // The same for the record alone.
    virtual SCMData* retrieveDataForName(SCMTypes type, const std::string& name);
    // The first stored identity named `name`, from the store only: new, the caller deletes it.
    virtual SCMIdentity* retrieveIdentityForName(SCMTypes type, const std::string& name);

    // Stores `adapter` and takes ownership of it. A backend set earlier is deleted.
    void setDataAdapter(SCMDataAdapter* adapter);
    // The backend, still owned by the facade; null when there is none.
    SCMDataAdapter* getDataAdapter();

protected:
    // The names (SCMData::getName) of every stored record of the category, in store order,
    // duplicates kept. The retrieved records are deleted.
    std::vector<std::string> getAllNames(SCMTypes type);

private:
    bool backendExists() const;

    SCMDataAdapter* adapter_ = nullptr;
};

}  // namespace SCM
