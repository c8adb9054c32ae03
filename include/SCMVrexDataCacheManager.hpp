#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

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
// key both reach the batch, where the second merges into the first.
//
// Batch errors are not reported: the batch is rolled back as a whole and its entries are lost.
class SCM_EXPORT SCMVrexDataCacheManager {
public:
    using Entries = std::map<std::shared_ptr<SCMIdentity>, std::shared_ptr<SCMData>>;

    // `repository` stays the caller's and must outlive the cache manager.
    SCMVrexDataCacheManager(vrex::DataModelRepository* repository, std::size_t limit);
    SCMVrexDataCacheManager(const SCMVrexDataCacheManager&) = delete;
    SCMVrexDataCacheManager& operator=(const SCMVrexDataCacheManager&) = delete;
    // Writes what the cache still holds.
    ~SCMVrexDataCacheManager();

    // Caches clones of both objects (the caller keeps its own). WILL_BE_REGISTERED, or, when the
    // cache then holds more than its limit, writes and empties it and answers IS_REGISTERED.
    SCMRegistry add(SCMIdentity* identity, SCMData* data);
    // Writes every cached entry in one dictionary function, empties the cache; IS_REGISTERED.
    SCMRegistry flushAndClear();

    // The cached data record of the first entry, in cache order, of category `type` whose data is
    // named `name`; null when there is none. The pair's objects stay the cache's.
    std::pair<SCMIdentity*, SCMData*> findByName(SCMTypes type, const std::string& name) const;
    // True when `data` is one of the cache's own copies.
    bool holds(const SCMData* data) const;
    std::size_t size() const;

private:
    void flush();
    void writeBatch(tvdiag::util::diagnostics& diagnostics);

    std::unique_ptr<Entries> entries_;
    vrex::DataModelRepository* repository_;
    std::size_t limit_;
};

}  // namespace SCM
