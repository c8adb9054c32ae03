#include "SCMDataAdapter.hpp"

namespace SCM {

SCMDataAdapter::SCMDataAdapter() = default;

SCMDataAdapter::~SCMDataAdapter() = default;

bool SCMDataAdapter::doesExist() const { return exists_; }

// Without a write cache there is nothing to write.
SCMRegistry SCMDataAdapter::finalize() { return IS_REGISTERED; }

bool SCMDataAdapter::isBackendOwned(const SCMData*) const { return false; }

void SCMDataAdapter::setTransactionInProgress(bool inProgress) {
    transactionInProgress_ = inProgress;
}

bool SCMDataAdapter::isTransactionInProgress() { return transactionInProgress_; }

void SCMDataAdapter::setCacheManager(SCMVrexDataCacheManager* cacheManager) {
    cacheManager_ = cacheManager;
}

SCMVrexDataCacheManager* SCMDataAdapter::getCacheManager() { return cacheManager_; }

void SCMDataAdapter::setExists(bool exists) { exists_ = exists; }

}  // namespace SCM
