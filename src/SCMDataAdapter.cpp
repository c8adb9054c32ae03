#include "SCMDataAdapter.hpp"

#include "SCMVrexDataCacheManager.hpp"

namespace SCM {

SCMDataAdapter::SCMDataAdapter() = default;

SCMDataAdapter::~SCMDataAdapter() = default;

bool SCMDataAdapter::doesExist() const { return exists_; }

// Not guarded by doesExist(): a backend whose store failed to open has no write cache, and then
// there is nothing to write.
SCMRegistry SCMDataAdapter::finalize() {
    if (cacheManager_ == nullptr) return IS_REGISTERED;
    return cacheManager_->flushAndClear();
}

bool SCMDataAdapter::isBackendOwned(const SCMData*) const { return false; }

SCMBatchFailures SCMDataAdapter::takeBatchFailures() {
    if (cacheManager_ == nullptr) return {};
    return cacheManager_->takeFailures();
}

std::size_t SCMDataAdapter::countBatchFailures() const {
    return cacheManager_ == nullptr ? 0 : cacheManager_->failureCount();
}

std::string SCMDataAdapter::batchFailureReason() const {
    return cacheManager_ == nullptr ? std::string() : cacheManager_->failureReason();
}

std::vector<SCMCachedEntry> SCMDataAdapter::takeRefusedEntries() {
    if (cacheManager_ == nullptr) return {};
    return cacheManager_->takeRefused();
}

void SCMDataAdapter::setTransactionInProgress(bool inProgress) {
    transactionInProgress_ = inProgress;
}

bool SCMDataAdapter::isTransactionInProgress() { return transactionInProgress_; }

void SCMDataAdapter::setCacheManager(SCMVrexDataCacheManager* cacheManager) {
    cacheManager_ = cacheManager;
}

SCMVrexDataCacheManager* SCMDataAdapter::getCacheManager() { return cacheManager_; }

const SCMVrexDataCacheManager* SCMDataAdapter::getCacheManager() const { return cacheManager_; }

void SCMDataAdapter::setExists(bool exists) { exists_ = exists; }

}  // namespace SCM
