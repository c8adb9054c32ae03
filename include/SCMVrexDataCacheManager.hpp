#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SCMCachedEntries.hpp"
#include "SCMData.hpp"
#include "SCMExport.hpp"
#include "SCMIdentity.hpp"
#include "SCMRegistry.hpp"
#include "SCMTypes.hpp"
#include "tvdiag/diagnostics.hpp"

namespace vrex {
class DataModelRepository;
}

namespace SCM {

// The write cache of the dictionary backend: it keeps copies of registered entries and writes
// them in one dictionary function once it holds more than its limit, on finalize, and when it is
// destroyed. Entries are ordered by the address of their identity copy, so two entries with one
// key both reach the batch, where the second merges into the first; a batch writes its entries
// in key order (category, then checksum).
//
// A batch that fails is rolled back as a whole, so none of its entries is written: the cache keeps
// them, with the reason, as unwritten entries, and the next flush retries them in a batch of their
// own before it writes the entries cached since (takeFailures hands them over instead). What
// fails in the destructor's flush is lost. A cached entry whose stored record refuses it (the
// merge answers IS_PRESENT_ERROR) is kept for takeRefused. The answers of add and flushAndClear
// tell about neither.
class SCM_EXPORT SCMVrexDataCacheManager {
public:
    using Entries = std::map<std::shared_ptr<SCMIdentity>, std::shared_ptr<SCMData>>;

    // `repository` stays the caller's and must outlive the cache manager.
    SCMVrexDataCacheManager(vrex::DataModelRepository* repository, std::size_t limit);
    SCMVrexDataCacheManager(const SCMVrexDataCacheManager&) = delete;
    SCMVrexDataCacheManager& operator=(const SCMVrexDataCacheManager&) = delete;
    // Writes what the cache still holds; what cannot be written then is lost.
    ~SCMVrexDataCacheManager();

    // Caches clones of both objects (the caller keeps its own). WILL_BE_REGISTERED, or, when the
    // cache then holds more than its limit of entries cached since the last flush (the unwritten
    // ones do not count), flushes it as flushAndClear does and answers IS_REGISTERED.
    SCMRegistry add(SCMIdentity* identity, SCMData* data);
    // Writes the unwritten entries in one dictionary function, then the other cached entries in
    // another, and empties the cache but for the entries of a batch that failed; IS_REGISTERED.
    SCMRegistry flushAndClear();

    // Hands over the unwritten entries and the reason of the failure that left them so; the cache
    // no longer holds or retries them. Empty when the last batch was written.
    SCMBatchFailures takeFailures();
    // How many entries takeFailures would hand over, and that reason ("" when none).
    std::size_t failureCount() const;
    const std::string& failureReason() const;
    // Hands over the entries that their stored records refused in the batches written since the
    // last call, in the order they were written.
    std::vector<SCMCachedEntry> takeRefused();

    // The cached data record of category `type` named `name`: the first in cache order among the
    // entries cached since the last flush, else among the unwritten ones; null when there is
    // none. The pair's objects stay the cache's.
    std::pair<SCMIdentity*, SCMData*> findByName(SCMTypes type, const std::string& name) const;
    // True when `data` is one of the cache's own copies (the unwritten ones included).
    bool holds(const SCMData* data) const;
    // The number of entries the cache holds, the unwritten ones included.
    std::size_t size() const;

private:
    void flush();
    void writeOrKeep(Entries& batch);
    void writeBatch(const Entries& batch, std::vector<SCMCachedEntry>& refused,
                    tvdiag::util::diagnostics& diagnostics);

    std::unique_ptr<Entries> entries_;  // cached since the last flush
    Entries unwritten_;                 // the entries of the last batch, when it failed
    std::string failureReason_;         // why unwritten_ was not written
    std::vector<SCMCachedEntry> refused_;
    vrex::DataModelRepository* repository_;
    std::size_t limit_;
};

}  // namespace SCM
