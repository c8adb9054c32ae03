#pragma once

#include <string>
#include <utility>
#include <vector>

#include "SCMCachedEntries.hpp"
#include "SCMExport.hpp"
#include "SCMIdentity.hpp"
#include "SCMData.hpp"
#include "SCMRegistry.hpp"
#include "SCMTypes.hpp"
#include "tvdiag/diagnostics.hpp"

namespace SCM {

class SCMVrexDataCacheManager;

// An identity and the data record registered with it; both null when nothing was found.
using SCMIdentityDataPair = std::pair<SCMIdentity*, SCMData*>;

// The storage backend behind a registry facade. A concrete backend raises the exists flag once
// its store is open, and may install a write cache. Ownership of what the retrieval operations
// return is the concrete backend's to state.
class SCM_EXPORT SCMDataAdapter {
public:
    SCMDataAdapter();
    SCMDataAdapter(const SCMDataAdapter&) = delete;
    SCMDataAdapter& operator=(const SCMDataAdapter&) = delete;
    // Releases nothing: a concrete backend frees its own cache manager.
    virtual ~SCMDataAdapter();

    // The stored data of `identity`, or null.
    virtual SCMData* getValue(SCMIdentity* identity) = 0;
    // Appends every stored identity (record) of the category to `out`.
    virtual void getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) = 0;
    virtual void getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) = 0;
    // Opens an explicit transaction; false when one is open already or the store refuses.
    virtual bool beginTransaction() = 0;
    // Commits the explicit transaction; false when none is open or the commit failed (rolled back).
    virtual bool endTransaction() = 0;
    // Queues a copy of the pair in the write cache.
    virtual SCMRegistry cacheValue(SCMIdentity* identity, SCMData* data) = 0;
    // Stores the pair now, in a transaction of its own.
    virtual SCMRegistry insertValueInTransaction(SCMIdentity* identity, SCMData* data) = 0;
    // Stores the pair (new entry or merge); the outcome through `outcome`, store errors through
    // `diagnostics`.
    virtual void insertValue(SCMIdentity* identity, SCMData* data, SCMRegistry& outcome,
                             tvdiag::util::diagnostics& diagnostics) = 0;
    // True once the store is open.
    virtual bool doesExist() const;
    // Writes and empties the write cache, which keeps the entries of a batch that fails (see
    // takeBatchFailures); IS_REGISTERED (also then, and when there is no cache to write).
    virtual SCMRegistry finalize();
    virtual SCMIdentityDataPair getIdentityAndDataFromName(SCMTypes type, const std::string& name) = 0;
    virtual SCMIdentity* getIdentityFromName(SCMTypes type, const std::string& name) = 0;
    virtual SCMData* getDataFromName(SCMTypes type, const std::string& name) = 0;
    // True when `data` is one of the backend's own objects (such as a write-cache copy returned by
    // getDataFromName or getIdentityAndDataFromName): the caller must neither delete it nor keep
    // it past the next registration, finalize or takeBatchFailures. False here: this backend
    // hands out fresh objects.
    virtual bool isBackendOwned(const SCMData* data) const;

    // What the write cache could not write. Its batch errors do not change the answers of
    // registration or finalize: a batch that fails is rolled back as a whole, and its entries
    // stay in the cache (isBackendOwned is true for them, getDataFromName finds them) until the
    // next flush retries them. The destructor flushes once more; what fails then is lost, so
    // callers who care call finalize and take the failures first. None without a write cache.
    //
    // Hands over the entries still unwritten, with the reason of the last failure: the caller
    // shares the copies, which the cache no longer holds or retries.
    SCMBatchFailures takeBatchFailures();
    // How many entries takeBatchFailures would hand over, and the reason ("" when none).
    std::size_t countBatchFailures() const;
    std::string batchFailureReason() const;
    // Hands over the cached entries that their stored records refused (the merge answered
    // IS_PRESENT_ERROR, so nothing was written for them) since the last call, in write order.
    std::vector<SCMCachedEntry> takeRefusedEntries();

    void setTransactionInProgress(bool inProgress);
    bool isTransactionInProgress();
    // Installs the write cache; the concrete backend keeps owning it.
    void setCacheManager(SCMVrexDataCacheManager* cacheManager);
    SCMVrexDataCacheManager* getCacheManager();
    const SCMVrexDataCacheManager* getCacheManager() const;

protected:
    void setExists(bool exists);

private:
    bool exists_ = false;
    SCMVrexDataCacheManager* cacheManager_ = nullptr;
    bool transactionInProgress_ = false;
};

}  // namespace SCM
